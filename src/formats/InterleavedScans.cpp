#include "formats/InterleavedScans.h"

namespace convora {

InterleavedScans::InterleavedScans(SourceFile& source, StoredType type, ByteOrder order,
                                   std::size_t width, std::vector<std::size_t> positions,
                                   std::vector<std::int64_t> sweepStarts)
    : source_(source),
      type_(type),
      order_(order),
      width_(width),
      positions_(std::move(positions)),
      sweepStarts_(std::move(sweepStarts)) {}

void InterleavedScans::ReadScans(std::int64_t sweep, std::int64_t first, std::span<double> out) {
  const std::size_t channels = positions_.size();
  const std::size_t scans = out.size() / channels;
  const auto scanBytes = static_cast<std::int64_t>(width_ * BytesOf(type_));
  stored_.resize(scans * width_);
  ReadValues(source_, sweepStarts_[static_cast<std::size_t>(sweep)] + first * scanBytes, type_,
             order_, BytesOf(type_), stored_);
  for (std::size_t s = 0; s < scans; ++s) {
    for (std::size_t c = 0; c < channels; ++c)
      out[s * channels + c] = stored_[s * width_ + positions_[c]];
  }
}

}  // namespace convora
