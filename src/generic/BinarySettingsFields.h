#pragma once
// The text fields of the binary settings window, with the captions the window
// shows and the keys the command line answers them by. The window and the
// command line both fill a BinarySettings through this one table.

#include <string>
#include <string_view>

#include "generic/BinarySettings.h"

namespace convora {

inline constexpr std::string_view kBinarySettingsTitle = "Binary File Conversion Setup";

struct BinarySettingsField {
  std::string_view key;      // command-line option and question key
  std::string_view caption;  // the settings window's label
  std::string BinarySettings::*member;
  bool acquisition;  // not used by the WAV export
};

// In the order of the settings window.
// clang-format off
inline constexpr BinarySettingsField kBinarySettingsFields[] = {
    {"byte-offset", "Byte location of data block",         &BinarySettings::byteLocation,   false},
    {"interval",    "Sampling Interval (in micro second)", &BinarySettings::sampleInterval, false},
    {"range",       "ADC Voltage Range (Volts)",           &BinarySettings::adcRange,       true},
    {"resolution",  "ADC Resolution (12 bit=2048)",        &BinarySettings::adcResolution,  true},
    {"unit",        "Unit (pA or mV)",                     &BinarySettings::unit,           true},
    {"scale",       "Scaling Factor (Volts/Unit)",         &BinarySettings::scaleFactor,    true},
    {"channels",    "Number of ADC channels",              &BinarySettings::channels,       false},
};
// clang-format on

inline constexpr std::string_view kSwapBytesCaption =
    "Needs byte swapping for Mac files and Labview files.";
inline constexpr std::string_view kFloatingPointCaption = "Floating-point (32 bit) data array";

}  // namespace convora
