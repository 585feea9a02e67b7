#pragma once
// Little-endian loads and stores of the integer and float types that ABF files
// and the sources we read are made of, the same on a machine of either byte
// order.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "abf/ByteOrder.h"

namespace convora {

template <typename T>
concept FileScalar = std::is_same_v<T, std::int16_t> || std::is_same_v<T, std::int32_t> ||
                     std::is_same_v<T, std::uint16_t> || std::is_same_v<T, std::uint32_t> ||
                     std::is_same_v<T, float> || std::is_same_v<T, double>;

// memcpy, not byte arithmetic, so that each is one instruction on a
// little-endian machine: the compiler does not always fold a loop of shifts.
template <FileScalar T>
T LoadLittleEndian(const std::uint8_t* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof(T));
  if constexpr (std::endian::native == std::endian::big) value = ReverseBytes(value);
  return value;
}

template <FileScalar T>
void StoreLittleEndian(std::uint8_t* bytes, T value) {
  if constexpr (std::endian::native == std::endian::big) value = ReverseBytes(value);
  std::memcpy(bytes, &value, sizeof(T));
}

}  // namespace convora
