#pragma once
// The usual layout of a recording: scans of one value per channel, one
// after another, each sweep from its own offset in the file.

#include <cstdint>
#include <span>
#include <vector>

#include "abf/FileIo.h"
#include "formats/RecordingOutput.h"
#include "formats/SourceValues.h"

namespace convora {

class InterleavedScans : public ScanReader {
 public:
  // Scans of `width` values of `type`; channel c of the recording is the
  // value at positions[c] of each scan, and sweep k starts at sweepStarts[k].
  InterleavedScans(SourceFile& source, StoredType type, ByteOrder order, std::size_t width,
                   std::vector<std::size_t> positions, std::vector<std::int64_t> sweepStarts);

  void ReadScans(std::int64_t sweep, std::int64_t first, std::span<double> out) override;

 private:
  SourceFile& source_;
  StoredType type_;
  ByteOrder order_;
  std::size_t width_;
  std::vector<std::size_t> positions_;
  std::vector<std::int64_t> sweepStarts_;
  std::vector<double> stored_;
};

}  // namespace convora
