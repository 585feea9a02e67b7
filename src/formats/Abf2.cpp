#include "formats/Abf2.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "formats/InterleavedScans.h"
#include "formats/RecordingOutput.h"
#include "formats/SourceValues.h"

// An ABF 2 file: a 512-byte header whose section map says where each
// section lies (a block index of 512 bytes, the size of an entry and the
// number of entries). The protocol section holds the acquisition settings,
// the ADC section one entry per channel, the strings section the channel
// names and units, the data section the samples (int16 or float32,
// interleaved channel by channel), and the tag section comments at times.

namespace convora {
namespace {

constexpr std::int64_t kBlock = 512;

// Offsets in the file header of the sections this conversion reads.
constexpr std::size_t kProtocolSection = 76;
constexpr std::size_t kAdcSection = 92;
constexpr std::size_t kStringsSection = 220;
constexpr std::size_t kDataSection = 236;
constexpr std::size_t kTagSection = 252;
constexpr std::size_t kSynchArraySection = 316;

// The strings section: a 44-byte head ("SSCH", counts), then texts that end
// in a zero byte; an index n names the n-th of them.
constexpr std::size_t kStringsStart = 44;

constexpr std::size_t kTagBytes = 64;

struct Section {
  std::int64_t offset;
  std::int64_t entryBytes;
  std::int64_t entries;
};

struct Channel {
  std::string name;
  std::string unit;
  double scale;  // value = count x scale + offset
  double offset;
};

struct Abf2File {
  float version;
  std::int16_t operationMode;
  bool floats;
  double intervalUs;  // between samples of one channel
  std::vector<Channel> channels;
  std::int64_t sweeps;
  std::int64_t scansPerSweep;
  std::int64_t dataOffset;
  std::uint32_t startDate;  // YYYYMMDD
  std::uint32_t startMilliseconds;
  std::vector<RecordingTag> tags;
};

Section SectionAt(const FieldReader& head, std::size_t at, const char* name) {
  const std::string field = std::string(name) + " section";
  Section section{std::int64_t{head.UInt32(at, field)} * kBlock, head.UInt32(at + 4, field),
                  head.Int64(at + 8, field)};
  if (section.entries < 0 || section.entries > (std::int64_t{1} << 40)) {
    throw ConvoraError("the " + field + " claims " + std::to_string(section.entries) + " entries");
  }
  return section;
}

std::vector<std::uint8_t> ReadSection(SourceFile& source, const Section& section,
                                      std::int64_t minimumEntryBytes, const char* name) {
  if (section.entries > 0 && section.entryBytes < minimumEntryBytes) {
    throw ConvoraError(std::string("the ") + name + " section's entries are too short (" +
                       std::to_string(section.entryBytes) + " bytes)");
  }
  const std::int64_t bytes = section.entryBytes * section.entries;
  if (bytes > (std::int64_t{64} << 20)) {
    throw ConvoraError(std::string("the ") + name + " section is implausibly large");
  }
  RequireInFile(source, section.offset, bytes, std::string("the ") + name + " section");
  return ReadBytes(source, section.offset, static_cast<std::size_t>(bytes));
}

std::vector<std::string> StringsOf(SourceFile& source, const Section& section) {
  if (section.entries <= 0) return {};
  const auto bytes = ReadSection(source, {section.offset, section.entryBytes, 1}, 0, "strings");
  std::vector<std::string> texts;
  if (bytes.size() < kStringsStart) return texts;
  std::string text;
  for (std::size_t i = kStringsStart; i < bytes.size(); ++i) {
    if (bytes[i] == 0) {
      texts.push_back(text);
      text.clear();
    } else {
      text += static_cast<char>(bytes[i]);
    }
  }
  return texts;
}

std::string StringAt(const std::vector<std::string>& strings, std::int32_t index) {
  return index >= 1 && static_cast<std::size_t>(index) <= strings.size() ? strings[index - 1]
                                                                         : std::string();
}

LocalDateTime StartOf(std::uint32_t date, std::uint32_t milliseconds) {
  // Fields past their ranges give a start that the output step leaves out.
  const std::uint32_t seconds = milliseconds / 1000;
  return {static_cast<int>(date / 10000),      static_cast<int>(date / 100 % 100),
          static_cast<int>(date % 100),        static_cast<int>(seconds / 3600),
          static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60)};
}

Abf2File ReadAbf2(SourceFile& source) {
  const auto headBytes = ReadBytes(source, 0, kBlock);
  const FieldReader head(headBytes, ByteOrder::LittleEndian);
  if (head.Text(0, 4, "signature") != "ABF2") throw ConvoraError("not an ABF 2 file");
  Abf2File file{};
  // The version is four bytes, the least significant part first: 2.9.0.0 is 0 0 9 2.
  file.version = static_cast<float>(head.Byte(7, "version")) + head.Byte(6, "version") / 10.0f +
                 head.Byte(5, "version") / 100.0f;
  file.startDate = head.UInt32(16, "start date");
  file.startMilliseconds = head.UInt32(20, "start time");
  const std::int16_t dataFormat = head.Int16(30, "data format");
  if (dataFormat != 0 && dataFormat != 1) {
    throw ConvoraError("the data format (" + std::to_string(dataFormat) +
                       ") is neither int16 nor float32");
  }
  file.floats = dataFormat == 1;

  const auto protocolBytes =
      ReadSection(source, SectionAt(head, kProtocolSection, "protocol"), 126, "protocol");
  if (protocolBytes.empty()) throw ConvoraError("the file has no protocol section");
  const FieldReader protocol(protocolBytes, ByteOrder::LittleEndian);
  file.operationMode = protocol.Int16(0, "operation mode");
  file.intervalUs = protocol.Float(2, "sample interval (fADCSequenceInterval)");
  const std::int32_t samplesPerEpisode = protocol.Int32(22, "samples per episode");
  const double adcRange = protocol.Float(110, "ADC range");
  const double resolution = protocol.Int32(118, "ADC resolution");
  if (protocol.Byte(6, "file compression") != 0) {
    throw ConvoraError("the file is compressed, which this conversion does not read");
  }

  const std::vector<std::string> strings =
      StringsOf(source, SectionAt(head, kStringsSection, "strings"));
  const Section adc = SectionAt(head, kAdcSection, "ADC");
  const auto adcBytes = ReadSection(source, adc, 82, "ADC");
  for (std::int64_t k = 0; k < adc.entries; ++k) {
    const FieldReader entry(
        std::span<const std::uint8_t>(adcBytes).subspan(
            static_cast<std::size_t>(k * adc.entryBytes), static_cast<std::size_t>(adc.entryBytes)),
        ByteOrder::LittleEndian);
    double gain = double{entry.Float(40, "instrument scale factor")} *
                  entry.Float(48, "signal gain") * entry.Float(28, "programmable gain");
    if (entry.Int16(2, "telegraph enable") != 0) gain *= entry.Float(6, "telegraph gain");
    Channel channel{
        StringAt(strings, entry.Int32(74, "channel name index")),
        StringAt(strings, entry.Int32(78, "unit index")), 1.0,
        double{entry.Float(44, "instrument offset")} - entry.Float(52, "signal offset")};
    if (!file.floats) channel.scale = adcRange / (gain * resolution);
    if (file.floats) channel.offset = 0.0;  // float samples are values already
    file.channels.push_back(channel);
  }
  if (file.channels.empty()) throw ConvoraError("the file has no ADC channel");

  const Section data = SectionAt(head, kDataSection, "data");
  const auto channels = static_cast<std::int64_t>(file.channels.size());
  const std::int64_t valueBytes = file.floats ? 4 : 2;
  if (data.entryBytes != valueBytes) {
    throw ConvoraError("the data section's samples are " + std::to_string(data.entryBytes) +
                       " bytes, not " + std::to_string(valueBytes));
  }
  RequireInFile(source, data.offset, data.entries * valueBytes, "the data section");
  file.dataOffset = data.offset;
  const std::int64_t scans = data.entries / channels;
  const std::int64_t episodes = std::max<std::int64_t>(1, head.UInt32(12, "episode count"));
  if (file.operationMode == 3 || episodes == 1) {
    file.sweeps = 1;
    file.scansPerSweep = scans;
  } else if (file.operationMode == 1) {
    throw ConvoraError(
        "the file holds sweeps of varying length (event-driven mode 1), which "
        "this conversion does not read yet");
  } else {
    file.sweeps = episodes;
    file.scansPerSweep = samplesPerEpisode / channels;
    if (samplesPerEpisode % channels != 0 || file.scansPerSweep * episodes > scans) {
      throw ConvoraError("the sweeps (" + std::to_string(episodes) + " of " +
                         std::to_string(samplesPerEpisode) +
                         " samples) do not fit the data section");
    }
  }

  // Tags: the time in ticks of fSynchTimeUnit microseconds, or in samples.
  const Section tag = SectionAt(head, kTagSection, "tag");
  const auto tagBytes = ReadSection(source, tag, kTagBytes, "tag");
  const double synchTimeUnit = protocol.Float(14, "synch time unit");
  for (std::int64_t k = 0; k < tag.entries; ++k) {
    const FieldReader entry(std::span<const std::uint8_t>(tagBytes).subspan(
                                static_cast<std::size_t>(k * tag.entryBytes), kTagBytes),
                            ByteOrder::LittleEndian);
    const double ticks = entry.Int32(0, "tag time");
    const double samples =
        synchTimeUnit > 0.0 ? ticks * synchTimeUnit * channels / file.intervalUs : ticks;
    file.tags.push_back({static_cast<std::int64_t>(std::llround(samples)),
                         entry.Text(4, 56, "tag comment"), entry.Int16(60, "tag type")});
  }
  (void)kSynchArraySection;
  return file;
}

}  // namespace

