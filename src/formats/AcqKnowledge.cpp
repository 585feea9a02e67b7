#include "formats/AcqKnowledge.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "abf/ByteOrder.h"
#include "abf/ConvoraError.h"
#include "abf/PathText.h"
#include "formats/InterleavedScans.h"
#include "formats/RecordingOutput.h"
#include "formats/SourceValues.h"

// An AcqKnowledge graph file (the maker's Application Note 156 for 3.x; the
// layout of later revisions as bioread's notes document it): a graph header
// (its revision at byte 2, its length at 6, the channel count at 10, the
// milliseconds per sample at 16), one header per channel (its own length
// first; name at 6, units at 68, sample count at 88, amplitude scale and
// offset at 92 and 100), a foreign-data section, one type header per channel
// (size, then 1 for double or 2 for int16), then the samples, interleaved. An
// int16 sample's value is raw x scale + offset; a double is its value.
//
// From revision 38 (3.7) on, a channel may be sampled at the graph's rate
// divided by its divider: a channel of divider d takes part in every d-th
// slot of the interleaved stream until its samples run out, so the bytes
// before slot j hold min(samples, ceil(j / d)) samples of each channel.

namespace convora {
namespace {

constexpr std::size_t kGraphFieldBytes = 24;
constexpr std::size_t kChannelFieldBytes = 108;
// As far as the last field read from any graph header (the 3.x compressed flag).
constexpr std::size_t kGraphBytesRead = 1940;

// Where a revision keeps what this reader needs.
struct Layout {
  // Bytes between the graph header's stated length and the first channel header.
  std::int64_t pastGraphHeader = 0;
  // Offset of the channel's sample divider; 0 where every channel runs at the graph's rate.
  std::size_t dividerAt = 0;
  // Offset of the graph's compressed flag; 0 where samples are never compressed.
  std::size_t compressedAt = 0;
  // How the foreign-data section gives its length: its own int16 (3.x), an
  // int32 at 8 plus 8 (early 4.x), or its int16 plus 8 (later).
  enum class Foreign { kOwnLength, kExtendedPlus8, kLengthPlus8 } foreign = Foreign::kOwnLength;
};

constexpr std::int32_t kLatestPublishedRevision = 132;  // AcqKnowledge 5.0

Layout LayoutOf(std::int32_t revision) {
  using enum Layout::Foreign;
  if (revision < 38) return {};
  if (revision <= 40) return {0, 250, 0, kOwnLength};
  if (revision <= 45) return {0, 250, 1936, kOwnLength};
  if (revision < 61) {
    throw ConvoraError("AcqKnowledge revision " + std::to_string(revision) +
                       " lies between 3.9 (45) and 4.0 (61), whose layouts are not published");
  }
  if (revision < 80) return {0, 152, 972, kExtendedPlus8};
  if (revision < 124) return {0, 152, 972, kLengthPlus8};
  if (revision <= kLatestPublishedRevision) return {40, 152, 972, kLengthPlus8};
  throw ConvoraError("AcqKnowledge revision " + std::to_string(revision) +
                     " is later than the latest whose layout is published (" +
                     std::to_string(kLatestPublishedRevision) + ", AcqKnowledge 5.0)");
}

struct AcqChannel {
  RecordedChannel described;
  StoredType type = StoredType::kInt16;
  std::int64_t size = 2;
  std::int64_t samples;
  std::int64_t divider;
};

struct AcqFile {
  ByteOrder order;
  double intervalUs;
  std::vector<AcqChannel> channels;
  std::int64_t dataAt = 0;
};

std::string ChannelText(std::size_t c) { return "channel " + std::to_string(c + 1); }

std::int64_t ForeignLength(SourceFile& source, std::int64_t at, ByteOrder order,
                           Layout::Foreign rule) {
  const auto bytes = ReadBytes(source, at, 12);
  const FieldReader foreign(bytes, order);
  const std::int64_t length =
      rule == Layout::Foreign::kExtendedPlus8 ? foreign.Int32(8, "foreign data length") + 8
      : rule == Layout::Foreign::kLengthPlus8 ? foreign.Int16(0, "foreign data length") + 8
                                              : foreign.Int16(0, "foreign data length");
  if (length < 2) throw ConvoraError("the foreign-data length is " + std::to_string(length));
  return length;
}

AcqFile ReadAcq(SourceFile& source, ByteOrder order) {
  const auto graphBytes = ReadBytes(source, 0, kGraphBytesRead);
  const FieldReader graph(graphBytes, order);
  const std::int32_t revision = graph.Int32(2, "revision (lVersion)");
  const Layout layout = LayoutOf(revision);
  const std::int64_t graphLength = graph.Int32(6, "graph header length");
  if (graphLength <
      static_cast<std::int64_t>(std::max(kGraphFieldBytes, layout.compressedAt + 4))) {
    throw ConvoraError("the graph header's length (" + std::to_string(graphLength) +
                       ") is shorter than the fields of revision " + std::to_string(revision));
  }
  if (layout.compressedAt != 0 && graph.Int32(layout.compressedAt, "compressed flag") != 0) {
    throw ConvoraError("AcqKnowledge revision " + std::to_string(revision) +
                       " keeps its samples compressed (its graph header says so), which Convora "
                       "does not read: save the graph again without compression in AcqKnowledge "
                       "and convert that");
  }
  AcqFile file{order, graph.Double(16, "sample time (dSampleTime)") * 1000.0, {}, 0};
  const std::int64_t channels = graph.Int16(10, "channel count");
  if (channels < 1 || channels > 256) {
    throw ConvoraError("the graph header counts " + std::to_string(channels) + " channels");
  }
  const auto fieldBytes = std::max(kChannelFieldBytes, layout.dividerAt + 2);
  std::int64_t at = graphLength + layout.pastGraphHeader;
  for (std::size_t c = 0; c < static_cast<std::size_t>(channels); ++c) {
    RequireInFile(source, at, static_cast<std::int64_t>(fieldBytes),
                  "the header of " + ChannelText(c));
    const auto bytes = ReadBytes(source, at, fieldBytes);
    const FieldReader header(bytes, order);
    const std::int64_t length = header.Int32(0, "channel header length");
    if (length < static_cast<std::int64_t>(fieldBytes)) {
      throw ConvoraError(ChannelText(c) + "'s header length (" + std::to_string(length) +
                         ") is shorter than its fields");
    }
    // A divider below 1 cannot slow a channel down: it samples at the graph's rate.
    const std::int64_t divider =
        layout.dividerAt == 0
            ? 1
            : std::max<std::int64_t>(1, header.Int16(layout.dividerAt, "divider"));
    AcqChannel channel{
        {header.Text(6, 40, "channel name"), header.Text(68, 20, "units"),
         header.Double(92, "amplitude scale"), header.Double(100, "amplitude offset")},
        StoredType::kInt16,
        2,
        header.Int32(88, "sample count"),
        divider};
    if (channel.samples < 0) throw ConvoraError(ChannelText(c) + " counts fewer than no samples");
    file.channels.push_back(std::move(channel));
    at += length;
  }
  RequireInFile(source, at, 2, "the foreign-data section");
  at += ForeignLength(source, at, order, layout.foreign);

  RequireInFile(source, at, channels * 4, "the channels' type headers");
  const auto types = ReadBytes(source, at, static_cast<std::size_t>(channels) * 4);
  const FieldReader typeFields(types, order);
  std::int64_t dataBytes = 0;
  for (std::size_t c = 0; c < file.channels.size(); ++c) {
    AcqChannel& channel = file.channels[c];
    const std::int16_t size = typeFields.Int16(4 * c, "sample size");
    const std::int16_t type = typeFields.Int16(4 * c + 2, "sample type");
    if (type == 1 && size == 8) {
      channel.type = StoredType::kFloat64;
      channel.size = 8;
      channel.described.scale = 1.0;
      channel.described.offset = 0.0;
    } else if (type == 2 && size == 2) {
      channel.described.wholeCounts = true;
    } else {
      throw ConvoraError(ChannelText(c) + " has samples of type " + std::to_string(type) +
                         " and size " + std::to_string(size) + ", neither int16 nor double");
    }
    dataBytes += channel.size * channel.samples;
  }
  file.dataAt = at + channels * 4;
  RequireInFile(source, file.dataAt, dataBytes, "the samples the channel headers count");
  return file;
}

// The channels of one divider among channels of several: each sample found
// by counting what every channel stored before its slot.
class DividedScans : public ScanReader {
 public:
  DividedScans(SourceFile& source, const AcqFile& file, std::int64_t divider)
      : source_(source), file_(file), divider_(divider) {}

