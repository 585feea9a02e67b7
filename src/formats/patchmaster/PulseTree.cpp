#include "formats/patchmaster/PulseTree.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <cmath>
#include <string_view>

#include "abf/ConvoraError.h"

// The layout follows the maker's notes on the bundle and the pulsed tree.
// The bundle header: an 8-character signature, the item count at 48, a byte
// at 52 that is 1 when the header is little-endian, and from 64 on a table of
// 16-byte items (start, length, extension such as ".pul"). A tree starts with
// the mark "Tree" (its bytes reversed when the tree is little-endian), the
// number of levels and each level's record size; then come the records,
// depth first, each followed by the number of its children.

namespace convora::patchmaster {
namespace {

constexpr std::size_t kItemCountAt = 48;
constexpr std::size_t kLittleEndianFlagAt = 52;
constexpr std::size_t kItemTableAt = 64;
constexpr std::size_t kItemBytes = 16;
constexpr std::int32_t kMaxItems = 12;

enum Level : std::size_t { kRoot, kGroup, kSeries, kSweep, kTrace, kLevelsRead };
constexpr std::array<const char*, kLevelsRead> kLevelNames = {"root", "group", "series", "sweep",
                                                              "trace"};
constexpr std::int32_t kMaxLevels = 16;
constexpr std::int32_t kMaxRecordBytes = 1 << 20;
// Records reach at least to the last field the maker's notes give them up to
// the ones read here (a sweep's time ends at 56, a trace's x interval at
// 112): shorter ones are not PatchMaster's, and would let a small tree claim
// millions of records.
constexpr std::array<std::int32_t, kLevelsRead> kMinRecordBytes = {0, 36, 36, 56, 112};

// Fields of the group, series and trace records.
constexpr std::size_t kLabelAt = 4;
constexpr std::size_t kLabelWidth = 32;
constexpr std::size_t kDataAt = 40;
constexpr std::size_t kDataPointsAt = 44;
constexpr std::size_t kDataKindAt = 64;
constexpr std::size_t kDataFormatAt = 70;
constexpr std::size_t kDataScalerAt = 72;
constexpr std::size_t kYUnitAt = 96;
constexpr std::size_t kYUnitWidth = 8;
constexpr std::size_t kXIntervalAt = 104;
// Of a series record: when it started, in seconds (a double).
constexpr std::size_t kSeriesTimeAt = 136;
// The tree's times less this many seconds count from the first of January 1904.
constexpr double kClockOffsetSeconds = 1580970496.0;
constexpr std::size_t kInterleaveSizeAt = 292;
constexpr std::size_t kInterleaveSkipAt = 296;
constexpr std::uint16_t kLittleEndianKind = 1;  // bit 0 of the data kind

constexpr std::array<StoredType, 4> kDataFormats = {StoredType::kInt16, StoredType::kInt32,
                                                    StoredType::kFloat32, StoredType::kFloat64};

ByteOrder HeaderOrder(std::span<const std::uint8_t> first) {
  return first[kLittleEndianFlagAt] == 1 ? ByteOrder::LittleEndian : ByteOrder::BigEndian;
}

// A time of the tree as a date and time of day; nothing for one before 1904
// or after 9999, or not a number.
std::optional<LocalDateTime> DateTimeOf(double clock) {
  using namespace std::chrono;
  const double seconds = clock - kClockOffsetSeconds;
  constexpr double kTo9999 = 8'000 * 366 * 86'400.0;
  if (!(seconds >= 0.0 && seconds < kTo9999)) return std::nullopt;
  const auto whole = static_cast<std::int64_t>(seconds);
  const sys_days day = sys_days(year{1904} / January / 1) + days(whole / 86'400);
  const year_month_day date(day);
  const std::int64_t ofDay = whole % 86'400;
  return LocalDateTime{static_cast<int>(date.year()), static_cast<int>(unsigned(date.month())),
                       static_cast<int>(unsigned(date.day())), static_cast<int>(ofDay / 3600),
                       static_cast<int>(ofDay / 60 % 60), static_cast<int>(ofDay % 60)};
}

struct Item {
  std::int64_t start;
  std::int64_t length;
};

Item PulsedTreeItem(SourceFile& source) {
  const auto bytes = ReadBytes(source, 0, kBundleHeaderBytes);
  if (bytes.size() < kBundleHeaderBytes) throw ConvoraError("the file ends inside its header");
  const FieldReader head(bytes, HeaderOrder(bytes));
  const std::int32_t items = head.Int32(kItemCountAt, "bundle item count");
  if (items < 1 || items > kMaxItems) {
    throw ConvoraError("the bundle header counts " + std::to_string(items) + " items, not 1 to 12");
  }
  for (std::int32_t k = 0; k < items; ++k) {
    const std::size_t at = kItemTableAt + static_cast<std::size_t>(k) * kItemBytes;
    std::string extension = head.Text(at + 8, 8, "bundle item extension");
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (extension != ".pul") continue;
    const Item item{head.Int32(at, "bundle item start"), head.Int32(at + 4, "bundle item length")};
    RequireInFile(source, item.start, item.length, "the pulsed tree (the bundle's .pul item)");
    return item;
  }
  throw ConvoraError("the bundle holds no pulsed tree (.pul item)");
}

class TreeReader {
 public:
  TreeReader(SourceFile& source, Item item)
      : source_(source), cursor_(item.start), end_(item.start + item.length) {}

  std::vector<Series> Read() {
    const auto mark = Take(8, "the pulsed tree's mark and level count");
    const std::string_view text(reinterpret_cast<const char*>(mark.data()), 4);
    if (text != "Tree" && text != "eerT") {
      throw ConvoraError("the pulsed tree does not start with its mark \"Tree\"");
    }
    order_ = text == "eerT" ? ByteOrder::LittleEndian : ByteOrder::BigEndian;
    const std::int32_t levels = FieldReader(mark, order_).Int32(4, "tree level count");
    if (levels < static_cast<std::int32_t>(kLevelsRead) || levels > kMaxLevels) {
      throw ConvoraError("the pulsed tree has " + std::to_string(levels) +
                         " levels, not the 5 of root, group, series, sweep and trace");
    }
    const auto sizeBytes = Take(4 * static_cast<std::size_t>(levels), "the tree's level sizes");
    const FieldReader sizes(sizeBytes, order_);
    for (std::size_t level = 0; level < static_cast<std::size_t>(levels); ++level) {
      const std::int32_t size = sizes.Int32(4 * level, "tree level size");
      const std::int32_t least = level < kMinRecordBytes.size() ? kMinRecordBytes[level] : 0;
      if (size < least || size > kMaxRecordBytes) {
        throw ConvoraError("the pulsed tree's records of level " + std::to_string(level) +
                           " are said to be " + std::to_string(size) + " bytes");
      }
      recordBytes_.push_back(static_cast<std::size_t>(size));
    }
    Walk(kRoot);
    return std::move(series_);
  }

 private:
  SourceFile& source_;
  std::int64_t cursor_;
  const std::int64_t end_;
  ByteOrder order_ = ByteOrder::BigEndian;
  std::vector<std::size_t> recordBytes_;
  std::vector<Series> series_;
  std::string groupLabel_;

  std::vector<std::uint8_t> Take(std::size_t bytes, const std::string& what) {
    if (static_cast<std::int64_t>(bytes) > end_ - cursor_) {
      throw ConvoraError("the pulsed tree ends inside " + what);
    }
    auto taken = ReadBytes(source_, cursor_, bytes);
    cursor_ += static_cast<std::int64_t>(bytes);
    return taken;
  }

  std::string Where() const {
    return "sweep " + std::to_string(series_.back().sweeps.size()) + " of series " +
           std::to_string(series_.size());
  }

  // Reads the record at the cursor, then its children.
  void Walk(std::size_t level) {
    const std::string name =
        level < kLevelsRead ? kLevelNames[level] : "level " + std::to_string(level);
    const auto bytes = Take(recordBytes_[level] + 4, "a " + name + " record");
    const FieldReader record(std::span<const std::uint8_t>(bytes).first(recordBytes_[level]),
                             order_);
    const std::int32_t children =
        FieldReader(bytes, order_).Int32(recordBytes_[level], "child count");
    const bool lowest = level + 1 == recordBytes_.size();
    // A child takes at least its record and its own child count.
    const std::int64_t room =
        lowest ? 0 : (end_ - cursor_) / static_cast<std::int64_t>(recordBytes_[level + 1] + 4);
    if (children < 0 || children > room) {
      throw ConvoraError("a " + name + " record of the pulsed tree counts " +
                         std::to_string(children) + " children, more than the tree has room for");
    }
    switch (level) {
      case kGroup:
        groupLabel_ = record.Text(kLabelAt, kLabelWidth, "group label");
        break;
      case kSeries:
        series_.push_back({groupLabel_, record.Text(kLabelAt, kLabelWidth, "series label"),
                           record.Size() >= kSeriesTimeAt + 8
                               ? DateTimeOf(record.Double(kSeriesTimeAt, "series time"))
                               : std::nullopt,
                           {}, {}});
        break;
      case kSweep:
        if (series_.empty()) throw ConvoraError("the pulsed tree holds a sweep outside a series");
        series_.back().sweeps.emplace_back();
        break;
      case kTrace:
        AddTrace(record);
        break;
      default:
        break;
    }
    for (std::int32_t k = 0; k < children; ++k) Walk(level + 1);
    if (level == kSweep) {
      Series& series = series_.back();
      if (series.sweeps.back().size() != series.channels.size()) {
        throw ConvoraError(Where() + " holds " + std::to_string(series.sweeps.back().size()) +
                           " traces; the first sweep holds " +
                           std::to_string(series.channels.size()));
      }
    }
  }

  void AddTrace(const FieldReader& record) {
    if (series_.empty() || series_.back().sweeps.empty()) {
      throw ConvoraError("the pulsed tree holds a trace outside a sweep");
    }
    Series& series = series_.back();
    auto& traces = series.sweeps.back();
    const std::string what = "trace " + std::to_string(traces.size() + 1) + " of " + Where();
    const std::uint8_t format = record.Byte(kDataFormatAt, "trace data format");
    if (format >= kDataFormats.size()) {
      throw ConvoraError(what + " has data format " + std::to_string(format) +
                         ", not int16, int32, float32 or float64");
    }
    if (record.Size() >= kInterleaveSkipAt + 4 &&
        record.Int32(kInterleaveSizeAt, "trace interleave size") > 0 &&
        record.Int32(kInterleaveSkipAt, "trace interleave skip") > 0) {
      throw ConvoraError(what +
                         " is stored interleaved in blocks, which this conversion "
                         "does not read");
    }
    const bool little = (record.UInt16(kDataKindAt, "trace data kind") & kLittleEndianKind) != 0;
    const Trace trace{record.Int32(kDataAt, "trace data offset"),
                      record.Int32(kDataPointsAt, "trace data points"),
                      record.Double(kDataScalerAt, "trace data scaler"),
                      record.Double(kXIntervalAt, "trace x interval"),
                      kDataFormats[format],
                      little ? ByteOrder::LittleEndian : ByteOrder::BigEndian};
    if (trace.points < 0) {
      throw ConvoraError(what + " counts " + std::to_string(trace.points) + " points");
    }
    if (!std::isfinite(trace.scale)) throw ConvoraError(what + " has no finite data scaler");
    if (!(trace.intervalSeconds > 0.0) || !std::isfinite(trace.intervalSeconds)) {
      throw ConvoraError(what + " has no sample interval (x interval " +
                         std::to_string(trace.intervalSeconds) + ")");
    }
    RequireInFile(source_, trace.dataOffset,
                  trace.points * static_cast<std::int64_t>(BytesOf(trace.type)),
                  "the samples of " + what);
    if (series.sweeps.size() == 1) {
      series.channels.push_back({record.Text(kLabelAt, kLabelWidth, "trace label"),
                                 record.Text(kYUnitAt, kYUnitWidth, "trace y unit")});
    } else if (traces.size() == series.channels.size()) {
      throw ConvoraError(what + " is one more than the first sweep holds");
    }
    traces.push_back(trace);
  }
};

}  // namespace

bool IsBundleHeader(std::span<const std::uint8_t> first) {
  if (first.size() < kItemTableAt) return false;
  const std::string_view signature(reinterpret_cast<const char*>(first.data()), 8);
  using namespace std::string_view_literals;
  if (signature != "DAT1\0\0\0\0"sv && signature != "DAT2\0\0\0\0"sv) return false;
  if (first[kLittleEndianFlagAt] > 1) return false;
  const std::int32_t items =
      FieldReader(first, HeaderOrder(first)).Int32(kItemCountAt, "bundle item count");
  return items >= 1 && items <= kMaxItems;
}

std::vector<Series> ReadBundle(SourceFile& source) {
  const auto first = ReadBytes(source, 0, kItemTableAt);
  if (!IsBundleHeader(first)) {
    throw ConvoraError("not a PatchMaster bundle (no \"DAT1\" or \"DAT2\" header with items)");
  }
  return TreeReader(source, PulsedTreeItem(source)).Read();
}

}  // namespace convora::patchmaster
