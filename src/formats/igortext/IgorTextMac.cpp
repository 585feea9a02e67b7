#include "formats/igortext/IgorTextMac.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <utility>
#include <string>
#include <vector>

#include "abf/AbfOutput.h"
#include "abf/ConvoraError.h"
#include "abf/FileIo.h"
#include "abf/ScratchFile.h"
#include "abf/Numbers.h"
#include "abf/Parallel.h"
#include "abf/SampleScaling.h"
#include "formats/igortext/IgorTextPieces.h"
#include "formats/igortext/IgorTextWaves.h"

// A Macintosh Igor text wave: heading lines, then one value per line, every
// data line starting with a tab after the previous line's carriage return
// (formats/IgorTextPieces.h reads them). The text is read once, in one share
// per core, since reading numbers, not the disk, bounds its speed. The values
// wait in a scratch file until their extremes, and with them the scale, are
// known; reading them back costs a fraction of reading the text again.

namespace convora {
namespace {

// Below this a share is not worth a thread of its own.
constexpr std::int64_t kSmallestShareBytes = 1 << 20;
// Values read back from the scratch file at a time: 256 KiB, few enough reads
// that their calls cost little, small enough to stay in the cache.
constexpr std::size_t kValuesPerReadBack = 1 << 15;

// What the pass over one share learns, and where its values wait.
struct ShareSummary {
  std::optional<ScratchFile> kept;
  std::int64_t pieces = 0;
  std::optional<Extremes> extremes;           // in picoamperes
  std::optional<std::int64_t> firstTooLarge;  // which of its pieces, from 1
};

ShareSummary ReadShare(const SourceFile& text, Stretch share, const std::filesystem::path& folder) {
  SourceFile source = text.Reopened();  // a stream of its own: shares are read at once
  ShareSummary summary;
  ScratchFile& kept = summary.kept.emplace(folder);
  std::int64_t before = 0;  // pieces of the share before this block
  ForEachPieceNumber(source, share, [&](std::span<const double> numbers) {
    Extremes stored(numbers.front());
    stored.Add(numbers);
    const auto picoamperes = ExtremesOfProducts<double>(stored, kAmperesAsPicoamperes.factor);
    // Parsed numbers are never NaN: without extremes, some value is infinite
    // in picoamperes.
    if (!picoamperes && !summary.firstTooLarge) {
      const auto tooLarge = std::find_if(numbers.begin(), numbers.end(), [](double number) {
        return !std::isfinite(number * kAmperesAsPicoamperes.factor);
      });
      summary.firstTooLarge = before + (tooLarge - numbers.begin()) + 1;
    }
    JoinExtremes(summary.extremes, picoamperes);
    kept.WriteDoubles(before, numbers);
    before += static_cast<std::int64_t>(numbers.size());
  });
  summary.pieces = before;
  return summary;
}

// The number of pieces and their extremes, in picoamperes; throws, naming it,
// at the first value a double cannot hold in picoamperes.
std::pair<std::int64_t, std::optional<Extremes>> Summarise(
    const std::vector<ShareSummary>& shares) {
  std::int64_t pieces = 0;
  std::optional<Extremes> extremes;
  for (const ShareSummary& share : shares) {
    if (share.firstTooLarge) {
      throw ConvoraError("value " + std::to_string(pieces + *share.firstTooLarge) +
                         " is too large to be stored in picoamperes");
    }
    pieces += share.pieces;
    JoinExtremes(extremes, share.extremes);
  }
  return {pieces, extremes};
}

// Writes the counts of one share's `pieces` values, read back from the scratch
// file, through `out`.
void WriteShare(ScratchFile& kept, std::int64_t pieces, const CountScaler& toCount,
                DataSectionWriter out) {
  BatchedSamples batch(out);
  std::vector<double> values(kValuesPerReadBack);
  std::size_t misfits = 0;
  for (std::int64_t done = 0; done < pieces;) {
    const auto count = static_cast<std::size_t>(
        std::min<std::int64_t>(pieces - done, static_cast<std::int64_t>(values.size())));
    const std::span<double> chunk(values.data(), count);
    kept.ReadDoubles(done, chunk);
    misfits += toCount.ToCounts(std::span<const double>(chunk), kAmperesAsPicoamperes.factor,
                                batch.Next(count));
    done += static_cast<std::int64_t>(count);
  }
  batch.Finish();
  // The extremes were checked to fit, so every value between them does.
  if (misfits != 0) throw ConvoraError("a value did not scale into 16 bits");
}

}  // namespace

void ConvertIgorTextMac(Workbench& bench) {
  bench.Prompt().SetBusy(true);
  SourceFile source(bench.SelectedFilePath);

  const std::vector<Stretch> shares =
      SplitEvenly(source.Length(), PartsFor(source.Length(), kSmallestShareBytes));
  const std::filesystem::path folder = OutputNameFor(bench.SelectedFilePath).parent_path();
  std::vector<ShareSummary> summaries(shares.size());
  RunParts(shares.size(), [&](std::size_t k) {
    summaries[k] = ReadShare(source, shares[k], folder);
  });
  const auto [count, extremes] = Summarise(summaries);
  if (count == 0) {
    throw ConvoraError("no data lines found: the values must each follow a carriage return "
                       "and a tab");
  }
  if (count > std::numeric_limits<std::int32_t>::max()) {
    throw ConvoraError("the file holds more values than an ABF 1.x file can count (lActualAcqLength)");
  }
  const auto samples = static_cast<std::int32_t>(count);

  // Asked once the file has been read, as users of this conversion expect.
  const double interval = AskSampleInterval(bench, IntervalRule::kAnyNumber);
  const auto intervalField = NarrowToSingle(interval);
  const auto secondsPerRun = NarrowToSingle(samples * interval / 1'000'000.0);
  if (!intervalField || !secondsPerRun) {
    throw ConvoraError("the sample interval " + std::to_string(interval) + " is too large for fADCSampleInterval");
  }

  // The smaller magnitude is the range on purpose; the larger side may then
  // go beyond full scale, which the check below refuses.
  const double range = SmallerMagnitude(*extremes);
  if (range == 0.0) {
    throw ConvoraError("the smaller of the largest positive and negative magnitudes is 0, "
                       "so the values give no scale");
  }
  const auto scaleFactor = HalfScaleFactor(range);
  if (!scaleFactor) throw ConvoraError("the values are too small to give a scale factor");

  AbfHeader h = StampedTemplate(bench);
  h.Set(abf::nOperationMode, std::int16_t{5});
  h.Set(abf::lActualAcqLength, samples);
  h.Set(abf::lActualEpisodes, 1);
  h.Set(abf::lNumSamplesPerEpisode, samples);
  h.Set(abf::fSecondsPerRun, *secondsPerRun);
  h.Set(abf::fADCSampleInterval, *intervalField);
  // 10.0 here against the 10.24 inside the scale factor is kept on purpose:
  // readers rebuild values from the header's own numbers, so they agree, and
  // files converted so far carry exactly these.
  h.Set(abf::fADCRange, 10.0f);
  h.Set(abf::lADCResolution, 32768);
  SetChannelFields(h, 0, kAmperesAsPicoamperes.unit, scaleFactor);
  const CountScaler toCount(h, 0);
  RequireCountsFit(toCount, *extremes);

  WriteAbfOutput(bench, h, [&](DataSectionWriter& out) {
    std::vector<std::int64_t> firstSample(shares.size(), 0);
    for (std::size_t k = 1; k < shares.size(); ++k) {
      firstSample[k] = firstSample[k - 1] + summaries[k - 1].pieces;
    }
    RunParts(shares.size(), [&](std::size_t k) {
      WriteShare(*summaries[k].kept, summaries[k].pieces, toCount,
                 out.Skipped(firstSample[k] * std::int64_t{sizeof(std::int16_t)}));
      // Closed on the share's own thread: the system frees the file's pages
      // as it closes it, which takes milliseconds per share.
      summaries[k].kept.reset();
    });
  });
  TellCarriedChannelCount(bench, h);
}

namespace {

constexpr std::string_view kMacWaveStart = "IGOR\rWAVES\t";

void ConvertIgorText(Workbench& bench) {
  const auto& head = bench.WorkHeader.Bytes();
  if (std::string_view(reinterpret_cast<const char*>(head.data()), kMacWaveStart.size()) ==
      kMacWaveStart) {
    ConvertIgorTextMac(bench);
  } else {
    ConvertPulseItx2(bench);
  }
}

}  // namespace

const FormatDescriptor kIgorTextFormat{
    "Igor Text File (Mac)",
    [](const RecognitionInput& in) { return in.ProbeStartsWith("IGOR"); },
    ConvertIgorText};

}  // namespace convora
