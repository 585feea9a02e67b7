#include "abf/TextLines.h"

#include <algorithm>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"

namespace convora {
namespace {

bool IsBlankChar(char c) { return c == ' ' || c == '\t'; }

}  // namespace

std::span<const char> LineCursor::From(std::int64_t at) {
  if (at < chunkAt_ || at >= chunkAt_ + static_cast<std::int64_t>(chunkBytes_)) {
    chunk_.resize(chunkSize_);
    chunkAt_ = at;
    chunkBytes_ = source_.ReadPadded(at, chunk_);
    if (chunkBytes_ == 0) throw SourceChangedError();  // shorter than when it was opened
  }
  const auto skip = static_cast<std::size_t>(at - chunkAt_);
  return {reinterpret_cast<const char*>(chunk_.data()) + skip, chunkBytes_ - skip};
}

std::optional<std::string_view> LineCursor::Next() {
  const std::int64_t length = source_.Length();
  if (next_ >= length) return std::nullopt;
  ++number_;
  line_.clear();
  while (next_ < length) {
    const std::span<const char> rest = From(next_);
    const char* end = std::find_if(rest.data(), rest.data() + rest.size(),
                                   [](char c) { return c == '\r' || c == '\n'; });
    const auto taken = static_cast<std::size_t>(end - rest.data());
    if (line_.size() + taken > kMaxLineChars) {
      FailAtLine(number_, "longer than " + std::to_string(kMaxLineChars) + " characters");
    }
    line_.append(rest.data(), taken);
    next_ += static_cast<std::int64_t>(taken);
    if (end == rest.data() + rest.size()) continue;  // the line goes on in the next chunk
    ++next_;
    // CR LF is one ending.
    if (*end == '\r' && next_ < length && From(next_)[0] == '\n') ++next_;
    break;
  }
  return std::string_view(line_);
}

void ForEachLine(SourceFile& source,
                 const std::function<bool(std::int64_t, std::string_view)>& visit) {
  LineCursor lines(source);
  while (const auto line = lines.Next()) {
    if (!visit(lines.Number(), *line)) return;
  }
}

void FailAtLine(std::int64_t line, const std::string& why) {
  throw ConvoraError("line " + std::to_string(line) + ": " + why);
}

Separator DetectSeparator(std::string_view line) {
  if (line.find('\t') != std::string_view::npos) return Separator::Tab;
  if (line.find(';') != std::string_view::npos) return Separator::Semicolon;
  if (line.find(',') != std::string_view::npos) return Separator::Comma;
  return Separator::Space;
}

void SplitFields(std::string_view line, Separator separator,
                 std::vector<std::string_view>& fields) {
  fields.clear();
  if (separator == Separator::Space) {
    std::size_t i = 0;
    while (i < line.size()) {
      while (i < line.size() && IsBlankChar(line[i])) ++i;
      if (i == line.size()) break;
      const std::size_t start = i;
      while (i < line.size() && !IsBlankChar(line[i])) ++i;
      fields.push_back(line.substr(start, i - start));
    }
    return;
  }
  const char mark = separator == Separator::Tab ? '\t' : separator == Separator::Comma ? ',' : ';';
  std::size_t start = 0;
  for (;;) {
    const std::size_t end = line.find(mark, start);
    if (end == std::string_view::npos) {
      fields.push_back(line.substr(start));
      return;
    }
    fields.push_back(line.substr(start, end - start));
    start = end + 1;
  }
}

std::string_view Unquoted(std::string_view field) {
  const auto first = field.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  const auto last = field.find_last_not_of(" \t");
  field = field.substr(first, last - first + 1);
  if (field.size() >= 2 && field.front() == '"' && field.back() == '"') {
    field = field.substr(1, field.size() - 2);
  }
  return field;
}

bool IsBlank(std::string_view line) {
  return line.find_first_not_of(" \t") == std::string_view::npos;
}

std::optional<double> FieldNumber(std::string_view field) {
  return ParseWholeNumber(Unquoted(field));
}

}  // namespace convora
