#include "formats/RecordingOutput.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string_view>

#include "abf/AbfOutput.h"
#include "abf/AsciiText.h"
#include "abf/ConvoraError.h"
#include "abf/LittleEndian.h"
#include "abf/Numbers.h"
#include "abf/Parallel.h"
#include "abf/PathText.h"
#include "abf/SampleScaling.h"
#include "abf/SweepLayout.h"

namespace convora {
namespace {

constexpr float kAdcRange = 10.0f;
constexpr std::int32_t kAdcResolution = 32768;
// Values read at a time, whatever the channel count: 256 KiB of doubles,
// which stay in a core's own cache from their read to the pass over them.
// Twice as many overflowed it: the extremes pass over values kept in a
// scratch file (PC Igor text) then took three times as long.
constexpr std::size_t kValuesPerRead = std::size_t{1} << 15;

// How one kept channel becomes counts.
struct ChannelStorage {
  std::string name;
  std::string unit;
  double scale;  // unit value of one stored unit, after the unit change
  double offset;
  float scaleFactor;  // fInstrumentScaleFactor
  bool keepsCounts;   // count = stored + shift
  double shift = 0.0;
};

std::string ChannelLabel(const RecordedChannel& channel, std::size_t index) {
  const std::string name = AsciiText(channel.name);
  return name.empty() ? "channel " + std::to_string(index + 1)
                      : "channel " + std::to_string(index + 1) + " (" + name + ")";
}

// Scans read at a time: a bounded buffer, whatever the channel count.
std::int64_t ScansPerRead(const Recording& recording) {
  return std::max<std::int64_t>(1, kValuesPerRead / recording.channels.size());
}

// Calls read(sweep, first, scans) for stretches of at most ScansPerRead
// scans that cover, in order, `share` of the recording's scans counted over
// all its sweeps.
template <typename Read>
void ForEachRead(const Recording& recording, Stretch share, Read read) {
  const std::int64_t perRead = ScansPerRead(recording);
  for (std::int64_t at = share.from; at < share.to;) {
    const std::int64_t sweep = at / recording.scansPerSweep;
    const std::int64_t first = at % recording.scansPerSweep;
    const std::int64_t scans = std::min({perRead, recording.scansPerSweep - first, share.to - at});
    read(sweep, first, scans);
    at += scans;
  }
}

// Visits `share` of the recording in bounded stretches: `visit(values, scans)`
// gets the interleaved values of all the recording's channels.
template <typename Visit>
void ForEachStretch(const Recording& recording, ScanReader& reader, Stretch share, Visit visit) {
  std::vector<double> values;
  ForEachRead(recording, share, [&](std::int64_t sweep, std::int64_t first, std::int64_t scans) {
    // Readers fill every value: what the last stretch left needs no clearing.
    values.resize(static_cast<std::size_t>(scans) * recording.channels.size());
    reader.ReadScans(sweep, first, values);
    visit(std::span<const double>(values), scans);
  });
}

// The recording's scans split into shares that are read at once, each by a
// reader of its own: one share when the reader cannot be copied for another
// thread or the recording is small.
class Shares {
 public:
  Shares(const Recording& recording, ScanReader& reader) {
    // A share of at least 8 MiB of values as doubles, the form they are read in.
    constexpr std::int64_t kSmallestShareBytes = std::int64_t{8} << 20;
    const std::int64_t scans = recording.sweeps * recording.scansPerSweep;
    const std::size_t parts = PartsFor(
        scans * static_cast<std::int64_t>(recording.channels.size() * sizeof(double)),
        kSmallestShareBytes);
    readers_.push_back(&reader);
    while (readers_.size() < parts) {
      copies_.push_back(reader.ForAnotherThread());
      if (!copies_.back()) break;
      readers_.push_back(copies_.back().get());
    }
    stretches_ = SplitEvenly(scans, readers_.size());
  }

  std::size_t Count() const { return readers_.size(); }
  ScanReader& Reader(std::size_t share) const { return *readers_[share]; }
  Stretch Scans(std::size_t share) const { return stretches_[share]; }

