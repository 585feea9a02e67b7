#pragma once
// Byte-order reversal for values read from big-endian (Macintosh, LabVIEW)
// files. The float versions reverse the raw bytes and reinterpret them: no
// conversion, so NaN and denormal patterns pass through unchanged.

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <span>

namespace convora {

template <typename T>
T ReverseBytes(T value) {
  auto bytes = std::bit_cast<std::array<std::uint8_t, sizeof(T)>>(value);
  std::reverse(bytes.begin(), bytes.end());
  return std::bit_cast<T>(bytes);
}

inline std::int16_t SwapInt16(std::int16_t value) { return ReverseBytes(value); }
inline std::int32_t SwapInt32(std::int32_t value) { return ReverseBytes(value); }
inline float SwapSingle(float value) { return ReverseBytes(value); }
inline double SwapDouble(double value) { return ReverseBytes(value); }

// Reverses the bytes of every value in place, several at a time.
void ReverseBytesOfEach(std::span<float> values);
void ReverseBytesOfEach(std::span<double> values);

}  // namespace convora
