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
  bool ReadsCounts() const override {
    return type_ == StoredType::kInt16 && order_ == ByteOrder::LittleEndian;
  }
  void ReadCounts(std::int64_t sweep, std::int64_t first, std::span<std::int16_t> out) override;
  bool CopySweep(std::int64_t sweep, std::int64_t scans, DataSectionWriter& out) override;
  std::unique_ptr<ScanReader> ForAnotherThread() const override;

 private:
  SourceFile* source_;
  StoredType type_;
  ByteOrder order_;
  std::size_t width_;
  std::vector<std::size_t> positions_;
  std::vector<std::int64_t> sweepStarts_;
  std::vector<double> stored_;
  std::vector<std::int16_t> counts_;

  // Every scan holds the channels alone, in the recording's order.
  bool InOrder() const;
  template <typename Value>
  void Pick(std::span<const Value> stored, std::span<Value> out) const;
};

}  // namespace convora
