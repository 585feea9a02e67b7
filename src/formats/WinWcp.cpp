#include "formats/WinWcp.h"

#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "abf/PathText.h"
#include "formats/InterleavedScans.h"
#include "formats/KeyValueHeader.h"
#include "formats/RecordingOutput.h"
#include "formats/SourceValues.h"

// A WinWCP data file: a text header of KEY=value lines in its first NBH
// bytes, then NR records of NBA analysis blocks and NBD data blocks, 512
// bytes each. A record's analysis block holds its status ("ACCEPTED" or
// "REJECTED"), type, group, time, sampling interval and, per channel, the
// voltage range VMax that scales this record; its data are int16 scans of
// NC channels, channel c at position YOc. Value = (count - YZc) x VMaxc /
// (ADCMAX x YGc), YG the volts per unit.

namespace convora {
namespace {

constexpr std::int64_t kBlockBytes = 512;
constexpr std::size_t kStatusAt = 0;
constexpr std::size_t kIntervalAt = 20;
constexpr std::size_t kRangesAt = 24;
constexpr std::int64_t kRangedChannels = 8;  // the analysis block's VMax slots

}  // namespace

void ConvertWinWCP(Workbench& bench) {
  SourceFile source(bench.SelectedFilePath);
  const KeyValueHeader header(source, 1024);
  const std::int64_t channels = header.Count("NC", 1);
  const std::int64_t records = header.Count("NR", 0);
  const std::int64_t analysisBytes = header.Count("NBA", 1) * kBlockBytes;
  const std::int64_t dataBytes = header.Count("NBD", 1) * kBlockBytes;
  const double adcMax = header.Required("ADCMAX");
  if (records == 0) throw ConvoraError("the file holds no records");
  if (channels > kRangedChannels) {
    throw ConvoraError("the header counts " + std::to_string(channels) +
                       " channels; a record's analysis block scales at most 8");
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

  // Each record's interval and ranges; a range that changes between records
  // hands the values on in units, since an ABF channel has one scale.
  std::vector<std::int64_t> starts;
  std::vector<std::vector<float>> ranges;
  double interval = 0.0;
  std::int64_t rejected = 0;
  for (std::int64_t r = 0; r < records; ++r) {
    const std::int64_t at = header.Bytes() + r * recordBytes;
    const auto block =
        ReadBytes(source, at, static_cast<std::size_t>(kRangesAt + 4 * kRangedChannels));
    const FieldReader analysis(block, ByteOrder::LittleEndian);
    rejected += analysis.Text(kStatusAt, 8, "record status") == "REJECTED";
    const double dt = analysis.Float(kIntervalAt, "record sampling interval");
    if (r == 0) interval = dt > 0.0 ? dt : header.Required("DT");
    if (dt > 0.0 && dt != interval) {
      throw ConvoraError("record " + std::to_string(r + 1) + " is sampled at another interval (" +
                         std::to_string(dt) + " s) than the first, which one ABF file cannot hold");
    }
    ranges.emplace_back();
    for (std::int64_t c = 0; c < channels; ++c) {
      ranges.back().push_back(analysis.Float(kRangesAt + 4 * static_cast<std::size_t>(c), "VMax"));
    }
    starts.push_back(at + analysisBytes);
  }
  if (rejected > 0) {
    bench.Prompt().Notice(PathText(bench.SelectedFilePath) + ": " + std::to_string(rejected) +
                          " of " + std::to_string(records) +
                          " records are marked REJECTED; all are converted");
  }

  Recording recording;
  std::vector<std::size_t> position;
  for (std::int64_t c = 0; c < channels; ++c) {
    const std::string n = std::to_string(c);
    bool sameRange = true;
    for (const auto& record : ranges) sameRange = sameRange && record[c] == ranges[0][c];
    if (!sameRange) {
      throw ConvoraError("channel " + n + "'s voltage range VMax changes between records");
    }
    recording.channels.push_back(
        header.Channel(c, ranges[0][c] / (adcMax * header.Required("YG" + n))));
    position.push_back(header.Position(c, channels));
  }
  recording.channelIntervalUs = interval * 1e6;
  recording.sweeps = records;
  recording.scansPerSweep = scans;
  recording.start = header.Time("RTIME") ? header.Time("RTIME") : header.Time("CTIME");
  InterleavedScans reader(source, StoredType::kInt16, ByteOrder::LittleEndian,
                          static_cast<std::size_t>(channels), position, starts);
  WriteRecording(bench, recording, reader);
}

const FormatDescriptor kWinWcpFormat{"Kestrin's WinWCP",
                                     [](const RecognitionInput& in) {
                                       return in.ProbeStartsWith("VER=") &&
                                              in.UpperPath().ends_with(".WCP");
                                     },
                                     ConvertWinWCP};

}  // namespace convora
