#include "abf/SweepLayout.h"

#include <limits>
#include <vector>

#include "abf/ConvoraError.h"
#include "abf/LittleEndian.h"

namespace convora {

void MarkGapFree(AbfHeader& header) {
  header.Set(abf::nOperationMode, std::int16_t{3});
  header.Set(abf::lActualEpisodes, 1);
  header.Set(abf::lSynchArrayPtr, 0);
  header.Set(abf::lSynchArraySize, 0);
}

SweepLayout::SweepLayout(AbfHeader& header, std::int32_t sweeps, std::int32_t perSweep)
    : sweeps_(sweeps), perSweep_(perSweep) {
  const std::int64_t dataStart = std::int64_t{header.Get(abf::lDataSectionPtr)} * ABF_BLOCK_BYTES;
  const std::int64_t dataEnd = dataStart + std::int64_t{sweeps} * perSweep * 2;
  end_ = dataEnd;
  if (!Episodic()) {
    MarkGapFree(header);
    return;
  }
  const std::int64_t synchBlock = (dataEnd + ABF_BLOCK_BYTES - 1) / ABF_BLOCK_BYTES;
  if (synchBlock > std::numeric_limits<std::int32_t>::max()) {
    throw ConvoraError("the recording is too large for an episodic ABF 1.x file (lSynchArrayPtr)");
  }
  padding_ = synchBlock * ABF_BLOCK_BYTES - dataEnd;
  end_ = synchBlock * ABF_BLOCK_BYTES + std::int64_t{sweeps} * 8;
  header.Set(abf::nOperationMode, std::int16_t{5});
  header.Set(abf::lActualEpisodes, sweeps);
  header.Set(abf::lEpisodesPerRun, sweeps);
  header.Set(abf::lNumSamplesPerEpisode, perSweep);
  header.Set(abf::lSynchArrayPtr, static_cast<std::int32_t>(synchBlock));
  header.Set(abf::lSynchArraySize, sweeps);
  header.Set(abf::fSynchTimeUnit, 0.0f);  // synch entries count samples, not microseconds
}

void SweepLayout::WriteAfterSamples(DataSectionWriter& out) const {
  if (!Episodic()) return;
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(padding_), 0);
  bytes.resize(bytes.size() + static_cast<std::size_t>(sweeps_) * 8);
  std::uint8_t* entry = bytes.data() + padding_;
  for (std::int32_t s = 0; s < sweeps_; ++s, entry += 8) {
    StoreLittleEndian<std::int32_t>(entry, s * perSweep_);
    StoreLittleEndian<std::int32_t>(entry + 4, perSweep_);
  }
  out.WriteBytes(bytes);
}

}  // namespace convora
