#include "formats/IgorTextMac.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <utility>
#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"
#include "abf/Parallel.h"
#include "abf/SampleScaling.h"
#include "formats/IgorTextPieces.h"

// A Macintosh Igor text wave: heading lines, then one value per line, every
// data line starting with a tab after the previous line's carriage return
// (formats/IgorTextPieces.h reads them). The text is read twice (extremes,
// then samples), never held whole; each pass splits it into one share per
// core, since reading numbers, not the disk, bounds its speed.

namespace convora {
namespace {

// Below this a share is not worth a thread of its own.
constexpr std::int64_t kSmallestShareBytes = 1 << 20;
constexpr std::size_t kNumbersPerBlock = 1 << 12;

// What the first pass learns of one share.
struct ShareSummary {
  std::int64_t pieces = 0;
  std::optional<Extremes> extremes;
  std::optional<std::int64_t> firstTooLarge;  // which of its pieces, from 1
};

ShareSummary SummariseShare(const SourceFile& text, Stretch share) {
  SourceFile source = text.Reopened();  // a stream of its own: shares are read at once
  ShareSummary summary;
  std::int64_t piece = 0;
  summary.pieces = ForEachPieceNumber(source, share, [&](double number) {
    ++piece;
    const double picoamperes = number * kAmperesAsPicoamperes.factor;
    if (!std::isfinite(picoamperes)) {
      if (!summary.firstTooLarge) summary.firstTooLarge = piece;
    } else if (summary.extremes) {
      summary.extremes->Add(picoamperes);
    } else {
      summary.extremes.emplace(picoamperes);
    }
  });
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
    if (!share.extremes) continue;
    if (extremes) {
      extremes->Add(*share.extremes);
    } else {
      extremes = share.extremes;
    }
  }
  return {pieces, extremes};
}

// Writes the counts of one share's pieces, of which the first pass found
// `pieces`, through `out`. The numbers are scaled a block at a time, so that
// the scaling runs on vector lanes.
void WriteShare(const SourceFile& text, Stretch share, std::int64_t pieces,
                const CountScaler& toCount, DataSectionWriter out) {
  SourceFile source = text.Reopened();
  BatchedSamples batch(out);
  std::vector<double> numbers;
  numbers.reserve(kNumbersPerBlock);
  std::size_t misfits = 0;
  const auto scaleBlock = [&] {
    misfits += toCount.ToCounts(std::span<const double>(numbers), kAmperesAsPicoamperes.factor,
                                batch.Next(numbers.size()));
    numbers.clear();
  };
  std::int64_t taken = 0;
  const std::int64_t again = ForEachPieceNumber(source, share, [&](double number) {
    if (taken == pieces) return;
    ++taken;
    numbers.push_back(number);
    if (numbers.size() == kNumbersPerBlock) scaleBlock();
  });
  scaleBlock();
  batch.Finish();
  if (misfits != 0 || again != pieces) throw SourceChangedError();
}

}  // namespace

void ConvertIgorTextMac(Workbench& bench) {
  bench.Prompt().SetBusy(true);
  SourceFile source(bench.SelectedFilePath);

  const std::vector<Stretch> shares =
      SplitEvenly(source.Length(), PartsFor(source.Length(), kSmallestShareBytes));
  std::vector<ShareSummary> summaries(shares.size());
  RunParts(shares.size(), [&](std::size_t k) {
    summaries[k] = SummariseShare(source, shares[k]);
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

  // Patched on a copy, so that a file refused below leaves the template as it was.
  AbfHeader h = bench.TemplateHeader;
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

  bench.TemplateHeader = h;
  StampTemplate(bench);
  WriteAbfOutput(bench, [&](DataSectionWriter& out) {
    std::vector<std::int64_t> firstSample(shares.size(), 0);
    for (std::size_t k = 1; k < shares.size(); ++k) {
      firstSample[k] = firstSample[k - 1] + summaries[k - 1].pieces;
    }
    RunParts(shares.size(), [&](std::size_t k) {
      WriteShare(source, shares[k], summaries[k].pieces, toCount,
                 out.Skipped(firstSample[k] * std::int64_t{sizeof(std::int16_t)}));
    });
  });
}

}  // namespace convora
