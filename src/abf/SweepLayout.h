#pragma once
// How an output's samples divide into sweeps: one gap-free run, or episodes
// of equal length with a synch array after the samples, so that readers cut
// the data into its sweeps.

#include <cstdint>

#include "abf/AbfHeader.h"
#include "abf/AbfOutput.h"

namespace convora {

// One sweep: mode 3, no synch array.
void MarkGapFree(AbfHeader& header);

class SweepLayout {
 public:
  // Sets the mode and sweep fields of `header` for `sweeps` sweeps of
  // `perSweep` samples (all channels), whose data start at lDataSectionPtr.
  // Throws ConvoraError when the synch array would lie beyond what ABF 1.x
  // can point at.
  SweepLayout(AbfHeader& header, std::int32_t sweeps, std::int32_t perSweep);

  bool Episodic() const { return sweeps_ > 1; }
  // The byte after the last one written: the synch array's end, or the
  // samples' when there is none.
  std::int64_t EndByte() const { return end_; }
  // Writes the synch array, one (start, length) pair of int32 per sweep in
  // samples of the interleaved stream, at the block after the last sample.
  void WriteAfterSamples(DataSectionWriter& out) const;

 private:
  std::int32_t sweeps_;
  std::int32_t perSweep_;
  std::int64_t padding_ = 0;  // bytes from the last sample to the synch array
  std::int64_t end_ = 0;
};

}  // namespace convora
