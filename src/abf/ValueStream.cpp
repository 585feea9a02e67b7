#include "abf/ValueStream.h"

#include <algorithm>
#include <vector>

#include "abf/ByteOrder.h"
#include "abf/LittleEndian.h"

namespace convora {

void ForEachValueChunk(SourceFile& source, std::int64_t offset, std::int64_t count, ValueType type,
                       ByteOrder order, const std::function<void(std::span<const double>)>& visit) {
  constexpr std::int64_t kChunkValues = 1 << 16;
  const std::int64_t width = ValueBytes(type);
  const bool reverse = order == ByteOrder::BigEndian;
  std::vector<std::uint8_t> bytes;
  std::vector<double> values;
  for (std::int64_t done = 0; done < count; done += kChunkValues) {
    const auto n = static_cast<std::size_t>(std::min(kChunkValues, count - done));
    bytes.resize(n * static_cast<std::size_t>(width));
    values.resize(n);
    source.ReadPadded(offset + done * width, bytes);
    for (std::size_t i = 0; i < n; ++i) {
      if (type == ValueType::Float32) {
        const float v = LoadLittleEndian<float>(&bytes[4 * i]);
        values[i] = reverse ? SwapSingle(v) : v;
      } else {
        const double v = LoadLittleEndian<double>(&bytes[8 * i]);
        values[i] = reverse ? SwapDouble(v) : v;
      }
    }
    visit(values);
  }
}

}  // namespace convora
