#include "formats/SweepScales.h"

namespace convora {

SweepScales::SweepScales(ScanReader& stored, std::size_t channels, ScalesOf scalesOf)
    : stored_(stored), scalesOf_(std::move(scalesOf)), scales_(channels), offsets_(channels) {}

void SweepScales::ReadScans(std::int64_t sweep, std::int64_t first, std::span<double> out) {
  stored_.ReadScans(sweep, first, out);
  if (sweep != sweep_) {
    scalesOf_(sweep, scales_, offsets_);
    sweep_ = sweep;
  }
  const std::size_t channels = scales_.size();
  for (std::size_t i = 0; i < out.size(); ++i) {
    out[i] = out[i] * scales_[i % channels] + offsets_[i % channels];
  }
}

}  // namespace convora
