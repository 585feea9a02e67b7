#include "formats/Cfs.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "abf/PathText.h"
#include "formats/RecordingOutput.h"
#include "formats/SourceValues.h"

// A CFS file (the CED Filing System, as CED's file-format notes describe it):
// a general header, a table of 48-byte channel entries, variable
// descriptions, then data sections. Each data section has a header with, per
// channel, where its points start, how many there are, and the scale,
// offset and x step that hold for this section. Points of a channel lie
// dSpacing bytes apart, so channels may be interleaved.

namespace convora {
namespace {

constexpr std::size_t kGeneralHeaderBytes = 178;
constexpr std::size_t kChannelEntryBytes = 48;
constexpr std::size_t kSectionChannelsAt = 30;  // per-channel part of a section header
constexpr std::size_t kSectionChannelBytes = 24;

struct CfsChannel {
  std::string name;
  std::string unit;
  StoredType type;
  std::int64_t spacing;
  bool equallySpaced;
  bool convertible;
};

struct SectionChannel {
  std::int64_t first;  // file offset of point 0
  std::int64_t points;
  double scale;
  double offset;
  double stepSeconds;
};

struct CfsFile {
  std::vector<CfsChannel> channels;
  std::vector<std::vector<SectionChannel>> sections;  // [section][channel]
  std::optional<LocalDateTime> start;
};

std::optional<StoredType> TypeOf(std::uint8_t code) {
  constexpr StoredType kTypes[] = {StoredType::kInt8,   StoredType::kUInt8, StoredType::kInt16,
                                   StoredType::kUInt16, StoredType::kInt32, StoredType::kFloat32,
                                   StoredType::kFloat64};
  if (code < std::size(kTypes)) return kTypes[code];
  return std::nullopt;  // 7: text
}

// "hh:mm:ss" and "dd/mm/yy", as the header stores them.
std::optional<LocalDateTime> StartOf(const std::string& time, const std::string& date) {
  int h, m, s, d, mo, y;
  if (std::sscanf(time.c_str(), "%d:%d:%d", &h, &m, &s) != 3 ||
      std::sscanf(date.c_str(), "%d/%d/%d", &d, &mo, &y) != 3) {
    return std::nullopt;
  }
  return LocalDateTime{y < 70 ? 2000 + y : y < 100 ? 1900 + y : y, mo, d, h, m, s};
}

// The file offsets of the data section headers: from their table, or, in a
// file that was not closed properly (no table), back along their chain.
std::vector<std::int64_t> SectionOffsets(SourceFile& source, const FieldReader& head,
                                         std::int64_t count) {
  const std::int64_t table = head.Int32(134, "section table position");
  std::vector<std::int64_t> offsets;
  if (table != 0) {
    RequireInFile(source, table, count * 4, "the table of data sections");
    const auto bytes = ReadBytes(source, table, static_cast<std::size_t>(count * 4));
    const FieldReader entries(bytes, ByteOrder::LittleEndian);
    for (std::int64_t k = 0; k < count; ++k) {
      offsets.push_back(entries.Int32(static_cast<std::size_t>(4 * k), "data section offset"));
    }
    return offsets;
  }
  std::int64_t at = head.Int32(52, "last data section");
  for (std::int64_t k = 0; k < count && at != 0; ++k) {
    offsets.insert(offsets.begin(), at);
    RequireInFile(source, at, 4, "a data section header");
    const auto link = ReadBytes(source, at, 4);
    at = FieldReader(link, ByteOrder::LittleEndian).Int32(0, "previous data section");
  }
  if (static_cast<std::int64_t>(offsets.size()) != count) {
    throw ConvoraError("the chain of data sections holds " + std::to_string(offsets.size()) +
                       " of the " + std::to_string(count) + " the header counts");
  }
  return offsets;
}

CfsFile ReadCfs(SourceFile& source) {
  const auto headBytes = ReadBytes(source, 0, kGeneralHeaderBytes);
  const FieldReader head(headBytes, ByteOrder::LittleEndian);
  if (head.Text(0, 8, "marker") != "CEDFILE\"") {
    throw ConvoraError(
        "a CFS file of an older version (its marker is not CEDFILE\"), which "
        "this conversion does not read");
  }
  CfsFile file;
  file.start = StartOf(head.Text(26, 8, "time"), head.Text(34, 8, "date"));
  const std::int64_t channels = head.Int16(42, "channel count");
  const std::int64_t sections = head.UInt16(56, "data section count");
  if (channels < 1 || channels > 100) {
    throw ConvoraError("the header counts " + std::to_string(channels) + " channels");
  }
  if (sections < 1) throw ConvoraError("the file holds no data section");

  const auto tableBytes = ReadBytes(source, kGeneralHeaderBytes,
                                    static_cast<std::size_t>(channels) * kChannelEntryBytes);
  const FieldReader table(tableBytes, ByteOrder::LittleEndian);
  for (std::int64_t c = 0; c < channels; ++c) {
    const std::size_t at = static_cast<std::size_t>(c) * kChannelEntryBytes;
    const auto type = TypeOf(table.Byte(at + 42, "channel data type"));
    const bool equallySpaced = table.Byte(at + 43, "channel kind") == 0;
    CfsChannel channel{table.CountedText(at, 22, "channel name"),
                       table.CountedText(at + 22, 10, "channel units"),
                       type.value_or(StoredType::kUInt8),
                       table.Int16(at + 44, "point spacing"),
                       equallySpaced,
                       type && equallySpaced};
    if (channel.convertible && channel.spacing < static_cast<std::int64_t>(BytesOf(channel.type))) {
      throw ConvoraError("channel " + std::to_string(c + 1) + "'s points are " +
                         std::to_string(channel.spacing) + " bytes apart, less than one point");
    }
    if (channel.convertible && !SecondsPerTimeUnit(table.CountedText(at + 32, 10, "x units"))) {
      channel.convertible = false;  // an x axis that is not time
    }
    file.channels.push_back(channel);
  }

  for (const std::int64_t at : SectionOffsets(source, head, sections)) {
    const std::size_t bytes =
        kSectionChannelsAt + static_cast<std::size_t>(channels) * kSectionChannelBytes;
    RequireInFile(source, at, static_cast<std::int64_t>(bytes), "a data section header");
    const auto sectionBytes = ReadBytes(source, at, bytes);
    const FieldReader section(sectionBytes, ByteOrder::LittleEndian);
    const std::int64_t dataStart = section.Int32(4, "section data start");
    const std::int64_t dataBytes = section.Int32(8, "section data size");
    RequireInFile(source, dataStart, dataBytes,
                  "the data of section " + std::to_string(file.sections.size() + 1));
    std::vector<SectionChannel> parts;
    for (std::int64_t c = 0; c < channels; ++c) {
      const std::size_t p = kSectionChannelsAt + static_cast<std::size_t>(c) * kSectionChannelBytes;
      const CfsChannel& channel = file.channels[static_cast<std::size_t>(c)];
      SectionChannel part{dataStart + section.Int32(p, "channel data offset"),
                          section.Int32(p + 4, "channel point count"),
                          section.Float(p + 8, "y scale"), section.Float(p + 12, "y offset"), 0.0};
      const std::string xUnits =
          table.CountedText(static_cast<std::size_t>(c) * kChannelEntryBytes + 32, 10, "x units");
      part.stepSeconds =
          section.Float(p + 16, "x increment") * SecondsPerTimeUnit(xUnits).value_or(0.0);
      const std::int64_t end = part.points > 0
                                   ? part.first - dataStart + (part.points - 1) * channel.spacing +
                                         static_cast<std::int64_t>(BytesOf(channel.type))
                                   : 0;
      if (channel.convertible && (part.points < 0 || part.first < dataStart || end > dataBytes)) {
        throw ConvoraError("the points of channel " + std::to_string(c + 1) + " (" +
                           std::to_string(part.points) + ") do not fit data section " +
                           std::to_string(file.sections.size() + 1));
      }
      parts.push_back(part);
    }
    file.sections.push_back(std::move(parts));
  }
  return file;
}

// Sections are sweeps; a scan takes point i of every channel converted.
class SectionReader : public ScanReader {
 public:
  SectionReader(SourceFile& source, const CfsFile& file, std::vector<std::size_t> kept,
                std::vector<bool> scaled)
      : source_(source), file_(file), kept_(std::move(kept)), scaled_(std::move(scaled)) {}

