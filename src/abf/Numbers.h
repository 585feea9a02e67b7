#pragma once
// How numbers typed by users and stored in headers are read and narrowed.
// Every narrowing rounds halves to the even neighbour and reports, instead of
// wrapping, a value that does not fit.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace convora {

// The leading number of a text ("12.5 ms" gives 12.5, "abc" gives 0): blanks
// and tabs before it are skipped; a sign, digits, a decimal point and an
// exponent (e, E, d or D) are taken as far as they go.
double LeadingNumber(std::string_view text);

// The whole text as a number, blanks around it allowed; nothing when the text
// is empty or holds anything else.
std::optional<double> ParseWholeNumber(std::string_view text);

// Nearest integer, halves to even; nothing when out of range or not a number.
std::optional<std::int16_t> RoundToInt16(double value);
std::optional<std::int32_t> RoundToInt32(double value);

// A double stored into a 32-bit float field: nothing when a finite value lies
// beyond the float range.
std::optional<float> NarrowToSingle(double value);

// A float shown as the shortest text that reads back as the same float, so
// that accepting a shown default stores the very value it came from.
std::string FormatSingle(float value);

}  // namespace convora