 private:
  std::vector<ScanReader*> readers_;
  std::vector<std::unique_ptr<ScanReader>> copies_;
  std::vector<Stretch> stretches_;
};

// Writes each share's counts, made by `write(share, out)`, at once into its
// own stretch of the data section, then moves `out` past them all.
template <typename Write>
void WriteShares(const Shares& shares, std::size_t kept, DataSectionWriter& out, Write write) {
  const auto bytesBefore = [&](std::int64_t scan) {
    return scan * static_cast<std::int64_t>(kept * sizeof(std::int16_t));
  };
  RunParts(shares.Count(), [&](std::size_t share) {
    DataSectionWriter own = out.Skipped(bytesBefore(shares.Scans(share).from));
    write(share, own);
  });
  out.Skip(bytesBefore(shares.Scans(shares.Count() - 1).to));
}

// Writes the stored counts of a recording whose counts all stay as they are:
// sweeps the source holds as the output stores them are copied as bytes.
void WriteStoredCounts(const Recording& recording, const Shares& shares, DataSectionWriter& out) {
  ScanReader& reader = shares.Reader(0);
  if (reader.CopySweep(0, recording.scansPerSweep, out)) {
    for (std::int64_t sweep = 1; sweep < recording.sweeps; ++sweep) {
      reader.CopySweep(sweep, recording.scansPerSweep, out);
    }
    return;
  }
  WriteShares(shares, recording.channels.size(), out, [&](std::size_t share, DataSectionWriter& own) {
    BatchedSamples counts(own);
    ForEachRead(recording, shares.Scans(share),
                [&](std::int64_t sweep, std::int64_t first, std::int64_t scans) {
                  shares.Reader(share).ReadCounts(
                      sweep, first,
                      counts.Next(static_cast<std::size_t>(scans) * recording.channels.size()));
                });
    counts.Finish();
  });
}

ChannelStorage StorageFor(const RecordedChannel& channel, std::size_t index,
                          const std::optional<Extremes>& stored) {
  ChannelStorage storage{
      AsciiText(channel.name), AsciiText(channel.unit), channel.scale, channel.offset, 1.0f, false};
  // Volts and amperes, however the source spells them ("V", " volt", "Volts").
  std::string spelled;
  for (const char c : storage.unit) {
    if (c != ' ') spelled += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  const bool volts = spelled == "v" || spelled == "volt" || spelled == "volts";
  const bool amperes = spelled == "a" || spelled == "amp" || spelled == "amps" ||
                       spelled == "ampere" || spelled == "amperes";
  if (volts || amperes) {
    const UnitConversion& si = volts ? kVoltsAsMillivolts : kAmperesAsPicoamperes;
    storage.unit = si.unit;
    storage.scale *= si.factor;
    storage.offset *= si.factor;
  }
  if (!std::isfinite(storage.scale) || !std::isfinite(storage.offset) || storage.scale == 0.0) {
    throw ConvoraError(ChannelLabel(channel, index) + " has no usable scale (" +
                       std::to_string(channel.scale) + ") or offset (" +
                       std::to_string(channel.offset) + ")");
  }
  const double low = stored ? stored->Minimum() : 0.0;
  const double high = stored ? stored->Maximum() : 0.0;

  if (channel.wholeCounts && storage.scale > 0.0) {
    const double shift = std::nearbyint(storage.offset / storage.scale);
    const bool wholeShift = std::fabs(shift * storage.scale - storage.offset) <=
                            1e-9 * std::max(1.0, std::fabs(storage.offset));
    const auto factor = NarrowToSingle(kAdcRange / (kAdcResolution * storage.scale));
    if (wholeShift && factor && std::isnormal(*factor) && low + shift >= -32768.0 &&
        high + shift <= 32767.0) {
      storage.keepsCounts = true;
      storage.shift = shift;
      storage.scaleFactor = *factor;
      return storage;
    }
  }
  const double a = low * storage.scale + storage.offset;
  const double b = high * storage.scale + storage.offset;
  const double peak = std::max(std::fabs(a), std::fabs(b));
  if (peak > 0.0) {
    // count = value x 32768 x factor / 10: the peak lands at 16384.
    const auto factor = NarrowToSingle(kAdcRange / 2.0 / peak);
    if (!factor || !std::isnormal(*factor)) {
      throw ConvoraError("the values of " + ChannelLabel(channel, index) +
                         " are too large or too small to scale");
    }
    storage.scaleFactor = *factor;
  }
  return storage;
}

// One channel's values of a stretch of `scans` interleaved scans: a view of
// them where they stand alone, else gathered into `column`.
std::span<const double> ChannelValues(std::span<const double> values, std::int64_t scans,
                                      std::size_t channels, std::size_t channel,
                                      std::vector<double>& column) {
  const auto count = static_cast<std::size_t>(scans);
  if (channels == 1) return values.first(count);
  column.resize(count);
  for (std::size_t s = 0; s < count; ++s) column[s] = values[s * channels + channel];
  return column;
}

// Stores `values` as counts into every `stride`-th slot of `room`; false,
// with all stored, when a value lies outside [low, high] (it is taken as low).
bool StoreCounts(const ChannelStorage& storage, std::span<const double> values, double low,
                 double high, std::span<std::int16_t> room, std::size_t stride) {
  // Counts kept are whole numbers shifted by a whole number: multiplying and
  // dividing by 1 and rounding leave each exactly as it is. Scaled values fit
  // 16 bits by the choice of the factor: the peak maps to 16384, and a value
  // outside the extremes is replaced before it is scaled.
  const StoredScaling scaling =
      storage.keepsCounts
          ? StoredScaling{1.0, storage.shift, 1.0, 1.0, 1.0, low, high}
          : StoredScaling{storage.scale, storage.offset, kAdcResolution,
                          static_cast<double>(storage.scaleFactor), kAdcRange, low, high};
  if (stride == 1) return StoreScaled(values, scaling, room.first(values.size()));
  thread_local std::vector<std::int16_t> column;
  column.resize(values.size());
  const bool inside = StoreScaled(values, scaling, column);
  for (std::size_t s = 0; s < column.size(); ++s) room[s * stride] = column[s];
  return inside;
}

void SetHeader(AbfHeader& h, const Recording& recording,
               const std::vector<ChannelStorage>& storage) {
  const std::size_t kept = storage.size();
  const double samples = static_cast<double>(recording.sweeps) *
                         static_cast<double>(recording.scansPerSweep) * static_cast<double>(kept);
  if (samples > std::numeric_limits<std::int32_t>::max()) {
    throw ConvoraError(
        "the recording holds more samples than an ABF 1.x file can count "
        "(lActualAcqLength)");
  }
  const auto interval = NarrowToSingle(recording.channelIntervalUs / static_cast<double>(kept));
  if (!(recording.channelIntervalUs > 0.0) || !interval || !std::isnormal(*interval)) {
    throw ConvoraError("the sample interval (" + std::to_string(recording.channelIntervalUs) +
                       " us) cannot be stored in fADCSampleInterval");
  }
  h.Set(abf::nDataFormat, std::int16_t{0});
  h.Set(abf::lActualAcqLength, static_cast<std::int32_t>(samples));
  h.Set(abf::fADCSampleInterval, *interval);
  h.Set(abf::fADCSecondSampleInterval, 0.0f);
  if (const auto seconds = SecondsPerRunOf(h)) h.Set(abf::fSecondsPerRun, *seconds);
  h.Set(abf::fADCRange, kAdcRange);
  h.Set(abf::lADCResolution, kAdcResolution);
  h.Set(abf::nADCNumChannels, static_cast<std::int16_t>(kept));
  for (std::size_t k = 0; k < abf::nADCSamplingSeq.count; ++k) {
    if (k < kept) {
      SetChannelFields(h, k, storage[k].unit, storage[k].scaleFactor);
      h.Set(abf::sADCChannelName, k, storage[k].name);
    } else {
      h.Set(abf::nADCSamplingSeq, k, std::int16_t{-1});
    }
  }
  // A start the source gives is kept when it is a date and time at all.
  const auto plausible = [](const LocalDateTime& t) {
    return t.year >= 1900 && t.year <= 9999 && t.month >= 1 && t.month <= 12 && t.day >= 1 &&
           t.day <= 31 && t.hour >= 0 && t.hour < 24 && t.minute >= 0 && t.minute < 60 &&
           t.second >= 0 && t.second < 61;
  };
  if (recording.start && plausible(*recording.start)) {
    const LocalDateTime& t = *recording.start;
    h.Set(abf::lFileStartDate, t.year * 10000 + t.month * 100 + t.day);
    h.Set(abf::lFileStartTime, t.hour * 3600 + t.minute * 60 + t.second);
  }
  if (!recording.comment.empty()) h.Set(abf::sFileComment, AsciiText(recording.comment));
}

// The tag section, in the block after everything else: 64 bytes a tag, its
// time in samples (fSynchTimeUnit 0).
class TagSection {
 public:
  TagSection(AbfHeader& h, const std::vector<RecordingTag>& tags, std::int64_t after)
      : tags_(tags), block_((after + ABF_BLOCK_BYTES - 1) / ABF_BLOCK_BYTES) {
    if (block_ > std::numeric_limits<std::int32_t>::max()) {
      throw ConvoraError("the recording is too large for an ABF 1.x tag section (lTagSectionPtr)");
    }
    h.Set(abf::lTagSectionPtr, tags.empty() ? 0 : static_cast<std::int32_t>(block_));
    h.Set(abf::lNumTagEntries, static_cast<std::int32_t>(tags.size()));
    if (!tags.empty()) h.Set(abf::fSynchTimeUnit, 0.0f);
  }

  void WriteAfter(std::int64_t end, DataSectionWriter& out) const {
    if (tags_.empty()) return;
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(block_ * ABF_BLOCK_BYTES - end), 0);
    for (const RecordingTag& tag : tags_) {
      std::uint8_t entry[kTagBytes] = {};
      const auto time =
          std::clamp<std::int64_t>(tag.sample, 0, std::numeric_limits<std::int32_t>::max());
      StoreLittleEndian<std::int32_t>(entry, static_cast<std::int32_t>(time));
      const std::string comment = AsciiText(tag.comment).substr(0, 56);
      std::fill(entry + 4, entry + 60, ' ');
      std::copy(comment.begin(), comment.end(), entry + 4);
      StoreLittleEndian<std::int16_t>(entry + 60, tag.type);
      bytes.insert(bytes.end(), entry, entry + kTagBytes);
    }
    out.WriteBytes(bytes);
  }

 private:
  static constexpr std::size_t kTagBytes = 64;
  const std::vector<RecordingTag>& tags_;
  std::int64_t block_;
};

}  // namespace

void ScanReader::ReadCounts(std::int64_t, std::int64_t, std::span<std::int16_t>) {
  throw std::logic_error("ReadCounts of a reader whose channels are not all counts");
}

bool ScanReader::CopySweep(std::int64_t, std::int64_t, DataSectionWriter&) { return false; }

std::filesystem::path WriteRecording(Workbench& bench, const Recording& recording,
                                     ScanReader& reader, std::string_view ending) {
  const std::size_t channels = recording.channels.size();
  if (channels == 0) throw ConvoraError("the recording holds no analog channel to convert");
  if (recording.sweeps < 1 || recording.scansPerSweep < 1) {
    throw ConvoraError("the recording holds no samples");
  }
  const std::size_t kept = std::min(channels, kMaxAbfChannels);

  // First pass: the extremes of the stored values of every kept channel.
  // Counts with no offset are kept as they are whatever they hold, so a
  // recording of nothing else is read once, without this pass, as is one
  // whose reader knows the extremes.
  std::vector<std::optional<Extremes>> extremes(kept);
  const auto storageOf = [&] {
    std::vector<ChannelStorage> storage;
    for (std::size_t c = 0; c < kept; ++c) {
      storage.push_back(StorageFor(recording.channels[c], c, extremes[c]));
    }
    return storage;
  };
  std::vector<ChannelStorage> storage;
  if (std::all_of(recording.channels.begin(), recording.channels.begin() + kept,
                  [](const RecordedChannel& c) { return c.wholeCounts && c.offset == 0.0; })) {
    storage = storageOf();
  }
  const Shares shares(recording, reader);
  for (std::size_t c = 0; c < kept; ++c) extremes[c] = reader.KnownExtremes(c);
  const bool known =
      std::all_of(extremes.begin(), extremes.end(), [](const auto& e) { return e.has_value(); });
  if (!known) extremes.assign(kept, std::nullopt);  // some at most: the pass finds them all
  if (known) {
    storage = storageOf();
  } else if (storage.empty() || std::any_of(storage.begin(), storage.end(),
                                            [](const ChannelStorage& c) { return !c.keepsCounts; })) {
    // Each share's extremes, joined in order.
    std::vector<std::vector<std::optional<Extremes>>> found(
        shares.Count(), std::vector<std::optional<Extremes>>(kept));
    RunParts(shares.Count(), [&](std::size_t share) {
      std::vector<double> column;
      ForEachStretch(recording, shares.Reader(share), shares.Scans(share),
                     [&](std::span<const double> values, std::int64_t scans) {
                       for (std::size_t c = 0; c < kept; ++c) {
                         const std::span<const double> own =
                             ChannelValues(values, scans, channels, c, column);
                         if (!AllFinite(own)) {
                           throw ConvoraError(ChannelLabel(recording.channels[c], c) +
                                              " holds a value that is not a finite number");
                         }
                         std::optional<Extremes>& extremes = found[share][c];
                         if (!extremes) extremes.emplace(own.front());
                         extremes->Add(own);
                       }
                     });
    });
    for (const auto& share : found) {
      for (std::size_t c = 0; c < kept; ++c) JoinExtremes(extremes[c], share[c]);
    }
    storage = storageOf();
  }

  AbfHeader h = StampedTemplate(bench);
  SetHeader(h, recording, storage);
  const auto perSweep = static_cast<std::int32_t>(recording.scansPerSweep * kept);
  const SweepLayout sweepLayout(h, static_cast<std::int32_t>(recording.sweeps), perSweep);
  if (sweepLayout.Episodic() && recording.episodicMode) {
    h.Set(abf::nOperationMode, *recording.episodicMode);
  }
  const TagSection tags(h, recording.tags, sweepLayout.EndByte());

  if (kept < channels) {
    std::string names;
    for (std::size_t c = kept; c < channels; ++c) {
      names += (c > kept ? ", " : "") + ChannelLabel(recording.channels[c], c);
    }
    bench.Prompt().Notice(PathText(bench.SelectedFilePath) + ": an ABF 1.x file holds " +
                          std::to_string(kMaxAbfChannels) + " channels; left out: " + names);
  }

  // Counts kept unshifted in every channel, and nothing left out: the
  // stored scans are the output's.
  const bool countsAsStored =
      kept == channels && reader.ReadsCounts() &&
      std::all_of(storage.begin(), storage.end(),
                  [](const ChannelStorage& c) { return c.keepsCounts && c.shift == 0.0; });
  const auto output = WriteAbfOutput(
      bench, h,
      [&](DataSectionWriter& out) {
        if (countsAsStored) {
          WriteStoredCounts(recording, shares, out);
        } else {
          WriteShares(shares, kept, out, [&](std::size_t share, DataSectionWriter& own) {
            BatchedSamples counts(own);
            std::vector<double> column;
            ForEachStretch(recording, shares.Reader(share), shares.Scans(share),
                           [&](std::span<const double> values, std::int64_t scans) {
                             const std::span<std::int16_t> room =
                                 counts.Next(static_cast<std::size_t>(scans) * kept);
                             for (std::size_t c = 0; c < kept; ++c) {
                               // A value beyond what the first pass saw (or, read once,
                               // beyond 16 bits): the source changed under us.
                               const double low = extremes[c] ? extremes[c]->Minimum() : -32768.0;
                               const double high = extremes[c] ? extremes[c]->Maximum() : 32767.0;
                               if (!StoreCounts(storage[c],
                                                ChannelValues(values, scans, channels, c, column),
                                                low, high, room.subspan(c), kept)) {
                                 throw SourceChangedError();
                               }
                             }
                           });
            counts.Finish();
          });
        }
        sweepLayout.WriteAfterSamples(out);
        tags.WriteAfter(sweepLayout.EndByte(), out);
      },
      ending);
  // The sweep layout belongs to this output: a later conversion of the run
  // that sets no sweeps of its own must not point into a synch array its file
  // does not have.
  MarkGapFree(bench.TemplateHeader);
  return output;
}

}  // namespace convora