  void ReadScans(std::int64_t sweep, std::int64_t first, std::span<double> out) override {
    const std::size_t width = kept_.size();
    const std::size_t scans = out.size() / width;
    column_.resize(scans);
    for (std::size_t k = 0; k < width; ++k) {
      const CfsChannel& channel = file_.channels[kept_[k]];
      const SectionChannel& part = file_.sections[static_cast<std::size_t>(sweep)][kept_[k]];
      // Past a shorter section's last point the sweep is padded with zeros.
      const std::int64_t available = std::clamp<std::int64_t>(part.points - first, 0, scans);
      std::fill(column_.begin(), column_.end(), 0.0);
      ReadValues(source_, part.first + first * channel.spacing, channel.type,
                 ByteOrder::LittleEndian, static_cast<std::size_t>(channel.spacing),
                 std::span(column_).first(static_cast<std::size_t>(available)));
      for (std::size_t s = 0; s < scans; ++s) {
        double value = column_[s];
        if (scaled_[k] && static_cast<std::int64_t>(s) < available)
          value = value * part.scale + part.offset;
        out[s * width + k] = value;
      }
    }
  }

 private:
  SourceFile& source_;
  const CfsFile& file_;
  std::vector<std::size_t> kept_;
  std::vector<bool> scaled_;  // values handed on in units: the scale changes between sections
  std::vector<double> column_;
};

}  // namespace

void ConvertCFS(Workbench& bench) {
  SourceFile source(bench.SelectedFilePath);
  const CfsFile file = ReadCfs(source);
  const std::string where = PathText(bench.SelectedFilePath) + ": ";
  const auto& first = file.sections.front();

  // The channels sampled at the shortest step of the first section.
  double step = 0.0;
  for (std::size_t c = 0; c < file.channels.size(); ++c) {
    if (file.channels[c].convertible && first[c].stepSeconds > 0.0 &&
        (step == 0.0 || first[c].stepSeconds < step)) {
      step = first[c].stepSeconds;
    }
  }
  if (step == 0.0) {
    throw ConvoraError("the file holds no equally spaced channel with a time axis to convert");
  }
  // A scan takes one point of every channel kept, so a channel must have as
  // many points as the first one kept in every section.
  std::vector<std::size_t> kept;
  std::string otherRate, otherLength;
  const auto name = [&](std::string& list, std::size_t c) {
    list += (list.empty() ? "" : ", ") + file.channels[c].name;
  };
  for (std::size_t c = 0; c < file.channels.size(); ++c) {
    if (!file.channels[c].convertible || first[c].stepSeconds != step) {
      name(otherRate, c);
    } else if (!kept.empty() && std::any_of(file.sections.begin(), file.sections.end(),
                                            [&](const std::vector<SectionChannel>& section) {
                                              return section[c].points !=
                                                     section[kept.front()].points;
                                            })) {
      name(otherLength, c);
    } else {
      kept.push_back(c);
    }
  }
  if (!otherRate.empty()) {
    bench.Prompt().Notice(where +
                          "left out, for being sampled at another rate or not equally "
                          "spaced in time: " +
                          otherRate);
  }
  if (!otherLength.empty()) {
    bench.Prompt().Notice(where + "left out, for holding another number of points than " +
                          file.channels[kept.front()].name + ": " + otherLength);
  }

  Recording recording;
  std::vector<bool> scaled;
  std::int64_t longest = 0;
  bool unequal = false;
  for (const std::size_t c : kept) {
    const CfsChannel& channel = file.channels[c];
    bool sameScale = true;
    for (const auto& section : file.sections) {
      sameScale =
          sameScale && section[c].scale == first[c].scale && section[c].offset == first[c].offset;
      if (section[c].stepSeconds != step) {
        throw ConvoraError("channel " + channel.name +
                           " changes its sample interval between data "
                           "sections, which one ABF file cannot hold");
      }
      unequal = unequal || section[c].points != first[kept.front()].points;
      longest = std::max(longest, section[c].points);
    }
    scaled.push_back(!sameScale);
    recording.channels.push_back({channel.name, channel.unit, sameScale ? first[c].scale : 1.0,
                                  sameScale ? first[c].offset : 0.0,
                                  sameScale && IsWholeCount(channel.type)});
  }
  if (unequal) {
    bench.Prompt().Notice(where +
                          "its data sections differ in length; each sweep is padded "
                          "with zeros to the longest, " +
                          std::to_string(longest) + " points");
  }
  recording.channelIntervalUs = step * 1e6;
  recording.sweeps = static_cast<std::int64_t>(file.sections.size());
  recording.scansPerSweep = longest;
  recording.start = file.start;
  SectionReader reader(source, file, kept, scaled);
  WriteRecording(bench, recording, reader);
}

const FormatDescriptor kCfsFormat{
    "CED Signal Data File (CFS)",
    [](const RecognitionInput& in) { return in.ProbeStartsWith("CEDFILE"); }, ConvertCFS};

}  // namespace convora
