#pragma once
// Reading text tables: lines streamed from a source in bounded chunks, fields
// cut at a separator, numbers and column titles taken from the fields. Every
// complaint about a line names it by its 1-based number.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "abf/FileIo.h"

namespace convora {

// Longest line a table may hold; a longer one is refused rather than buffered.
inline constexpr std::size_t kMaxLineChars = 1 << 20;

// Calls `visit` with each line of the source (1-based number, text without its
// ending) until it returns false. A line ends at LF, CR+LF or a lone CR (old
// Macintosh exports); the last line needs no ending.
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

// A column title "Name (unit)" cut into its name and the text inside its last
// pair of parentheses (or square brackets); no unit when there is none.
struct ColumnTitle {
  std::string name;
  std::string unit;
};
ColumnTitle ParseColumnTitle(std::string_view title);

// The lower-case copy of an ASCII text.
std::string LowerCase(std::string_view text);

// The first number written anywhere in `text` ("Sample rate: 250 Hz" gives 250).
std::optional<double> FirstNumberIn(std::string_view text);

// How values of a column in `unit` are stored: amperes as picoamperes, volts
// ("V", "Volts") as millivolts, any other unit as it is (cut to 8 characters
// by the header field).
struct StoredUnit {
  std::string unit;
  double factor;
};
StoredUnit StoredUnitFor(std::string_view unit);

}  // namespace convora
