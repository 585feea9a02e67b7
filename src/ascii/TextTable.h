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
#include "abf/TextLines.h"

namespace convora {

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
