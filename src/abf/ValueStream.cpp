#include "abf/ValueStream.h"

#include <algorithm>
#include <bit>
#include <vector>

#include "abf/ByteOrder.h"

namespace convora {

namespace {
// Values per chunk handed to a converter: small enough to stay in the
// processor's cache while it works on them. Chunks are read into a buffer
// rather than visited in the file's mapped pages: mapped windows ran up to
// several times slower from one run to the next on a virtual machine where
// reading stayed steady, and reading keeps the resident set small.
constexpr std::int64_t kChunkValues = 1 << 15;
}  // namespace

template <typename Value>
void ReadValues(SourceFile& source, std::int64_t offset, ByteOrder order, std::span<Value> out) {
  source.ReadPadded(offset, std::span(reinterpret_cast<std::uint8_t*>(out.data()), out.size_bytes()));
  const bool storedLittle = order == ByteOrder::LittleEndian;
  if (storedLittle != (std::endian::native == std::endian::little)) ReverseBytesOfEach(out);
}

template <typename Value>
void ForEachValueChunk(SourceFile& source, std::int64_t offset, std::int64_t count,
                       ByteOrder order, const std::function<void(std::span<Value>)>& visit) {
  std::vector<Value> values;
  for (std::int64_t done = 0; done < count; done += kChunkValues) {
    values.resize(static_cast<std::size_t>(std::min(kChunkValues, count - done)));
    ReadValues<Value>(source, offset + done * std::int64_t{sizeof(Value)}, order, values);
    visit(values);
  }
}

std::vector<Stretch> ValueRunsFor(std::int64_t count, std::int64_t valueBytes) {
  // Scaling runs near the speed of memory: a thread pays off only on a few MiB.
  constexpr std::int64_t kSmallestRunBytes = 8 << 20;
  return SplitEvenly(count, PartsFor(count * valueBytes, kSmallestRunBytes));
}

template <typename Value>
void ForEachValueChunkInRuns(
    SourceFile& source, std::int64_t offset, const std::vector<Stretch>& runs, ByteOrder order,
    const std::function<void(std::size_t, std::span<const Value>)>& visit) {
  RunParts(runs.size(), [&](std::size_t k) {
    SourceFile own = source.Reopened();
    ForEachValueChunk<Value>(own, offset + runs[k].from * std::int64_t{sizeof(Value)},
                             runs[k].Length(), order,
                             [&](std::span<Value> chunk) { visit(k, chunk); });
  });
}

template void ReadValues<float>(SourceFile&, std::int64_t, ByteOrder, std::span<float>);
template void ReadValues<double>(SourceFile&, std::int64_t, ByteOrder, std::span<double>);
template void ForEachValueChunk<float>(SourceFile&, std::int64_t, std::int64_t, ByteOrder,
                                       const std::function<void(std::span<float>)>&);
template void ForEachValueChunk<double>(SourceFile&, std::int64_t, std::int64_t, ByteOrder,
                                        const std::function<void(std::span<double>)>&);
template void ForEachValueChunkInRuns<float>(
    SourceFile&, std::int64_t, const std::vector<Stretch>&, ByteOrder,
    const std::function<void(std::size_t, std::span<const float>)>&);
template void ForEachValueChunkInRuns<double>(
    SourceFile&, std::int64_t, const std::vector<Stretch>&, ByteOrder,
    const std::function<void(std::size_t, std::span<const double>)>&);

}  // namespace convora
