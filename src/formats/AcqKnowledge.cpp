#include "formats/AcqKnowledge.h"

#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "formats/RecordingOutput.h"
#include "formats/SourceValues.h"

// An AcqKnowledge 3.x graph file (the maker's Application Note 156): a graph
// header (its length at byte 6, the channel count at 10, the milliseconds
// per sample at 16), one header per channel (its own length first; name at
// 6, units at 68, sample count at 88, amplitude scale and offset at 92 and
// 100), a foreign-data section that starts with its length, one type header
// per channel (size, then 1 for double or 2 for int16), then the samples,
// interleaved channel by channel. An int16 sample's value is raw x scale +
// offset; a double is its value. These versions sample every channel at the
// graph's rate.

namespace convora {
namespace {

constexpr std::size_t kGraphHeaderBytes = 24;
constexpr std::int64_t kChannelHeaderBytes = 108;  // as far as the fields used here

struct AcqChannel {
  RecordedChannel described;
  StoredType type;
  std::size_t offsetInScan;
  std::int64_t samples;
};

struct AcqFile {
  ByteOrder order;
  double intervalUs;
  std::vector<AcqChannel> channels;
  std::size_t scanBytes = 0;
  std::int64_t dataAt;
  std::int64_t scans;
};

AcqFile ReadAcq(SourceFile& source, ByteOrder order) {
  const auto graphBytes = ReadBytes(source, 0, kGraphHeaderBytes);
  const FieldReader graph(graphBytes, order);
  AcqFile file{order, graph.Double(16, "sample time (dSampleTime)") * 1000.0, {}, 0, 0, 0};
  std::int64_t at = graph.Int32(6, "graph header length");
  const std::int64_t channels = graph.Int16(10, "channel count");
  if (channels < 1 || channels > 256) {
    throw ConvoraError("the graph header counts " + std::to_string(channels) + " channels");
  }
  for (std::int64_t c = 0; c < channels; ++c) {
    RequireInFile(source, at, kChannelHeaderBytes,
                  "the header of channel " + std::to_string(c + 1));
    const auto bytes = ReadBytes(source, at, kChannelHeaderBytes);
    const FieldReader header(bytes, order);
    const std::int64_t length = header.Int32(0, "channel header length");
    if (length < kChannelHeaderBytes) {
      throw ConvoraError("channel " + std::to_string(c + 1) + "'s header length (" +
                         std::to_string(length) + ") is shorter than its fields");
    }
    file.channels.push_back(
        {{header.Text(6, 40, "channel name"), header.Text(68, 20, "units"),
          header.Double(92, "amplitude scale"), header.Double(100, "amplitude offset")},
         StoredType::kInt16,
         0,
         header.Int32(88, "sample count")});
    at += length;
  }
  // The foreign-data section gives its own length, its first field.
  RequireInFile(source, at, 2, "the foreign-data section");
  const auto foreign = ReadBytes(source, at, 2);
  const std::int64_t foreignLength = FieldReader(foreign, order).Int16(0, "foreign data length");
  if (foreignLength < 2)
    throw ConvoraError("the foreign-data length is " + std::to_string(foreignLength));
  at += foreignLength;

  RequireInFile(source, at, channels * 4, "the channels' type headers");
  const auto types = ReadBytes(source, at, static_cast<std::size_t>(channels) * 4);
  const FieldReader typeFields(types, order);
  for (std::size_t c = 0; c < file.channels.size(); ++c) {
    AcqChannel& channel = file.channels[c];
    const std::int16_t size = typeFields.Int16(4 * c, "sample size");
    const std::int16_t type = typeFields.Int16(4 * c + 2, "sample type");
    if (type == 1 && size == 8) {
      channel.type = StoredType::kFloat64;
      channel.described.scale = 1.0;
      channel.described.offset = 0.0;
    } else if (type == 2 && size == 2) {
      channel.described.wholeCounts = true;
    } else {
      throw ConvoraError("channel " + std::to_string(c + 1) + " has samples of type " +
                         std::to_string(type) + " and size " + std::to_string(size) +
                         ", neither int16 nor double");
    }
    channel.offsetInScan = file.scanBytes;
    file.scanBytes += static_cast<std::size_t>(size);
    if (channel.samples != file.channels.front().samples) {
      throw ConvoraError(
          "the channels hold different numbers of samples, which a file sampling "
          "them all at one rate cannot");
    }
  }
  file.dataAt = at + channels * 4;
  file.scans = file.channels.front().samples;
  if (file.scans < 1) throw ConvoraError("the channels hold no samples");
  RequireInFile(source, file.dataAt, file.scans * static_cast<std::int64_t>(file.scanBytes),
                "the samples the channel headers count");
  return file;
}

// Scans whose channels may differ in type: each at its own place in the scan.
class MixedScans : public ScanReader {
 public:
  MixedScans(SourceFile& source, const AcqFile& file) : source_(source), file_(file) {}
  void ReadScans(std::int64_t, std::int64_t first, std::span<double> out) override {
    const std::size_t channels = file_.channels.size();
    const std::size_t scans = out.size() / channels;
    bytes_.resize(scans * file_.scanBytes);
    source_.ReadPadded(file_.dataAt + first * static_cast<std::int64_t>(file_.scanBytes), bytes_);
    column_.resize(scans);
    for (std::size_t c = 0; c < channels; ++c) {
      const AcqChannel& channel = file_.channels[c];
      DecodeValues(std::span(bytes_).subspan(channel.offsetInScan), channel.type, file_.order,
                   file_.scanBytes, column_);
      for (std::size_t s = 0; s < scans; ++s) out[s * channels + c] = column_[s];
    }
  }

 private:
  SourceFile& source_;
  const AcqFile& file_;
  std::vector<std::uint8_t> bytes_;
  std::vector<double> column_;
};

void ConvertAcq(Workbench& bench, ByteOrder order) {
  SourceFile source(bench.SelectedFilePath);
  const AcqFile file = ReadAcq(source, order);
  Recording recording;
  for (const AcqChannel& channel : file.channels) recording.channels.push_back(channel.described);
  recording.channelIntervalUs = file.intervalUs;
  recording.scansPerSweep = file.scans;
  MixedScans reader(source, file);
  WriteRecording(bench, recording, reader);
}

}  // namespace

void ConvertAcqKnowledgeMac(Workbench& bench) { ConvertAcq(bench, ByteOrder::BigEndian); }
void ConvertAcqKnowledgePC(Workbench& bench) { ConvertAcq(bench, ByteOrder::LittleEndian); }

const FormatDescriptor kAcqKnowledgeMacFormat{"AcqKnowledge III file (Macintosh)",
                                              [](const RecognitionInput& in) {
                                                return in.LittleEndianAt<std::int16_t>(0) == 0 &&
                                                       in.LittleEndianAt<std::int32_t>(2) ==
                                                           0x23000000;  // bytes 00 00 00 23
                                              },
                                              ConvertAcqKnowledgeMac};

const FormatDescriptor kAcqKnowledgePcFormat{"AcqKnowledge III file (PC)",
                                             [](const RecognitionInput& in) {
                                               return in.LittleEndianAt<std::int16_t>(0) == 0 &&
                                                      in.LittleEndianAt<std::int32_t>(2) == 36;
                                             },
                                             ConvertAcqKnowledgePC};

}  // namespace convora
