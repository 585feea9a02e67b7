#include "generic/UnknownBinary.h"

#include <cmath>
#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"
#include "abf/PathText.h"
#include "abf/SampleScaling.h"
#include "abf/ValueStream.h"
#include "generic/DataBlock.h"

// The settings are applied field by field, each only when its value fits the
// header field, and a field that does not fit keeps what the template record
// held: users rely on a bad entry leaving the rest of the conversion intact.

namespace convora {
namespace {

ByteOrder OrderOf(const BinarySettings& settings) {
  return settings.swapBytes ? ByteOrder::BigEndian : ByteOrder::LittleEndian;
}

void ApplyAcquisitionSettings(AbfHeader& h, const BinarySettings& settings, std::int32_t samples) {
  h.Set(abf::lActualAcqLength, samples);
  if (auto interval = NarrowToSingle(LeadingNumber(settings.sampleInterval))) {
    h.Set(abf::fADCSampleInterval, *interval);
  }
  if (auto seconds = SecondsPerRunOf(h)) h.Set(abf::fSecondsPerRun, *seconds);
  if (auto range = NarrowToSingle(LeadingNumber(settings.adcRange))) h.Set(abf::fADCRange, *range);
  if (auto resolution = RoundToInt32(LeadingNumber(settings.adcResolution))) {
    h.Set(abf::lADCResolution, *resolution);
  }
  const double channels = LeadingNumber(settings.channels);
  if (auto count = RoundToInt16(channels)) h.Set(abf::nADCNumChannels, *count);
  for (std::size_t k = 0; k < abf::nADCSamplingSeq.count && k + 1 <= channels; ++k) {
    h.Set(abf::nADCSamplingSeq, k, static_cast<std::int16_t>(k));
  }
  // Unit and scale go to channel entry 0 only, whatever the channel count;
  // the other entries keep the template's values.
  SetChannelCalibration(h, 0, settings.unit, NarrowToSingle(LeadingNumber(settings.scaleFactor)));
}

// Scales the floats so that the larger extreme maps to half of full scale.
// An empty or all-zero block leaves the scale factor as it was; the range and
// resolution are overridden all the same.
void ScaleToPeak(AbfHeader& h, SourceFile& source, const DataBlock& block, std::int64_t count,
                 ByteOrder order) {
  h.Set(abf::fADCRange, 10.24f);
  h.Set(abf::lADCResolution, 32768);
  const std::vector<Stretch> runs = ValueRunsFor(count, sizeof(float));
  std::vector<RunExtremes> runExtremes = ExtremesOfRuns(runs.size());
  ForEachValueChunkInRuns<float>(source, block.offset, runs, order,
                                 [&](std::size_t k, std::span<const float> values) {
                                   runExtremes[k].Add(values);
                                 });
  const std::optional<Extremes> extremes = RunExtremes::Join(runExtremes);
  if (!extremes) return;
  const double low = extremes->MinimumMagnitude();
  const double high = extremes->MaximumMagnitude();
  const double peak = low > high ? low : high;
  if (auto factor = HalfScaleFactor(peak)) h.Set(abf::fInstrumentScaleFactor, 0, *factor);
}

// Settings are read leniently, as the settings window always read them: a
// text with no number in front counts as 0. The user hears of each.
void TellOfSettingsReadAsZero(Workbench& bench, const BinarySettings& settings) {
  const std::pair<const char*, const std::string*> numbers[] = {
      {"byte location", &settings.byteLocation}, {"sample interval", &settings.sampleInterval},
      {"ADC range", &settings.adcRange},         {"ADC resolution", &settings.adcResolution},
      {"scale factor", &settings.scaleFactor},   {"channel count", &settings.channels}};
  for (const auto& [name, text] : numbers) {
    if (LeadingNumberIfAny(*text)) continue;
    bench.Prompt().Notice(PathText(bench.SelectedFilePath) + ": the " + name + " \"" + *text +
                          "\" is not a number and is read as 0");
  }
}

}  // namespace

void ConvertUnknownBinary(Workbench& bench, const BinarySettings& settings) {
  SourceFile source(bench.SelectedFilePath);
  const DataBlock block = LocateDataBlock(source, settings.byteLocation);
  const int valueBytes = settings.floatingPoint ? 4 : 2;
  const auto samples = RoundToInt32(std::floor(block.bytes / valueBytes));
  if (!samples) {
    throw ConvoraError("the data block holds more samples than an ABF 1.x file can count (lActualAcqLength)");
  }

  bench.Prompt().SetBusy(true);
  const ArrowAtEnd arrow(bench.Prompt());
  AbfHeader h = StampedTemplate(bench);
  ApplyAcquisitionSettings(h, settings, *samples);
  if (settings.floatingPoint) ScaleToPeak(h, source, block, *samples, OrderOf(settings));

  TellOfSettingsReadAsZero(bench, settings);
  WriteAbfOutput(bench, h, [&](DataSectionWriter& out) {
    if (!settings.floatingPoint) {
      CopyBytes(source, block.offset, std::int64_t{*samples} * 2, out, settings.swapBytes);
      return;
    }
    const CountScaler toCount(h, 0);
    const std::vector<Stretch> runs = ValueRunsFor(*samples, sizeof(float));
    RunBatches counts(out, runs);
    ForEachValueChunkInRuns<float>(source, block.offset, runs, OrderOf(settings),
                                   [&](std::size_t k, std::span<const float> values) {
                                     // A value beyond 16 bits is left as the fresh array had it: 0.
                                     toCount.ToCounts(values, counts[k].Next(values.size()));
                                   });
    counts.Finish();
  });
}

}  // namespace convora
