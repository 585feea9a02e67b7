// "Down-scale ABF File": every channel rescaled so that its largest excursion
// lands at half of full scale, with gains and offsets rewritten to match. Two
// passes over the samples: the peaks, then the rescaled samples.

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "abf/AbfOutput.h"
#include "abf/ConvoraError.h"
#include "abf/FileIo.h"
#include "abf/Numbers.h"
#include "abf/PathText.h"
#include "abf/ReplacementFile.h"
#include "tools/AbfTools.h"
#include "tools/ToolSteps.h"

namespace convora {
namespace {

constexpr std::int64_t kChunkSamples = 1 << 19;

struct DownscaledChannel {
  std::size_t physical = 0;
  float gain = 0.0f;
  float offset = 0.0f;
  float peakHigh = 0.0f;
  float peakLow = 0.0f;
  std::int16_t minCount = 0;
  std::int16_t maxCount = 0;
  float newScaleFactor = 0.0f;
};

struct Recording {
  std::vector<DownscaledChannel> channels;
  SampleSection samples;  // whole scans only
  double range = 0.0;
  double resolution = 0.0;

  double PhysicalValue(const DownscaledChannel& c, std::int16_t count) const {
    return count / static_cast<double>(c.gain) * range / resolution + c.offset;
  }
  std::optional<std::int16_t> Rescaled(const DownscaledChannel& c, std::int16_t count) const {
    return RoundToInt16(PhysicalValue(c, count) * resolution / range * c.newScaleFactor);
  }
};

Recording Describe(const AbfHeader& header, std::int64_t fileLength) {
  Recording r;
  const std::size_t channelCount = ChannelCountOf(header);
  r.samples = LocateSamples(header, fileLength);
  r.samples.count -= r.samples.count % static_cast<std::int64_t>(channelCount);
  if (r.samples.count == 0) throw ConvoraError("the file holds no complete scan of its channels");
  r.range = header.Get(abf::fADCRange);
  r.resolution = header.Get(abf::lADCResolution);
  if (r.range == 0.0) throw ConvoraError("the converter range (fADCRange) is 0");
  if (r.resolution == 0.0) throw ConvoraError("the converter resolution (lADCResolution) is 0");
  for (std::size_t c = 0; c < channelCount; ++c) {
    DownscaledChannel ch;
    ch.physical = PhysicalChannelAt(header, c);
    const std::size_t s = ch.physical;
    ch.gain = header.Get(abf::fADCProgrammableGain, s) * header.Get(abf::fInstrumentScaleFactor, s) *
              header.Get(abf::fSignalGain, s);
    ch.offset = header.Get(abf::fSignalOffset, s) + header.Get(abf::fInstrumentOffset, s);
    if (ch.gain == 0.0f || !std::isfinite(ch.gain)) {
      throw ConvoraError("channel " + std::to_string(s) +
                         " has a gain of 0 or no number (fADCProgrammableGain x "
                         "fInstrumentScaleFactor x fSignalGain)");
    }
    r.channels.push_back(ch);
  }
  return r;
}

// Calls `visit` with every chunk of whole scans, as counts.
void ForEachScanChunk(SourceFile& source, const Recording& r,
                      const std::function<void(std::vector<std::int16_t>&)>& visit) {
  const auto scan = static_cast<std::int64_t>(r.channels.size());
  const std::int64_t chunk = std::max(kChunkSamples / scan, std::int64_t{1}) * scan;
  std::vector<std::int16_t> counts;
  for (std::int64_t done = 0; done < r.samples.count; done += chunk) {
    counts.resize(static_cast<std::size_t>(std::min(chunk, r.samples.count - done)));
    source.ReadSamples(r.samples.offset + 2 * done, counts);
    visit(counts);
  }
}

void FindPeaks(SourceFile& source, Recording& r) {
  std::vector<std::int16_t> firstScan(r.channels.size());
  source.ReadSamples(r.samples.offset, firstScan);
  for (std::size_t c = 0; c < r.channels.size(); ++c) {
    const std::int16_t first = firstScan[c];
    DownscaledChannel& ch = r.channels[c];
    // The seed subtracts the offset before scaling where every other value
    // adds it after; kept on purpose (it can only widen the search).
    ch.peakHigh = ch.peakLow = static_cast<float>(
        (first / static_cast<double>(ch.gain) - ch.offset) * r.range / r.resolution);
    ch.minCount = ch.maxCount = first;
  }
  const std::size_t n = r.channels.size();
  ForEachScanChunk(source, r, [&](std::vector<std::int16_t>& counts) {
    for (std::size_t i = 0; i < counts.size(); ++i) {
      DownscaledChannel& ch = r.channels[i % n];
      const double v = r.PhysicalValue(ch, counts[i]);
      if (v > ch.peakHigh) ch.peakHigh = static_cast<float>(v);
      if (v < ch.peakLow) ch.peakLow = static_cast<float>(v);
      ch.minCount = std::min(ch.minCount, counts[i]);
      ch.maxCount = std::max(ch.maxCount, counts[i]);
    }
  });
}

// The new scale factor puts the signed extreme of largest magnitude (the
// positive one on a tie) at half of full scale. Refused, before anything is
// written, when that is impossible or a sample would leave 16 bits: the
// rescaling is monotonic, so the extreme counts decide.
void ChooseScaleFactors(Recording& r) {
  for (DownscaledChannel& ch : r.channels) {
    const float peak = std::fabs(ch.peakLow) > std::fabs(ch.peakHigh) ? ch.peakLow : ch.peakHigh;
    const float magnitude = std::fabs(peak);
    if (magnitude == 0.0f || !std::isfinite(magnitude)) {
      throw ConvoraError("channel " + std::to_string(ch.physical) +
                         " has a peak of 0 or no number; it cannot be scaled");
    }
    ch.newScaleFactor = 10.0f / magnitude / 2.0f;
    if (!std::isfinite(ch.newScaleFactor) || !r.Rescaled(ch, ch.minCount) ||
        !r.Rescaled(ch, ch.maxCount)) {
      throw ConvoraError("channel " + std::to_string(ch.physical) +
                         "'s rescaled samples would not fit 16 bits");
    }
  }
}

void SetScaledGains(AbfHeader& header, const Recording& r) {
  for (const DownscaledChannel& ch : r.channels) {
    header.Set(abf::fADCProgrammableGain, ch.physical, 1.0f);
    header.Set(abf::fInstrumentScaleFactor, ch.physical, ch.newScaleFactor);
    header.Set(abf::fInstrumentOffset, ch.physical, 0.0f);
    header.Set(abf::fSignalGain, ch.physical, 1.0f);
    header.Set(abf::fSignalOffset, ch.physical, ch.offset);
  }
}

std::filesystem::path AskOutputPath(Workbench& bench) {
  const std::string answer = bench.Prompt()
                                 .AskInput({"output", "Please enter the name of new data file.",
                                            "File Nmae", PathText(bench.SelectedFilePath)})
                                 .value_or("");
  if (answer.empty()) throw ConvoraError("no name was given for the new data file");
  return std::filesystem::absolute(PathOfText(answer)).lexically_normal();
}

}  // namespace

void DownscaleAbfFile(Workbench& bench) {
  if (!LoadSelectedAbfHeader(bench)) return;
  // Closed before the rescaled file takes its place, as it does by default:
  // Windows puts no file in the place of one still open.
  std::optional<SourceFile> source(std::in_place, bench.SelectedFilePath);
  Recording r = Describe(bench.WorkHeader, source->Length());
  FindPeaks(*source, r);
  ChooseScaleFactors(r);
  SetScaledGains(bench.WorkHeader, r);

  const std::filesystem::path output = AskOutputPath(bench);
  bench.Prompt().SetBusy(true);
  ArrowAtEnd arrow(bench.Prompt());
  // Over an existing file (the source itself by default) its other bytes,
  // an incomplete last scan included, stay as they were.
  ReplacementFile rescaled = RewriteOf(output);
  rescaled.WriteAt(0, bench.WorkHeader.Bytes());
  DataSectionWriter writer(rescaled.File(), r.samples.offset);
  const std::size_t n = r.channels.size();
  ForEachScanChunk(*source, r, [&](std::vector<std::int16_t>& counts) {
    for (std::size_t i = 0; i < counts.size(); ++i) {
      counts[i] = r.Rescaled(r.channels[i % n], counts[i]).value();
    }
    writer.WriteSamples(counts);
  });
  source.reset();
  rescaled.Commit();
  bench.List1.Add(output);
}

}  // namespace convora
