#include "formats/Spike2.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "abf/AbfSummary.h"
#include "abf/ConvoraError.h"
#include "abf/PathText.h"
#include "formats/RecordingOutput.h"
#include "formats/SourceValues.h"

// A Spike2 data file (CED's SON filing system): a 512-byte file header, a
// table of 140-byte channel headers from byte 512, then data blocks. Each
// channel's blocks form a chain from its first block; a block has a 20-byte
// header (previous and next block, first and last time in clock ticks, the
// channel, the item count) and its items. Waveform channels hold int16
// samples (kind 1; value = count x scale / 6553.6 + offset) or floats (kind
// 9); the other kinds hold events and markers. Revision 9 counts block
// positions in 512-byte units. Where sampling was paused, the next block
// starts later than the last one ended; the output keeps that time, as zeros.

namespace convora {
namespace {

constexpr std::int64_t kChannelTableAt = 512;
constexpr std::int64_t kChannelHeaderBytes = 140;
constexpr std::int64_t kBlockHeaderBytes = 20;

struct Block {
  std::int64_t dataAt;
  std::int64_t firstSample;  // on the channel's grid, from its first block
  std::int64_t items;
};

struct Wave {
  std::size_t channel;  // in the file's table, from 0
  std::string title;
  std::string unit;
  StoredType type;
  double scale;
  double offset;
  std::int64_t intervalTicks;
  std::int64_t firstTick = 0;
  std::int64_t samples = 0;  // up to the end of the last block, pauses included
  bool rounded = false;      // a block after a pause starts between two grid points
  std::vector<Block> blocks;
};

// Follows a channel's chain of blocks and places each on the channel's grid.
// A pause in sampling leaves a stretch between two blocks; it is kept, so
// that every later sample stays at its time.
void IndexBlocks(SourceFile& source, Wave& wave, std::int64_t first, std::int64_t count,
                 std::int64_t unit) {
  const auto itemBytes = static_cast<std::int64_t>(BytesOf(wave.type));
  const std::string channel = "channel " + std::to_string(wave.channel + 1);
  std::int64_t at = first;
  // A chain that loops back on itself ends where the file could hold no more
  // distinct blocks.
  count = std::min(count, source.Length() / kBlockHeaderBytes);
  for (std::int64_t k = 0; k < count && at != -1; ++k) {
    const std::int64_t offset = at * unit;
    RequireInFile(source, offset, kBlockHeaderBytes, "a data block of " + channel);
    const auto bytes = ReadBytes(source, offset, kBlockHeaderBytes);
    const FieldReader block(bytes, ByteOrder::LittleEndian);
    const std::int64_t start = block.Int32(8, "block start time");
    const std::int64_t items = block.UInt16(18, "block item count");
    const std::uint16_t stored = block.UInt16(16, "block channel");
    const std::int64_t owner = (stored & 0xFF) + ((stored & 0x200) >> 1) - 1;
    if (owner != static_cast<std::int64_t>(wave.channel)) {
      throw ConvoraError("a data block in " + channel + "'s chain belongs to channel " +
                         std::to_string(owner + 1));
    }
    RequireInFile(source, offset + kBlockHeaderBytes, items * itemBytes,
                  "the items of a data block of " + channel);
    at = block.Int32(4, "next block");
    if (k == 0) wave.firstTick = start;
    const std::int64_t since = start - wave.firstTick;
    const std::int64_t place = (since + wave.intervalTicks / 2) / wave.intervalTicks;
    if (since < 0 || place < wave.samples) {
      throw ConvoraError("the data blocks of " + channel + " overlap in time or run backwards");
    }
    wave.rounded = wave.rounded || place * wave.intervalTicks != since;
    if (items == 0) continue;
    wave.blocks.push_back({offset + kBlockHeaderBytes, place, items});
    wave.samples = place + items;
  }
}

// A stretch of the output with no samples, in scans from its start.
struct Pause {
  std::int64_t from;
  std::int64_t length;
  auto operator<=>(const Pause&) const = default;
};

// Reads the kept waves from a common first tick, one scan per interval;
// where a wave paused, its stored value of zero.
class WaveScans : public ScanReader {
 public:
  WaveScans(SourceFile& source, std::vector<Wave> waves, std::vector<std::int64_t> skip)
      : source_(&source), waves_(std::move(waves)), skip_(std::move(skip)) {}

