#pragma once
// Text sources line by line, and the fields of a line.

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "abf/FileIo.h"

namespace convora {

// Longest line a table may hold; a longer one is refused rather than buffered.
inline constexpr std::size_t kMaxLineChars = 1 << 20;

// Reads the lines of a source one after another from a byte offset, in
// bounded chunks. A line ends at LF, CR+LF or a lone CR (old Macintosh
// exports); the last line needs no ending.
class LineCursor {
 public:
  // Chunks of 64 KiB suit a reading of many lines; one of a short line
  // wants fewer bytes.
  static constexpr std::size_t kChunkBytes = 1 << 16;

  LineCursor(SourceFile& source, std::int64_t offset = 0, std::size_t chunkBytes = kChunkBytes)
      : source_(source), next_(offset), chunkSize_(chunkBytes) {}

  // The next line without its ending, valid until the next call; nothing at
  // the end of the source. Throws ConvoraError for a line longer than
  // kMaxLineChars.
  std::optional<std::string_view> Next();
  // Where the line after the last one returned starts.
  std::int64_t Offset() const { return next_; }
  // 1-based number of the last line returned, counted from the offset given.
  std::int64_t Number() const { return number_; }

 private:
  // The buffered bytes from `at` on, reading a chunk there when needed.
  std::span<const char> From(std::int64_t at);

  SourceFile& source_;
  std::int64_t next_;
  std::size_t chunkSize_;
  std::int64_t number_ = 0;
  std::vector<std::uint8_t> chunk_;
  std::int64_t chunkAt_ = -1;
  std::size_t chunkBytes_ = 0;
  std::string line_;
};

// Calls `visit` with each line of the source (1-based number, text without its
// ending) until it returns false.
void ForEachLine(SourceFile& source,
                 const std::function<bool(std::int64_t, std::string_view)>& visit);

// "line 17: why", the form every table error takes.
[[noreturn]] void FailAtLine(std::int64_t line, const std::string& why);

enum class Separator { Tab, Comma, Semicolon, Space };

// The separator a table line uses: tab, else semicolon, else comma, else blanks.
// Semicolons win over commas so that tables written with decimal commas are
// cut where their author meant.
Separator DetectSeparator(std::string_view line);

// The fields of `line`. With Space, runs of blanks and tabs count as one
// separator and leading or trailing blanks make no field (MATLAB writes its
// columns so); the other separators give an empty field between two of them.
void SplitFields(std::string_view line, Separator separator, std::vector<std::string_view>& fields);

// The field without blanks around it and without one pair of double quotes.
std::string_view Unquoted(std::string_view field);

// Whether the line holds nothing but blanks and tabs.
bool IsBlank(std::string_view line);

// The field as a number: the whole field (blanks and quotes aside) must be one;
// nothing otherwise.
std::optional<double> FieldNumber(std::string_view field);

}  // namespace convora
