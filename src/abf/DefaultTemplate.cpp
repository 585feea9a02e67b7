// The template header shipped as SamplABF.dat. Every value is one that the
// common ABF 1.x readers need, or the neutral choice where they need nothing:
// a gap-free, one-channel recording of 16-bit samples, data right after the
// 6144-byte header. Fields not named here are zero, text runs blank.

#include <string>

#include "abf/TemplateFile.h"

namespace convora {
namespace {

// Text runs of the published layout that the template fills with blanks.
struct TextRun {
  std::size_t offset;
  std::size_t width;
};
// clang-format off
constexpr TextRun kTextRuns[] = {
    {68, 4},    {108, 12},  {294, 16},  {310, 56},  {370, 8},   {442, 160}, {602, 128},
    {1306, 40}, {1346, 32}, {1412, 10}, {1608, 4},  {1614, 6},  {1628, 2},  {1634, 84},
    {1750, 12}, {1764, 80}, {1866, 2},  {1910, 2},  {1912, 8},  {1930, 2},  {1954, 12},
    {1988, 16}, {2004, 16}, {2064, 10}, {2106, 190}, {2668, 40}, {2736, 512}, {3248, 12},
    {3324, 36}, {3376, 1024}, {4400, 56}, {4476, 36}, {4834, 64}, {4898, 256}, {5154, 128},
    {5282, 128}, {5410, 734},
};
// clang-format on

constexpr std::size_t kAdcChannels = 16;
constexpr std::size_t kDacChannels = 4;

}  // namespace

AbfHeader BuildDefaultTemplate() {
  AbfHeader h;
  for (const TextRun& run : kTextRuns) h.Set(TextField{run.offset, run.width}, "");

  h.Set(abf::lFileSignature, "ABF ");
  h.Set(abf::fFileVersionNumber, 1.83f);
  h.Set(abf::fHeaderVersionNumber, 1.83f);
  h.Set(abf::nOperationMode, std::int16_t{3});  // gap-free
  h.Set(abf::lActualEpisodes, 1);  // some readers hang or crash on 0
  h.Set(abf::nFileType, std::int16_t{1});
  h.Set(abf::lDataSectionPtr, 12);  // 12 x 512 = 6144: right after the header
  h.Set(abf::nDataFormat, std::int16_t{0});  // 16-bit integers
  h.Set(abf::nADCNumChannels, std::int16_t{1});
  h.Set(abf::fADCSampleInterval, 100.0f);
  h.Set(abf::lNumSamplesPerEpisode, 8192);
  h.Set(abf::lPreTriggerSamples, 16);
  h.Set(abf::lEpisodesPerRun, 1);
  h.Set(abf::lRunsPerTrial, 1);
  h.Set(abf::lNumberOfTrials, 1);
  h.Set(abf::fADCRange, 10.0f);
  h.Set(abf::fDACRange, 10.0f);
  h.Set(abf::lADCResolution, 32768);
  h.Set(abf::lDACResolution, 32768);
  h.Set(abf::fAutosampleAdditGain, 1.0f);
  h.Set(abf::sCreatorInfo, "Convora");
  h.Set(abf::lHeaderSize, static_cast<std::int32_t>(ABF_HEADER_BYTES));

  for (std::size_t i = 0; i < kAdcChannels; ++i) {
    const auto channel = static_cast<std::int16_t>(i);
    h.Set(abf::nADCPtoLChannelMap, i, channel);
    // Unused slots of the sampling sequence must be -1, or readers fail.
    h.Set(abf::nADCSamplingSeq, i, i == 0 ? std::int16_t{0} : std::int16_t{-1});
    h.Set(abf::sADCChannelName, i, "IN " + std::to_string(i));
    h.Set(abf::sADCUnits, i, "pA");
    h.Set(abf::fADCProgrammableGain, i, 1.0f);
    h.Set(abf::fADCDisplayAmplification, i, 1.0f);
    h.Set(abf::fInstrumentScaleFactor, i, 1.0f);
    h.Set(abf::fSignalGain, i, 1.0f);
    h.Set(abf::fSignalLowpassFilter, i, 5000.0f);
    h.Set(abf::fTelegraphAdditGain, i, 1.0f);
  }
  for (std::size_t i = 0; i < kDacChannels; ++i) {
    h.Set(abf::sDACChannelName, i, "OUT " + std::to_string(i));
    h.Set(abf::sDACChannelUnits, i, "mV");
    h.Set(abf::fDACScaleFactor, i, 1.0f);
  }
  return h;
}

}  // namespace convora