void ConvertAbf2(Workbench& bench) {
  SourceFile source(bench.SelectedFilePath);
  const Abf2File file = ReadAbf2(source);
  Recording recording;
  for (const Channel& c : file.channels) {
    recording.channels.push_back({c.name, c.unit, c.scale, c.offset, !file.floats});
  }
  recording.channelIntervalUs = file.intervalUs;
  recording.sweeps = file.sweeps;
  recording.scansPerSweep = file.scansPerSweep;
  recording.start = StartOf(file.startDate, file.startMilliseconds);
  if (file.operationMode == 2 || file.operationMode == 4)
    recording.episodicMode = file.operationMode;
  recording.tags = file.tags;
  std::vector<std::size_t> positions(file.channels.size());
  std::iota(positions.begin(), positions.end(), std::size_t{0});
  std::vector<std::int64_t> sweepStarts;
  const auto sweepBytes =
      file.scansPerSweep * static_cast<std::int64_t>(file.channels.size()) * (file.floats ? 4 : 2);
  for (std::int64_t k = 0; k < file.sweeps; ++k)
    sweepStarts.push_back(file.dataOffset + k * sweepBytes);
  InterleavedScans reader(source, file.floats ? StoredType::kFloat32 : StoredType::kInt16,
                          ByteOrder::LittleEndian, positions.size(), positions, sweepStarts);
  WriteRecording(bench, recording, reader, "_abf1.ABF");
}

