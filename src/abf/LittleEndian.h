#pragma once
// Little-endian loads and stores of the integer and float types that ABF files
// and the sources we read are made of. Explicit byte arithmetic keeps the file
// layout independent of the machine we run on.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace convora {

template <typename T>
concept FileScalar = std::is_same_v<T, std::int16_t> || std::is_same_v<T, std::int32_t> ||
                     std::is_same_v<T, std::uint16_t> || std::is_same_v<T, std::uint32_t> ||
                     std::is_same_v<T, float> || std::is_same_v<T, double>;

template <typename T>
using UnsignedOfSize = std::conditional_t<
    sizeof(T) == 2, std::uint16_t, std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>>;

template <FileScalar T>
T LoadLittleEndian(const std::uint8_t* bytes) {
  UnsignedOfSize<T> bits = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    bits |= static_cast<UnsignedOfSize<T>>(static_cast<UnsignedOfSize<T>>(bytes[i]) << (8 * i));
  }
  return std::bit_cast<T>(bits);
}

template <FileScalar T>
void StoreLittleEndian(std::uint8_t* bytes, T value) {
  const auto bits = std::bit_cast<UnsignedOfSize<T>>(value);
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    bytes[i] = static_cast<std::uint8_t>(bits >> (8 * i));
  }
}

}  // namespace convora