  std::unique_ptr<ScanReader> ForAnotherThread() const override {
    return CopyReading(*this, &WaveScans::source_);
  }

  void ReadScans(std::int64_t, std::int64_t first, std::span<double> out) override {
    ReadColumns(first, out, values_);
  }

  bool ReadsCounts() const override {
    return std::all_of(waves_.begin(), waves_.end(),
                       [](const Wave& w) { return w.type == StoredType::kInt16; });
  }
  void ReadCounts(std::int64_t, std::int64_t first, std::span<std::int16_t> out) override {
    ReadColumns(first, out, counts_);
  }

  // The pauses of every wave within the first `scans` scans, in output scans.
  std::vector<Pause> Pauses(std::int64_t scans) const {
    std::vector<Pause> pauses;
    for (std::size_t c = 0; c < waves_.size(); ++c) {
      const auto& blocks = waves_[c].blocks;
      for (std::size_t k = 1; k < blocks.size(); ++k) {
        const std::int64_t from = blocks[k - 1].firstSample + blocks[k - 1].items - skip_[c];
        const std::int64_t to = std::min(blocks[k].firstSample - skip_[c], scans);
        if (to > std::max<std::int64_t>(from, 0))
          pauses.push_back({std::max<std::int64_t>(from, 0), to - std::max<std::int64_t>(from, 0)});
      }
    }
    std::sort(pauses.begin(), pauses.end());
    pauses.erase(std::unique(pauses.begin(), pauses.end()), pauses.end());
    return pauses;
  }

 private:
  SourceFile* source_;
  std::vector<Wave> waves_;
  std::vector<std::int64_t> skip_;  // samples of each wave before the common first tick
  std::vector<double> values_;
  std::vector<std::int16_t> counts_;

  // Each wave's stretch into a column of its own (`out` itself for a lone
  // wave), then the columns woven into scans.
  template <typename Value>
  void ReadColumns(std::int64_t first, std::span<Value> out, std::vector<Value>& columns) {
    const std::size_t width = waves_.size();
    const std::size_t scans = out.size() / width;
    if (width == 1) return ReadWave(0, first, out);
    columns.resize(out.size());
    for (std::size_t c = 0; c < width; ++c) {
      ReadWave(c, first, std::span<Value>(columns).subspan(c * scans, scans));
    }
    WeaveColumns(std::span<const Value>(columns), width, out);
  }

