#include "BinaryOptions.h"

#include <string_view>

namespace convora::cli {
namespace {

struct Field {
  const char* key;
  const char* caption;  // the settings window's label
  std::string BinarySettings::*member;
  bool acquisition;  // not used by the WAV export
};

// clang-format off
constexpr Field kFields[] = {
    {"byte-offset", "Byte location of data block",         &BinarySettings::byteLocation,   false},
    {"interval",    "Sampling Interval (in micro second)", &BinarySettings::sampleInterval, false},
    {"range",       "ADC Voltage Range (Volts)",           &BinarySettings::adcRange,       true},
    {"resolution",  "ADC Resolution (12 bit=2048)",        &BinarySettings::adcResolution,  true},
    {"unit",        "Unit (pA or mV)",                     &BinarySettings::unit,           true},
    {"scale",       "Scaling Factor (Volts/Unit)",         &BinarySettings::scaleFactor,    true},
    {"channels",    "Number of ADC channels",              &BinarySettings::channels,       false},
};
// clang-format on

constexpr std::string_view kSettingsTitle = "Binary File Conversion Setup";

}  // namespace

BinaryOptions::BinaryOptions(CLI::App& command, AnswerOptions& answers, bool acquisition)
    : acquisition_(acquisition) {
  const BinarySettings defaults;
  for (const Field& field : kFields) {
    if (field.acquisition && !acquisition) continue;
    answers.Add(command, field.key,
                std::string(field.caption) + " (default \"" + defaults.*field.member + "\")");
  }
  if (acquisition) {
    command.add_flag("--swap", swapBytes_, "Needs byte swapping for Mac files and Labview files.");
    command.add_flag("--float", floatingPoint_, "Floating-point (32 bit) data array");
  }
}

BinarySettings BinaryOptions::Resolve(Prompter& prompter) const {
  BinarySettings settings;
  for (const Field& field : kFields) {
    if (field.acquisition && !acquisition_) continue;
    const std::string defaultValue = settings.*field.member;
    // Cancel keeps what the field held, as closing the window would.
    settings.*field.member =
        prompter.AskInput({field.key, field.caption, kSettingsTitle, defaultValue})
            .value_or(defaultValue);
  }
  settings.swapBytes = swapBytes_;
  settings.floatingPoint = floatingPoint_;
  return settings;
}

}  // namespace convora::cli