AbfSummary SummarizeAbf2(const std::filesystem::path& abf2File) {
  SourceFile source(abf2File);
  const Abf2File file = ReadAbf2(source);
  AbfSummary s;
  s.version = file.version;
  s.channels = static_cast<int>(file.channels.size());
  for (const Channel& c : file.channels) {
    s.units.push_back(c.unit);
    s.names.push_back(c.name);
  }
  s.sampleInterval = static_cast<float>(file.intervalUs / s.channels);
  s.channelInterval = file.intervalUs;
  s.samples = static_cast<std::int32_t>(std::min<std::int64_t>(
      file.sweeps * file.scansPerSweep * s.channels, std::numeric_limits<std::int32_t>::max()));
  s.durationUs =
      std::llround(static_cast<double>(file.sweeps * file.scansPerSweep) * file.intervalUs);
  if (file.operationMode != 3) {
    s.sweeps = static_cast<std::int32_t>(file.sweeps);
    s.sweepSamples = static_cast<std::int32_t>(file.scansPerSweep);
  }
  s.start = StartText(static_cast<std::int32_t>(std::min<std::uint32_t>(file.startDate, 99991231)),
                      file.startMilliseconds / 1000);
  s.dataByte = file.dataOffset;
  s.dataBlock = static_cast<std::int32_t>(file.dataOffset / kBlock);
  s.operationMode = file.operationMode;
  s.operationModeName = OperationModeName(file.operationMode);
  return s;
}

const FormatDescriptor kAbf2Format{
    "ABF 2 file", [](const RecognitionInput& in) { return in.ProbeStartsWith("ABF2"); },
    ConvertAbf2};

}  // namespace convora
