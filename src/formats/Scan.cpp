#include "formats/Scan.h"

#include <algorithm>
#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "formats/InterleavedScans.h"
#include "formats/KeyValueHeader.h"
#include "formats/RecordingOutput.h"
#include "formats/SourceValues.h"

// A SCAN recording, from the older single-channel program of the WinWCP
// family. What its public notes give: a 512-byte header of KEY=value fields
// separated by backslashes (DT the sampling interval in ms, AD the
// converter's voltage range, CU the unit, BC the calibration, IZ the zero
// level, NBD the data blocks, NF and NBA), then 12-bit samples from byte 2048.
// Where the notes are silent this reader does not guess, it refuses:
// - the samples are NBD blocks of 512 bytes, int16 little-endian words each
//   holding one signed 12-bit count; a word outside -2048..2047 means the
//   file is laid out otherwise, and is refused (the words are read once more
//   for this check);
// - a file shorter than those blocks is refused (what follows them, the
//   program's own analysis, is not read; nor are NF and NBA, which the
//   samples do not need);
// - BC is taken as volts per unit, as the family's later calibration
//   factors are, so value = (count - IZ) x AD / (2048 x BC) in CU; a header
//   without DT, AD, BC, IZ or NBD is refused rather than given defaults.

namespace convora {
namespace {

constexpr std::int64_t kHeaderBytes = 512;
constexpr std::int64_t kDataAt = 2048;
constexpr std::int64_t kBlockBytes = 512;
constexpr double kFullScale = 2048.0;  // counts of AD volts, 12 bits

// Words checked at a time: a bounded buffer.
constexpr std::int64_t kWordsPerRead = std::int64_t{1} << 16;

// Every stored word must be a 12-bit count, checked before anything is
// written.
void RequireTwelveBitCounts(SourceFile& source, std::int64_t words) {
  std::vector<std::int16_t> counts;
  for (std::int64_t first = 0; first < words; first += kWordsPerRead) {
    counts.resize(static_cast<std::size_t>(std::min(kWordsPerRead, words - first)));
    source.ReadSamples(kDataAt + 2 * first, counts);
    // Checked as a whole first, in a loop laid out for vectors; the first
    // misfit is looked for only when there is one.
    constexpr auto kLimit = static_cast<std::uint16_t>(kFullScale);
    std::uint16_t outside = 0;
    for (const std::int16_t count : counts) {
      outside |= static_cast<std::uint16_t>(static_cast<std::uint16_t>(count) + kLimit) >= 2 * kLimit;
    }
    if (outside == 0) continue;
    for (std::size_t i = 0; i < counts.size(); ++i) {
      if (counts[i] >= -kFullScale && counts[i] < kFullScale) continue;
      throw ConvoraError("sample " + std::to_string(first + static_cast<std::int64_t>(i) + 1) +
                         " holds " + std::to_string(counts[i]) +
                         ", which is not a 12-bit count: the data are not laid out as this "
                         "reader expects");
    }
  }
}

}  // namespace

void ConvertSCAN(Workbench& bench) {
  SourceFile source(bench.SelectedFilePath);
  const KeyValueHeader header(source, kHeaderBytes, "\\\r\n");
  const double intervalMs = header.Required("DT");
  const double range = header.Required("AD");
  const double calibration = header.Required("BC");
  const std::int64_t blocks = header.Count("NBD", 1);
  const double zero = header.Required("IZ");
  if (!(intervalMs > 0.0)) throw ConvoraError("the sampling interval DT is not positive");
  if (!(range > 0.0)) throw ConvoraError("the voltage range AD is not positive");
  if (calibration == 0.0) throw ConvoraError("the calibration BC is zero");
  if (!(zero >= -kFullScale && zero < kFullScale)) {
    throw ConvoraError("the zero level IZ (" + *header.Text("IZ") + ") is not a 12-bit count");
  }
  RequireInFile(source, kDataAt, blocks * kBlockBytes,
                "the " + std::to_string(blocks) + " data blocks of the header (NBD)");

  const double perCount = range / (kFullScale * calibration);
  Recording recording;
  recording.channels.push_back(
      {"", header.Text("CU").value_or(""), perCount, -zero * perCount, true});
  recording.channelIntervalUs = intervalMs * 1e3;
  recording.scansPerSweep = blocks * kBlockBytes / 2;
  RequireTwelveBitCounts(source, recording.scansPerSweep);
  InterleavedScans samples(source, StoredType::kInt16, ByteOrder::LittleEndian, 1, {0}, {kDataAt});
  WriteRecording(bench, recording, samples);
}

const FormatDescriptor kScanFormat{"Kestrin's SCAN",
                                   [](const RecognitionInput& in) {
                                     return in.ProbeStartsWith("DT=") &&
                                            in.UpperPath().ends_with(".SCA");
                                   },
                                   ConvertSCAN};

}  // namespace convora
