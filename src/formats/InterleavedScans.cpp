#include "formats/InterleavedScans.h"

namespace convora {

InterleavedScans::InterleavedScans(SourceFile& source, StoredType type, ByteOrder order,
                                   std::size_t width, std::vector<std::size_t> positions,
                                   std::vector<std::int64_t> sweepStarts)
    : source_(&source),
      type_(type),
      order_(order),
      width_(width),
      positions_(std::move(positions)),
      sweepStarts_(std::move(sweepStarts)) {}

// Channel c of each scan from its position among the stored values.
template <typename Value>
void InterleavedScans::Pick(std::span<const Value> stored, std::span<Value> out) const {
  const std::size_t channels = positions_.size();
  for (std::size_t s = 0; s < out.size() / channels; ++s) {
    for (std::size_t c = 0; c < channels; ++c)
      out[s * channels + c] = stored[s * width_ + positions_[c]];
  }
}

void InterleavedScans::ReadScans(std::int64_t sweep, std::int64_t first, std::span<double> out) {
  const auto scanBytes = static_cast<std::int64_t>(width_ * BytesOf(type_));
  const std::int64_t at = sweepStarts_[static_cast<std::size_t>(sweep)] + first * scanBytes;
  if (InOrder()) return ReadValues(*source_, at, type_, order_, BytesOf(type_), out);
  stored_.resize(out.size() / positions_.size() * width_);
  ReadValues(*source_, at, type_, order_, BytesOf(type_), stored_);
  Pick<double>(stored_, out);
}

std::unique_ptr<ScanReader> InterleavedScans::ForAnotherThread() const {
  return CopyReading(*this, &InterleavedScans::source_);
}

bool InterleavedScans::InOrder() const {
  bool inOrder = positions_.size() == width_;
  for (std::size_t c = 0; c < positions_.size(); ++c) inOrder = inOrder && positions_[c] == c;
  return inOrder;
}

bool InterleavedScans::CopySweep(std::int64_t sweep, std::int64_t scans, DataSectionWriter& out) {
  if (!ReadsCounts() || !InOrder()) return false;
  CopyBytes(*source_, sweepStarts_[static_cast<std::size_t>(sweep)],
            scans * static_cast<std::int64_t>(width_ * 2), out, false);
  return true;
}

void InterleavedScans::ReadCounts(std::int64_t sweep, std::int64_t first,
                                  std::span<std::int16_t> out) {
  const std::int64_t at =
      sweepStarts_[static_cast<std::size_t>(sweep)] + first * static_cast<std::int64_t>(width_ * 2);
  if (InOrder()) return source_->ReadSamples(at, out);
  counts_.resize(out.size() / positions_.size() * width_);
  source_->ReadSamples(at, counts_);
  Pick<std::int16_t>(counts_, out);
}

}  // namespace convora
