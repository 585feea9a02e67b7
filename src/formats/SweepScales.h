#pragma once
// Sources whose scale changes from sweep to sweep (a WinWCP record's voltage
// range): an ABF channel has one scale, so such a channel is handed on in its
// unit, through the two-pass path of RecordingOutput that finds one scale for
// the whole output.

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "formats/RecordingOutput.h"

namespace convora {

class SweepScales : public ScanReader {
 public:
  // Fills scale[c] and offset[c] for channel c of `sweep`.
  using ScalesOf =
      std::function<void(std::int64_t sweep, std::span<double> scale, std::span<double> offset)>;

  // Reads `stored` and hands on value x scale + offset, with the scales of
  // the sweep (asked once per sweep in a row, so that nothing grows with the
  // sweep count). The recording describes what comes out: a channel whose
  // scale is 1 and offset 0 keeps its stored values.
  SweepScales(ScanReader& stored, std::size_t channels, ScalesOf scalesOf);

  void ReadScans(std::int64_t sweep, std::int64_t first, std::span<double> out) override;

 private:
  ScanReader& stored_;
  ScalesOf scalesOf_;
  std::int64_t sweep_ = -1;  // whose scales are at hand
  std::vector<double> scales_;
  std::vector<double> offsets_;
};

}  // namespace convora
