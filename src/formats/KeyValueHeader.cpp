#include "formats/KeyValueHeader.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"
#include "formats/SourceValues.h"

namespace convora {
namespace {

constexpr std::int64_t kLargestHeader = 64 << 10;

std::map<std::string, std::string> Parse(const std::vector<std::uint8_t>& bytes,
                                         std::string_view separators) {
  std::map<std::string, std::string> values;
  const auto end = std::find(bytes.begin(), bytes.end(), std::uint8_t{0});
  const std::string text(bytes.begin(), end);
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t stop = text.find_first_of(separators, start);
    if (stop == std::string::npos) stop = text.size();
    const std::string line = text.substr(start, stop - start);
    if (const auto equals = line.find('='); equals != std::string::npos) {
      values.emplace(line.substr(0, equals), line.substr(equals + 1));
    }
    start = stop + 1;
  }
  return values;
}

}  // namespace

KeyValueHeader::KeyValueHeader(SourceFile& source, std::int64_t fallbackBytes,
                               std::string_view separators)
    : bytes_(fallbackBytes) {
  values_ = Parse(ReadBytes(source, 0, static_cast<std::size_t>(fallbackBytes)), separators);
  if (const auto declared = Number("NBH")) {
    if (*declared != std::floor(*declared) || *declared < 1 || *declared > kLargestHeader) {
      throw ConvoraError("the header size NBH (" + *Text("NBH") + ") is not plausible");
    }
    // The header is exactly NBH bytes: what follows is data.
    bytes_ = static_cast<std::int64_t>(*declared);
    values_ = Parse(ReadBytes(source, 0, static_cast<std::size_t>(bytes_)), separators);
  }
  RequireInFile(source, 0, bytes_, "the header (NBH)");
}

std::optional<std::string> KeyValueHeader::Text(const std::string& key) const {
  const auto found = values_.find(key);
  if (found == values_.end()) return std::nullopt;
  return found->second;
}

std::optional<double> KeyValueHeader::Number(const std::string& key) const {
  auto text = Text(key);
  if (!text) return std::nullopt;
  std::replace(text->begin(), text->end(), ',', '.');
  return ParseWholeNumber(*text);
}

double KeyValueHeader::Required(const std::string& key) const {
  const auto number = Number(key);
  if (!number || !std::isfinite(*number)) {
    throw ConvoraError("the header's " + key + " is " +
                       (Text(key) ? "\"" + *Text(key) + "\", not a number" : "missing"));
  }
  return *number;
}

std::int64_t KeyValueHeader::Count(const std::string& key, std::int64_t lowest) const {
  const double number = Required(key);
  if (number != std::floor(number) || number < static_cast<double>(lowest) || number > 1e12) {
    throw ConvoraError("the header's " + key + " (" + *Text(key) + ") is not a count of at least " +
                       std::to_string(lowest));
  }
  return static_cast<std::int64_t>(number);
}

RecordedChannel KeyValueHeader::Channel(std::int64_t c, double perCount) const {
  const std::string n = std::to_string(c);
  const double zero = Number("YZ" + n).value_or(0.0);
  return {Text("YN" + n).value_or(""), Text("YU" + n).value_or(""), perCount, -zero * perCount,
          true};
}

std::size_t KeyValueHeader::Position(std::int64_t c, std::int64_t channels) const {
  const std::string key = "YO" + std::to_string(c);
  const std::int64_t at = Number(key) ? Count(key, 0) : c;
  if (at >= channels) {
    throw ConvoraError("channel " + std::to_string(c) + "'s position " + key +
                       " lies outside its " + std::to_string(channels) + "-channel scans");
  }
  return static_cast<std::size_t>(at);
}

std::optional<LocalDateTime> KeyValueHeader::Time(const std::string& key) const {
  const auto text = Text(key);
  LocalDateTime t;
  if (!text || std::sscanf(text->c_str(), "%d/%d/%d %d:%d:%d", &t.day, &t.month, &t.year, &t.hour,
                           &t.minute, &t.second) != 6) {
    return std::nullopt;
  }
  return t;
}

}  // namespace convora