  void ReadScans(std::int64_t, std::int64_t first, std::span<double> out) override {
    std::size_t kept = 0;
    for (const AcqChannel& c : file_.channels) kept += c.divider == divider_ ? 1 : 0;
    const auto scans = static_cast<std::int64_t>(out.size() / kept);
    if (scans == 0) return;
    const std::int64_t from = BytesBefore(first * divider_);
    bytes_.resize(static_cast<std::size_t>(BytesBefore((first + scans - 1) * divider_ + 1) - from));
    source_.ReadPadded(file_.dataAt + from, bytes_);
    for (std::int64_t s = 0; s < scans; ++s) {
      const std::int64_t slot = (first + s) * divider_;
      auto at = static_cast<std::size_t>(BytesBefore(slot) - from);
      double* value = out.data() + s * static_cast<std::int64_t>(kept);
      for (const AcqChannel& c : file_.channels) {
        if (slot % c.divider != 0) continue;
        // A channel that ended before the others holds nothing here: zero.
        const bool stored = slot / c.divider < c.samples;
        if (c.divider == divider_) {
          *value = 0.0;
          if (stored) {
            DecodeValues(std::span(bytes_).subspan(at, static_cast<std::size_t>(c.size)), c.type,
                         file_.order, static_cast<std::size_t>(c.size), std::span(value, 1));
          }
          ++value;
        }
        if (stored) at += static_cast<std::size_t>(c.size);
      }
    }
  }

