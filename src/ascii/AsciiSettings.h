#pragma once
// The fields of the ASCII table settings, as the user typed them. Numbers are
// read leniently when a conversion uses them (the leading number of the text,
// 0 when there is none), as the binary settings are.

#include <string>
#include <string_view>

namespace convora {

enum class AsciiSeparator { Detect, Tab, Comma, Semicolon, Space };

struct AsciiSettings {
  std::string columns = "1";           // counted from 1: "2", "2,3", "2-4"; each a channel
  std::string headerLines = "0";       // lines skipped before the table
  std::string factor = "1";            // every value is multiplied by it
  std::string timeColumn = "0";        // column of times giving the interval; 0 for none
  std::string timeUnit = "s";          // of the time column: s, ms or us
  std::string sampleInterval = "100";  // microseconds between rows, without a time column
  std::string unit = "pA";
  AsciiSeparator separator = AsciiSeparator::Detect;
  // MATLAB "save -ascii" files: columns separated by runs of blanks, numbers in
  // exponent notation; overrides the separator.
  bool matlab = false;
};

inline constexpr std::string_view kAsciiSettingsTitle = "ASCII File Conversion Setup";

// The text fields with the captions a settings dialog shows and the keys the
// command line answers them by, in dialog order.
struct AsciiSettingsField {
  std::string_view key;
  std::string_view caption;
  std::string AsciiSettings::*member;
};

// clang-format off
inline constexpr AsciiSettingsField kAsciiSettingsFields[] = {
    {"columns",      "Columns to convert (1, 2-4, ...)",        &AsciiSettings::columns},
    {"header-lines", "Header lines to skip",                    &AsciiSettings::headerLines},
    {"factor",       "Multiplication factor",                   &AsciiSettings::factor},
    {"time-column",  "Time column (0 for none)",                &AsciiSettings::timeColumn},
    {"time-unit",    "Unit of the time column (s, ms, us)",     &AsciiSettings::timeUnit},
    {"interval",     "Sampling Interval (in micro second)",     &AsciiSettings::sampleInterval},
    {"unit",         "Unit (pA or mV)",                         &AsciiSettings::unit},
};
// clang-format on

}  // namespace convora
