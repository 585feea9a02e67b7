#include "abf/ValueStream.h"

#include <algorithm>
#include <bit>
#include <vector>

#include "abf/ByteOrder.h"

namespace convora {

template <typename Value>
void ReadValues(SourceFile& source, std::int64_t offset, ByteOrder order, std::span<Value> out) {
  source.ReadPadded(offset, std::span(reinterpret_cast<std::uint8_t*>(out.data()), out.size_bytes()));
  const bool storedLittle = order == ByteOrder::LittleEndian;
  if (storedLittle != (std::endian::native == std::endian::little)) ReverseBytesOfEach(out);
}

template <typename Value>
void ForEachValueChunk(SourceFile& source, std::int64_t offset, std::int64_t count,
                       ByteOrder order, const std::function<void(std::span<Value>)>& visit) {
  constexpr std::int64_t kChunkValues = 1 << 15;
  std::vector<Value> values;
  for (std::int64_t done = 0; done < count; done += kChunkValues) {
    values.resize(static_cast<std::size_t>(std::min(kChunkValues, count - done)));
    ReadValues<Value>(source, offset + done * std::int64_t{sizeof(Value)}, order, values);
    visit(values);
  }
}

template void ReadValues<float>(SourceFile&, std::int64_t, ByteOrder, std::span<float>);
template void ReadValues<double>(SourceFile&, std::int64_t, ByteOrder, std::span<double>);
template void ForEachValueChunk<float>(SourceFile&, std::int64_t, std::int64_t, ByteOrder,
                                       const std::function<void(std::span<float>)>&);
template void ForEachValueChunk<double>(SourceFile&, std::int64_t, std::int64_t, ByteOrder,
                                        const std::function<void(std::span<double>)>&);

}  // namespace convora
