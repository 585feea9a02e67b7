#include "formats/Axograph.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "abf/AbfOutput.h"
#include "abf/ByteOrder.h"
#include "abf/ConvoraError.h"
#include "abf/FileIo.h"
#include "abf/LittleEndian.h"
#include "abf/Numbers.h"
#include "abf/Parallel.h"
#include "abf/PathText.h"
#include "abf/SampleScaling.h"
#include "abf/ValueStream.h"

// An Axograph file is a run of big-endian columns: the time column first, then
// one column per recorded signal, each an 84-byte head (point count, 80-character
// title) and N floats. Every signal column becomes one ABF channel, samples
// interleaved frame by frame.
//
// Steps that cannot be carried out (a zero range, a value beyond the float
// range, a count beyond 16 bits, a channel past the header's 16 entries) are
// passed over and the conversion goes on with what the record or the sample
// already held. Files converted so far were made that way, so each such place
// below keeps that result.

namespace convora {
namespace {

constexpr std::string_view kVersionMessage =
    "Only supports Axograph file version 1.  Please contact Quenvale for higher version.";

constexpr std::size_t kHeaderRecordBytes = 100;
constexpr std::int64_t kColumnsAt = 8;
constexpr std::int64_t kColumnHeadBytes = 84;  // point count, then the title
constexpr std::int64_t kTitleAt = 4;
constexpr std::size_t kTitleBytes = 80;
constexpr std::size_t kUnitBytes = 8;
constexpr std::int64_t kValueBytes = 4;
constexpr std::int64_t kChunkSamples = 1 << 16;
constexpr int kHeaderChannels = 16;

struct FileHeader {
  std::int16_t version;
  std::int16_t columns;  // time column included
  std::int32_t points;   // of the time column, taken for every column
  float firstTime;
  float secondTime;
};

FileHeader ReadFileHeader(SourceFile& source) {
  std::array<std::uint8_t, kHeaderRecordBytes> record{};
  source.ReadPadded(0, record);
  return {SwapInt16(LoadLittleEndian<std::int16_t>(&record[4])),
          SwapInt16(LoadLittleEndian<std::int16_t>(&record[6])),
          SwapInt32(LoadLittleEndian<std::int32_t>(&record[8])),
          SwapSingle(LoadLittleEndian<float>(&record[92])),
          SwapSingle(LoadLittleEndian<float>(&record[96]))};
}

// What a signal column contributes to the header and to the samples.
struct SignalColumn {
  std::int64_t valuesAt;  // byte offset of its first value
  double unitFactor;
  std::string unit;
  std::optional<float> scaleFactor;  // nothing when its range gave none
  bool productsFit = false;  // no value's product leaves the float range
  double range = 0.0;        // the magnitude put at half of full scale
};

// Values first ... first + count - 1 of a column as stored, in `values`.
void ReadStored(SourceFile& source, const SignalColumn& column, std::int64_t first,
                std::int64_t count, std::vector<float>& values) {
  values.resize(static_cast<std::size_t>(count));
  ReadValues<float>(source, column.valuesAt + first * kValueBytes, ByteOrder::BigEndian, values);
}

// Values first ... first + count - 1 of a column, as the conversion holds
// them: the big-endian float times the unit factor, rounded to a float. A
// product beyond the float range leaves the four bytes as they were read,
// unreversed; kept on purpose, since the column's extremes and samples were
// always computed from that.
void ReadColumn(SourceFile& source, const SignalColumn& column, std::int64_t first,
                std::int64_t count, std::vector<float>& values) {
  ReadStored(source, column, first, count, values);
  const std::size_t converted = MultiplyWithinRange(values, column.unitFactor);
  for (float& value : std::span(values).subspan(converted)) {
    value = NarrowToSingle(static_cast<double>(value) * column.unitFactor).value_or(SwapSingle(value));
  }
}

// The extremes of a column's values as the conversion holds them: from the
// values as stored, a run to a core, where ExtremesOfProducts can tell;
// product by product otherwise.
Extremes ColumnExtremes(SourceFile& source, SignalColumn& column, std::int64_t points) {
  const std::vector<Stretch> runs = ValueRunsFor(points, kValueBytes);
  std::vector<RunExtremes> stored = ExtremesOfRuns(runs.size());
  ForEachValueChunkInRuns<float>(source, column.valuesAt, runs, ByteOrder::BigEndian,
                                 [&](std::size_t k, std::span<const float> values) {
    stored[k].Add(values);
  });
  // Every run holds a value (points >= 1), so the first one starts them.
  if (const auto products = ExtremesOfProducts<float>(*RunExtremes::Join(stored), column.unitFactor)) {
    column.productsFit = true;
    return *products;
  }
  std::optional<Extremes> extremes;
  std::vector<float> values;
  for (std::int64_t first = 0; first < points; first += kChunkSamples) {
    ReadColumn(source, column, first, std::min(kChunkSamples, points - first), values);
    if (!extremes) extremes.emplace(values.front());
    extremes->Add(values);
  }
  return *extremes;
}

// Reads the column's title and its values once: the unit and its factor, and
// the scale factor from the column's extremes.
// The unit factor is shared with the columns before: a title without "(A)" or
// "(V)" keeps the previous column's factor, and the first such column has none
// (0), so its values all become 0. Kept on purpose: outputs of files that mix
// titled and untitled columns depend on it.
SignalColumn ScanColumn(SourceFile& source, std::int64_t columnAt, std::int64_t points,
                        double& unitFactor) {
  std::array<std::uint8_t, kTitleBytes> titleBytes{};
  source.ReadPadded(columnAt + kTitleAt, titleBytes);
  const std::string_view title(reinterpret_cast<const char*>(titleBytes.data()), kTitleBytes);
  std::string unit(title.substr(0, kUnitBytes));
  if (title.find("(A)") != std::string_view::npos) {
    unitFactor = kAmperesAsPicoamperes.factor;
    unit = kAmperesAsPicoamperes.unit;
  } else if (title.find("(V)") != std::string_view::npos) {
    unitFactor = kVoltsAsMillivolts.factor;
    unit = kVoltsAsMillivolts.unit;
  }
  SignalColumn column{columnAt + kColumnHeadBytes, unitFactor, unit, std::nullopt};

  // The smaller magnitude: the larger side may run past full scale, and then
  // those samples overflow and stay 0 below.
  column.range = SmallerMagnitude(ColumnExtremes(source, column, points));
  column.scaleFactor = HalfScaleFactor(column.range);
  return column;
}

// The samples of `frames`, every described column scaled and interleaved
// frame by frame, into `batch`; adds to unstored[k] the samples of column k
// that did not fit 16 bits.
void WriteFrames(SourceFile& source, const std::vector<SignalColumn>& columns,
                 const std::vector<CountScaler>& toCount, int channels, Stretch frames,
                 BatchedSamples& batch, std::vector<std::int64_t>& unstored) {
  const std::int64_t framesPerChunk = std::max<std::int64_t>(1, kChunkSamples / channels);
  const auto described = static_cast<int>(columns.size());
  std::vector<std::int16_t> columnCounts;
  std::vector<float> values;
  for (std::int64_t first = frames.from; first < frames.to; first += framesPerChunk) {
    const std::int64_t count = std::min(framesPerChunk, frames.to - first);
    const std::span<std::int16_t> counts = batch.Next(static_cast<std::size_t>(count * channels));
    // Channels past the header's entries stay 0.
    if (described < channels) std::fill(counts.begin(), counts.end(), std::int16_t{0});
    for (int k = 0; k < described; ++k) {
      // A lone channel is scaled straight into place; others go through a
      // column of their own to be interleaved.
      columnCounts.resize(static_cast<std::size_t>(count));
      const std::span<std::int16_t> scaled = channels == 1 ? counts : std::span(columnCounts);
      // A count beyond 16 bits is not stored: ToCounts leaves the sample 0.
      if (columns[k].productsFit) {
        ReadStored(source, columns[k], first, count, values);
        unstored[k] += toCount[k].ToCounts(values, columns[k].unitFactor, scaled);
      } else {
        ReadColumn(source, columns[k], first, count, values);
        unstored[k] += toCount[k].ToCounts(values, scaled);
      }
      if (channels == 1) continue;
      for (std::size_t i = 0; i < columnCounts.size(); ++i) {
        counts[i * channels + k] = columnCounts[i];
      }
    }
  }
}

// The kept rules above change values: the user hears where and how much.
void TellWhatChanged(Workbench& bench, const std::vector<SignalColumn>& columns,
                     const std::vector<std::vector<std::int64_t>>& unstored, std::int64_t points) {
  for (std::size_t k = 0; k < columns.size(); ++k) {
    const std::string where =
        PathText(bench.SelectedFilePath) + ": channel " + std::to_string(k + 1) + ": ";
    if (columns[k].unitFactor == 0.0) {
      bench.Prompt().Notice(where + "its title names no unit, (A) or (V), nor does an earlier "
                                    "column's, so its values are stored as 0");
      continue;
    }
    std::int64_t lost = 0;
    for (const auto& run : unstored) lost += run[k];
    if (lost == 0) continue;
    bench.Prompt().Notice(where + std::to_string(lost) + " of " + std::to_string(points) +
                          " samples lie past full scale and are stored as 0: the range is taken "
                          "from the smaller extreme, +-" +
                          FormatSingle(static_cast<float>(columns[k].range)) + " " +
                          columns[k].unit + " at half scale");
  }
}

}  // namespace

void ConvertAxGr(Workbench& bench) {
  SourceFile source(bench.SelectedFilePath);
  const FileHeader file = ReadFileHeader(source);
  if (file.version != 1) {
    bench.Prompt().ShowMessage(kApplicationTitle, kVersionMessage);
    return;
  }
  bench.Prompt().SetBusy(true);

  if (file.columns < 2) throw ConvoraError("the file holds no signal column after its time column");
  if (file.points < 1) throw ConvoraError("the file's columns hold no points");
  const int channels = file.columns - 1;
  const std::int64_t points = file.points;
  const std::int64_t columnBytes = kColumnHeadBytes + kValueBytes * points;
  const std::int64_t claimed = kColumnsAt + file.columns * columnBytes;
  if (source.Length() < claimed) {
    throw ConvoraError("the file is " + std::to_string(source.Length()) + " bytes long, but " +
                       std::to_string(file.columns) + " columns of " + std::to_string(points) +
                       " points need " + std::to_string(claimed));
  }
  const std::int64_t samples = channels * points;
  if (samples > std::numeric_limits<std::int32_t>::max()) {
    throw ConvoraError("the file holds more samples than an ABF 1.x file can count (lActualAcqLength)");
  }

  // The interval between samples of the interleaved stream: the file's time
  // step shared among the signal channels. A difference beyond the float
  // range leaves it 0.
  float interval = 0.0f;
  if (auto step = NarrowToSingle(static_cast<double>(file.secondTime) - file.firstTime)) {
    interval = *step / static_cast<float>(channels);
  }

  // Channels past the header's 16 entries get no fields and keep 0 samples, so
  // their columns are not read at all.
  const int described = std::min(channels, kHeaderChannels);
  std::vector<SignalColumn> columns;
  double unitFactor = 0.0;
  for (int k = 0; k < described; ++k) {
    columns.push_back(ScanColumn(source, kColumnsAt + (k + 1) * columnBytes, points, unitFactor));
  }

  AbfHeader h = StampedTemplate(bench);
  for (int k = 0; k < described; ++k) {
    // Without a scale factor the channel keeps the one the record held, and
    // its samples are scaled with that.
    SetChannelFields(h, static_cast<std::size_t>(k), columns[k].unit, columns[k].scaleFactor);
  }
  h.Set(abf::fADCRange, 10.24f);
  h.Set(abf::lADCResolution, 32768);
  h.Set(abf::lActualAcqLength, static_cast<std::int32_t>(samples));
  if (auto microseconds = NarrowToSingle(static_cast<double>(interval) * 1'000'000.0)) {
    h.Set(abf::fADCSampleInterval, *microseconds);
  }
  if (auto seconds = SecondsPerRunOf(h)) h.Set(abf::fSecondsPerRun, *seconds);
  h.Set(abf::nADCNumChannels, static_cast<std::int16_t>(channels));

  std::vector<CountScaler> toCount;
  for (int k = 0; k < described; ++k) toCount.emplace_back(h, static_cast<std::size_t>(k));

  // Samples per run and column that did not fit: each run counts its own.
  std::vector<std::vector<std::int64_t>> unstored;
  WriteAbfOutput(bench, h, [&](DataSectionWriter& out) {
    // Runs of frames, one to a core, each reading through a stream of its own.
    const std::vector<Stretch> frameRuns = ValueRunsFor(points, kValueBytes * described);
    std::vector<Stretch> sampleRuns;
    for (const Stretch& run : frameRuns) sampleRuns.push_back({run.from * channels, run.to * channels});
    unstored.assign(frameRuns.size(), std::vector<std::int64_t>(columns.size(), 0));
    RunBatches batches(out, sampleRuns);
    RunParts(frameRuns.size(), [&](std::size_t k) {
      SourceFile own = source.Reopened();
      WriteFrames(own, columns, toCount, channels, frameRuns[k], batches[k], unstored[k]);
    });
    batches.Finish();
  });
  TellWhatChanged(bench, columns, unstored, points);
}

const FormatDescriptor kAxographFormat{
    "Axograph file v1",
    [](const RecognitionInput& in) { return in.ProbeStartsWith("AxGr"); },
    ConvertAxGr};

}  // namespace convora
