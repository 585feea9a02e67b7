#include "abf/ValueStream.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>
#include <vector>

#include "abf/ByteOrder.h"
#include "abf/LittleEndian.h"

namespace convora {

namespace {

// One loop per value type and byte order, so that each is a plain loop the
// compiler can vectorise. On a little-endian machine the file's own order is
// the machine's, and the values are copied out as they are.
template <typename Value>
void Widen(const std::vector<std::uint8_t>& bytes, bool reverse, std::vector<double>& values) {
  const std::size_t n = values.size();
  if (!reverse && std::endian::native == std::endian::little) {
    Value chunk[1024];
    for (std::size_t start = 0; start < n; start += 1024) {
      const std::size_t m = std::min<std::size_t>(1024, n - start);
      std::memcpy(chunk, &bytes[sizeof(Value) * start], sizeof(Value) * m);
      for (std::size_t i = 0; i < m; ++i) values[start + i] = chunk[i];
    }
    return;
  }
  for (std::size_t i = 0; i < n; ++i) {
    const Value v = LoadLittleEndian<Value>(&bytes[sizeof(Value) * i]);
    if constexpr (std::is_same_v<Value, float>) {
      values[i] = reverse ? SwapSingle(v) : v;
    } else {
      values[i] = reverse ? SwapDouble(v) : v;
    }
  }
}

}  // namespace

void ForEachValueChunk(SourceFile& source, std::int64_t offset, std::int64_t count, ValueType type,
                       ByteOrder order, const std::function<void(std::span<const double>)>& visit) {
  constexpr std::int64_t kChunkValues = 1 << 17;
  const std::int64_t width = ValueBytes(type);
  const bool reverse = order == ByteOrder::BigEndian;
  std::vector<std::uint8_t> bytes;
  std::vector<double> values;
  for (std::int64_t done = 0; done < count; done += kChunkValues) {
    const auto n = static_cast<std::size_t>(std::min(kChunkValues, count - done));
    bytes.resize(n * static_cast<std::size_t>(width));
    values.resize(n);
    source.ReadPadded(offset + done * width, bytes);
    if (type == ValueType::Float32) {
      Widen<float>(bytes, reverse, values);
    } else {
      Widen<double>(bytes, reverse, values);
    }
    visit(values);
  }
}

}  // namespace convora
