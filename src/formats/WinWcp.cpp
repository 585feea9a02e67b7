#include "formats/WinWcp.h"

#include <algorithm>
#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "abf/PathText.h"
#include "formats/InterleavedScans.h"
#include "formats/KeyValueHeader.h"
#include "formats/RecordingOutput.h"
#include "formats/SourceValues.h"
#include "formats/SweepScales.h"

// A WinWCP data file: a text header of KEY=value lines in its first NBH
// bytes, then NR records of NBA analysis blocks and NBD data blocks, 512
// bytes each. A record's analysis block starts with its status ("ACCEPTED"
// or "REJECTED"), type, group, time and sampling interval, then holds one
// voltage range VMax per channel (the program's notes allow up to 128
// channels, as far as NBA blocks reach); its data are int16 scans of NC
// channels, channel c at position YOc. Value = (count - YZc) x VMaxc /
// (ADCMAX x YGc), YG the volts per unit.

namespace convora {
namespace {

constexpr std::int64_t kBlockBytes = 512;
constexpr std::size_t kStatusAt = 0;
constexpr std::size_t kIntervalAt = 20;
constexpr std::size_t kRangesAt = 24;
constexpr std::int64_t kMostChannels = 128;
// Rejected records named in the notice; the rest are counted.
constexpr std::size_t kNamedRecords = 10;

// What the notice says of the records marked REJECTED: "records 3, 7 are".
std::string RejectedRecords(const std::vector<std::int64_t>& named, std::int64_t count) {
  std::string text = count == 1 ? "record " : "records ";
  for (std::size_t i = 0; i < named.size(); ++i) {
    text += (i > 0 ? ", " : "") + std::to_string(named[i]);
  }
  if (count > static_cast<std::int64_t>(named.size())) {
    text += " and " + std::to_string(count - static_cast<std::int64_t>(named.size())) + " more";
  }
  return text + (count == 1 ? " is" : " are");
}

}  // namespace

void ConvertWinWCP(Workbench& bench) {
  SourceFile source(bench.SelectedFilePath);
  // Without NBH the header takes 1024 bytes per 8 channels, as the program's
  // notes give its size.
  const KeyValueHeader header = [&] {
    KeyValueHeader first(source, 1024);
    if (first.Number("NBH") || !first.Number("NC")) return first;
    const std::int64_t channels = first.Count("NC", 1);
    if (channels > kMostChannels) {
      throw ConvoraError("the header counts " + std::to_string(channels) +
                         " channels, more than a WinWCP file holds (" +
                         std::to_string(kMostChannels) + ")");
    }
    return channels <= 8 ? first : KeyValueHeader(source, ((channels - 1) / 8 + 1) * 1024);
  }();
  // WinCDR writes "VER=6" too, and its row takes the file as well: a header
  // without records is its continuous recording, not garbage records.
  if (!header.Text("NR")) {
    throw ConvoraError(
        "the header has no record count (NR), so the file holds no WinWCP records" +
        std::string(header.Text("VER").value_or("").starts_with("6")
                        ? "; with VER=6 it is a continuous WinCDR recording, which the WinCDR "
                          "conversion of this file reads"
                        : ""));
  }
  const std::int64_t channels = header.Count("NC", 1);
  const std::int64_t records = header.Count("NR", 0);
  const std::int64_t analysisBytes = header.Count("NBA", 1) * kBlockBytes;
  const std::int64_t dataBytes = header.Count("NBD", 1) * kBlockBytes;
  const double adcMax = header.Required("ADCMAX");
  if (records == 0) throw ConvoraError("the file holds no records");
  const auto rangesEnd = static_cast<std::int64_t>(kRangesAt) + 4 * channels;
  if (rangesEnd > analysisBytes) {
    throw ConvoraError("the voltage ranges (VMax) of the header's " + std::to_string(channels) +
                       " channels do not fit a record's " + std::to_string(analysisBytes) +
                       "-byte analysis block (NBA)");
  }
  const std::int64_t recordBytes = analysisBytes + dataBytes;
  RequireInFile(source, header.Bytes(), records * recordBytes,
                "the " + std::to_string(records) + " records of the header (NR)");
  // NP samples per channel; without it, as many as the data blocks hold.
  const std::int64_t scans = header.Number("NP") ? header.Count("NP", 1) : dataBytes / 2 / channels;
  if (scans < 1 || scans * channels * 2 > dataBytes) {
    throw ConvoraError("the records' " + std::to_string(scans) +
                       " samples per channel (NP) do "
                       "not fit their data blocks (NBD)");
  }
  const auto analysisOf = [&](std::int64_t at) {
    return ReadBytes(source, at, static_cast<std::size_t>(rangesEnd));
  };
  const auto rangeOf = [](const FieldReader& analysis, std::int64_t c) {
    return analysis.Float(kRangesAt + 4 * static_cast<std::size_t>(c), "VMax");
  };

  // The records kept, their interval, and which channels' ranges change
  // from record to record (compared with the first record kept).
  std::vector<std::int64_t> starts;
  std::vector<float> firstRanges;
  std::vector<bool> changes(static_cast<std::size_t>(channels), false);
  std::vector<std::int64_t> rejected;
  std::int64_t rejectedCount = 0;
  double interval = 0.0;
  for (std::int64_t r = 0; r < records; ++r) {
    const std::int64_t at = header.Bytes() + r * recordBytes;
    const auto block = analysisOf(at);
    const FieldReader analysis(block, ByteOrder::LittleEndian);
    if (analysis.Text(kStatusAt, 8, "record status") == "REJECTED") {
      if (rejected.size() < kNamedRecords) rejected.push_back(r + 1);
      ++rejectedCount;
      if (bench.SkipRejected) continue;
    }
    const double dt = analysis.Float(kIntervalAt, "record sampling interval");
    if (starts.empty()) interval = dt > 0.0 ? dt : header.Required("DT");
    if (dt > 0.0 && dt != interval) {
      throw ConvoraError("record " + std::to_string(r + 1) + " is sampled at another interval (" +
                         std::to_string(dt) + " s) than the first, which one ABF file cannot hold");
    }
    for (std::int64_t c = 0; c < channels; ++c) {
      if (starts.empty()) firstRanges.push_back(rangeOf(analysis, c));
      changes[c] = changes[c] || rangeOf(analysis, c) != firstRanges[c];
    }
    starts.push_back(at + analysisBytes);
  }
  if (rejectedCount > 0) {
    bench.Prompt().Notice(PathText(bench.SelectedFilePath) + ": " +
                          RejectedRecords(rejected, rejectedCount) + " marked REJECTED" +
                          (bench.SkipRejected ? " and left out"
                                              : "; all are converted (--skip-rejected, or \"Leave "
                                                "out rejected records\" in the window, leaves "
                                                "them out)"));
  }
  if (starts.empty()) throw ConvoraError("every record is marked REJECTED and left out");

  // A channel whose range changes is handed on in its unit, rescaled per
  // record, since an ABF channel has one scale; the others keep their counts.
  Recording recording;
  std::vector<std::size_t> position;
  std::vector<double> perVolt;  // 1 / (ADCMAX x YG): a count's value per volt of VMax
  for (std::int64_t c = 0; c < channels; ++c) {
    perVolt.push_back(1.0 / (adcMax * header.Required("YG" + std::to_string(c))));
    RecordedChannel channel = header.Channel(c, firstRanges[c] * perVolt.back());
    if (changes[c]) channel = {channel.name, channel.unit, 1.0, 0.0, false};
    recording.channels.push_back(channel);
    position.push_back(header.Position(c, channels));
  }
  recording.channelIntervalUs = interval * 1e6;
  recording.sweeps = static_cast<std::int64_t>(starts.size());
  recording.scansPerSweep = scans;
  recording.start = header.Time("RTIME") ? header.Time("RTIME") : header.Time("CTIME");
  InterleavedScans stored(source, StoredType::kInt16, ByteOrder::LittleEndian,
                          static_cast<std::size_t>(channels), position, starts);
  if (std::none_of(changes.begin(), changes.end(), [](bool c) { return c; })) {
    WriteRecording(bench, recording, stored);
    return;
  }
  SweepScales scaled(stored, static_cast<std::size_t>(channels),
                     [&](std::int64_t sweep, std::span<double> scale, std::span<double> offset) {
                       const auto block = analysisOf(starts[sweep] - analysisBytes);
                       const FieldReader analysis(block, ByteOrder::LittleEndian);
                       for (std::int64_t c = 0; c < channels; ++c) {
                         scale[c] = changes[c] ? rangeOf(analysis, c) * perVolt[c] : 1.0;
                         const double zero = header.Number("YZ" + std::to_string(c)).value_or(0);
                         offset[c] = changes[c] ? -zero * scale[c] : 0.0;
                       }
                     });
  WriteRecording(bench, recording, scaled);
}

const FormatDescriptor kWinWcpFormat{"Kestrin's WinWCP",
                                     [](const RecognitionInput& in) {
                                       return in.ProbeStartsWith("VER=") &&
                                              in.UpperPath().ends_with(".WCP");
                                     },
                                     ConvertWinWCP};

}  // namespace convora