 private:
  std::int64_t BytesBefore(std::int64_t slot) const {
    std::int64_t bytes = 0;
    for (const AcqChannel& c : file_.channels)
      bytes += c.size * std::min(c.samples, (slot + c.divider - 1) / c.divider);
    return bytes;
  }

  SourceFile& source_;
  const AcqFile& file_;
  std::int64_t divider_;
  std::vector<std::uint8_t> bytes_;
};

void ConvertAcq(Workbench& bench, ByteOrder order) {
  SourceFile source(bench.SelectedFilePath);
  const AcqFile file = ReadAcq(source, order);
  std::int64_t divider = file.channels.front().divider;
  for (const AcqChannel& channel : file.channels) divider = std::min(divider, channel.divider);
  // An ABF file has one rate: the channels of the fastest are kept.
  Recording recording;
  std::vector<const AcqChannel*> kept;
  std::string slower;
  for (std::size_t c = 0; c < file.channels.size(); ++c) {
    const AcqChannel& channel = file.channels[c];
    if (channel.divider == divider) {
      kept.push_back(&channel);
      recording.channels.push_back(channel.described);
    } else {
      slower += (slower.empty() ? "" : ", ") + ChannelText(c) + " (" + channel.described.name +
                ", sampled every " + std::to_string(channel.divider) + " graph samples)";
    }
  }
  for (const AcqChannel* channel : kept) {
    if (channel->samples != kept.front()->samples) {
      throw ConvoraError(
          "the channels sampled at the fastest rate hold different numbers of samples");
    }
  }
  recording.scansPerSweep = kept.front()->samples;
  if (recording.scansPerSweep < 1) throw ConvoraError("the channels hold no samples");
  recording.channelIntervalUs = file.intervalUs * static_cast<double>(divider);
  if (!slower.empty()) {
    bench.Prompt().Notice(PathText(bench.SelectedFilePath) +
                          ": not converted, sampled slower than the channels kept: " + slower);
  }
  const bool oneType = std::all_of(kept.begin(), kept.end(), [&](const AcqChannel* channel) {
    return channel->type == kept.front()->type;
  });
  if (kept.size() == file.channels.size() && oneType) {
    // Plain scans, one value per channel: read them a stretch at a time.
    std::vector<std::size_t> positions(kept.size());
    for (std::size_t c = 0; c < positions.size(); ++c) positions[c] = c;
    InterleavedScans reader(source, kept.front()->type, order, kept.size(), std::move(positions),
                            {file.dataAt});
    WriteRecording(bench, recording, reader);
  } else {
    DividedScans reader(source, file, divider);
    WriteRecording(bench, recording, reader);
  }
}

bool InLaterRange(std::int32_t revision) { return revision >= 38 && revision <= 255; }

// The byte order in which the revision lies in the range this reader knows
// (38 up to a byte's worth, where the other order reads 2^24 or more) and the
// graph header, followed by a channel header per channel, fits in the file.
std::optional<ByteOrder> LaterRevisionOrder(const RecognitionInput& in) {
  for (const ByteOrder order : {ByteOrder::LittleEndian, ByteOrder::BigEndian}) {
    const auto field = [&](auto value) {
      return order == ByteOrder::LittleEndian ? value : ReverseBytes(value);
    };
    const std::int32_t revision = field(in.LittleEndianAt<std::int32_t>(2));
    const std::int64_t length = field(in.LittleEndianAt<std::int32_t>(6));
    const std::int64_t channels = field(in.LittleEndianAt<std::int16_t>(10));
    if (InLaterRange(revision) && length >= 24 && channels >= 1 &&
        length + channels * static_cast<std::int64_t>(kChannelFieldBytes) <= in.length) {
      return order;
    }
  }
  return std::nullopt;
}

}  // namespace

void ConvertAcqKnowledgeMac(Workbench& bench) { ConvertAcq(bench, ByteOrder::BigEndian); }
void ConvertAcqKnowledgePC(Workbench& bench) { ConvertAcq(bench, ByteOrder::LittleEndian); }

void ConvertAcqKnowledgeLater(Workbench& bench) {
  // The byte order the recognition chose: the one that puts the revision in range.
  SourceFile source(bench.SelectedFilePath);
  const auto revision = ReadBytes(source, 2, 4);
  const bool little =
      revision.size() == 4 && InLaterRange(LoadLittleEndian<std::int32_t>(revision.data()));
  ConvertAcq(bench, little ? ByteOrder::LittleEndian : ByteOrder::BigEndian);
}

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

const FormatDescriptor kAcqKnowledgeLaterFormat{
    "AcqKnowledge 3.7 and later",
    [](const RecognitionInput& in) { return LaterRevisionOrder(in).has_value(); },
    ConvertAcqKnowledgeLater};

}  // namespace convora