  // Wave c's values from scan `first` on, a block at a time; where the wave
  // paused, its stored value of zero.
  template <typename Value>
  void ReadWave(std::size_t c, std::int64_t first, std::span<Value> column) {
    const Wave& wave = waves_[c];
    // Counts are read only where no offset is folded in, so their zero is 0.
    const Value zero = std::is_same_v<Value, double> ? -wave.offset / wave.scale : 0;
    const auto scans = static_cast<std::int64_t>(column.size());
    std::int64_t sample = first + skip_[c];
    std::int64_t done = 0;
    // The first block that ends after `sample`.
    auto block = std::upper_bound(
        wave.blocks.begin(), wave.blocks.end(), sample,
        [](std::int64_t s, const Block& b) { return s < b.firstSample + b.items; });
    while (done < scans) {
      const std::int64_t pauseEnd =
          block == wave.blocks.end() ? sample + scans - done : block->firstSample;
      const std::int64_t paused = std::min(scans - done, std::max<std::int64_t>(0, pauseEnd - sample));
      std::fill_n(column.begin() + done, paused, zero);
      done += paused;
      sample += paused;
      if (done == scans) break;
      const std::int64_t within = sample - block->firstSample;
      const std::int64_t take = std::min(scans - done, block->items - within);
      const std::int64_t at = block->dataAt + within * static_cast<std::int64_t>(BytesOf(wave.type));
      const std::span<Value> part =
          column.subspan(static_cast<std::size_t>(done), static_cast<std::size_t>(take));
      if constexpr (std::is_same_v<Value, double>) {
        ReadValues(*source_, at, wave.type, ByteOrder::LittleEndian, BytesOf(wave.type), part);
      } else {
        source_->ReadSamples(at, part);
      }
      done += take;
      sample += take;
      ++block;
    }
  }
};

// "0.5 s from 12 s, ..." for the first few pauses, and how many more.
std::string PauseText(const std::vector<Pause>& pauses, double scanUs) {
  constexpr std::size_t kNamed = 5;
  const auto seconds = [&](std::int64_t scans) {
    return SecondsText(std::llround(static_cast<double>(scans) * scanUs)) + " s";
  };
  std::string text;
  for (std::size_t k = 0; k < std::min(pauses.size(), kNamed); ++k) {
    text += (k == 0 ? "" : ", ") + seconds(pauses[k].length) + " from " + seconds(pauses[k].from);
  }
  if (pauses.size() > kNamed) text += " and " + std::to_string(pauses.size() - kNamed) + " more";
  return text;
}

std::string Names(const std::vector<std::string>& names) {
  std::string text;
  for (const auto& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

}  // namespace

void ConvertSpike2(Workbench& bench) {
  SourceFile source(bench.SelectedFilePath);
  const auto headBytes = ReadBytes(source, 0, 512);
  const FieldReader head(headBytes, ByteOrder::LittleEndian);
  const std::int16_t revision = head.Int16(0, "revision");
  if (revision < 1 || revision > 9) {
    throw ConvoraError("revision " + std::to_string(revision) +
                       " is not one of the 32-bit Spike2 "
                       "files (1 to 9) this conversion reads");
  }
  if (head.UInt16(38, "system format") == 0x0101) {
    throw ConvoraError(
        "the file was written on a Macintosh, whose byte order this conversion "
        "does not read");
  }
  const double tickSeconds =
      head.UInt16(20, "clock (usPerTime)") * (revision >= 6 ? head.Double(44, "time base") : 1e-6);
  const std::int64_t channels = head.Int16(30, "channel count");
  if (channels < 1 || channels > 451) {
    throw ConvoraError("the header counts " + std::to_string(channels) + " channels");
  }
  const std::int64_t unit = revision == 9 ? 512 : 1;
  RequireInFile(source, kChannelTableAt, channels * kChannelHeaderBytes, "the channel table");
  const auto table =
      ReadBytes(source, kChannelTableAt, static_cast<std::size_t>(channels * kChannelHeaderBytes));
  const FieldReader entries(table, ByteOrder::LittleEndian);

  std::vector<Wave> waves;
  std::vector<std::string> others;
  for (std::int64_t c = 0; c < channels; ++c) {
    const auto at = static_cast<std::size_t>(c * kChannelHeaderBytes);
    const std::uint8_t kind = entries.Byte(at + 122, "channel kind");
    std::int64_t blocks = entries.UInt16(at + 14, "block count");
    if (revision == 9) blocks += std::int64_t{entries.UInt16(at + 20, "block count")} << 16;
    const std::string title = entries.CountedText(at + 108, 10, "channel title");
    const std::string label =
        "channel " + std::to_string(c + 1) + (title.empty() ? "" : " (" + title + ")");
    if (kind == 0 || blocks == 0) continue;
    if (kind != 1 && kind != 9) {
      others.push_back(label);
      continue;
    }
    const std::int64_t ticks = revision >= 6 ? entries.Int32(at + 102, "channel divide (lChanDvd)")
                                             : std::int64_t{entries.UInt16(at + 138, "divide")} *
                                                   head.UInt16(22, "ticks per conversion");
    if (ticks <= 0) {
      throw ConvoraError(label + " has no sample interval (" + std::to_string(ticks) + " ticks)");
    }
    Wave wave{static_cast<std::size_t>(c),
              title,
              entries.CountedText(at + 132, 6, "units"),
              kind == 1 ? StoredType::kInt16 : StoredType::kFloat32,
              kind == 1 ? entries.Float(at + 124, "scale") / 6553.6 : 1.0,
              kind == 1 ? entries.Float(at + 128, "offset") : 0.0,
              ticks,
              0,
              0,
              false,
              {}};
    IndexBlocks(source, wave, entries.Int32(at + 6, "first block"), blocks, unit);
    if (wave.samples > 0) waves.push_back(std::move(wave));
  }
  if (waves.empty()) {
    throw ConvoraError(
        "the file holds no waveform channel" +
        (others.empty() ? std::string() : ", only events or markers: " + Names(others)));
  }

  // The channels of the fastest rate, from the latest first tick among them
  // to the earliest end.
  const std::int64_t interval =
      std::min_element(waves.begin(), waves.end(), [](const Wave& a, const Wave& b) {
        return a.intervalTicks < b.intervalTicks;
      })->intervalTicks;
  std::vector<Wave> kept;
  for (Wave& wave : waves) {
    if (wave.intervalTicks == interval) {
      kept.push_back(std::move(wave));
    } else {
      others.push_back("channel " + std::to_string(wave.channel + 1) + " (" + wave.title +
                       ", another rate)");
    }
  }
  std::int64_t start = std::numeric_limits<std::int64_t>::min();
  for (const Wave& wave : kept) start = std::max(start, wave.firstTick);
  std::vector<Wave> aligned;
  std::vector<std::int64_t> skip;
  std::int64_t scans = std::numeric_limits<std::int64_t>::max();
  for (Wave& wave : kept) {
    const std::int64_t lead = start - wave.firstTick;
    if (lead % interval != 0 || lead / interval >= wave.samples) {
      others.push_back("channel " + std::to_string(wave.channel + 1) + " (" + wave.title +
                       ", samples not aligned with the first channel's)");
      continue;
    }
    skip.push_back(lead / interval);
    scans = std::min(scans, wave.samples - lead / interval);
    aligned.push_back(std::move(wave));
  }
  const std::string where = PathText(bench.SelectedFilePath) + ": ";
  if (!others.empty()) bench.Prompt().Notice(where + "not converted: " + Names(others));
  Recording recording;
  for (const Wave& wave : aligned) {
    recording.channels.push_back(
        {wave.title, wave.unit, wave.scale, wave.offset, wave.type == StoredType::kInt16});
  }
  recording.channelIntervalUs = static_cast<double>(interval) * tickSeconds * 1e6;
  recording.scansPerSweep = scans;
  if (revision >= 6) {
    const int year = head.UInt16(58, "year");
    recording.start = LocalDateTime{year,
                                    head.Byte(57, "month"),
                                    head.Byte(56, "day"),
                                    head.Byte(55, "hour"),
                                    head.Byte(54, "minute"),
                                    head.Byte(53, "second")};
  }
  const bool rounded =
      std::any_of(aligned.begin(), aligned.end(), [](const Wave& w) { return w.rounded; });
  WaveScans reader(source, std::move(aligned), std::move(skip));
  if (const auto pauses = reader.Pauses(scans); !pauses.empty()) {
    // Block times are the file's word: a damaged one could otherwise turn a
    // few samples into gigabytes of zeros.
    std::int64_t paused = 0;
    for (const Pause& pause : pauses) paused += pause.length;
    if (paused > 16 * (scans - std::min(paused, scans)) + (std::int64_t{1} << 20)) {
      throw ConvoraError("its pauses in sampling (" +
                         PauseText(pauses, recording.channelIntervalUs) +
                         ") are more than 16 times as long as what was recorded; a file of "
                         "mostly zeros is not written");
    }
    bench.Prompt().Notice(
        where +
        (pauses.size() == 1 ? std::string("a pause") : std::to_string(pauses.size()) + " pauses") +
        " in sampling, filled with zeros so that later samples keep "
        "their times: " +
        PauseText(pauses, recording.channelIntervalUs) +
        (rounded ? " (rounded to whole sample intervals)" : ""));
  }
  WriteRecording(bench, recording, reader);
}

const FormatDescriptor kSpike2Format{
    "CED Spike2 Data File (smr)",
    [](const RecognitionInput& in) { return in.CharsAt(2, 10).starts_with("(C) CED"); },
    ConvertSpike2};

}  // namespace convora
