#include "BinaryOptions.h"

#include <string>

#include "generic/BinarySettingsFields.h"

namespace convora::cli {

BinaryOptions::BinaryOptions(CLI::App& command, AnswerOptions& answers, bool acquisition)
    : acquisition_(acquisition) {
  const BinarySettings defaults;
  for (const BinarySettingsField& field : kBinarySettingsFields) {
    if (field.acquisition && !acquisition) continue;
    answers.Add(command, std::string(field.key),
                std::string(field.caption) + " (default \"" + defaults.*field.member + "\")");
  }
  if (acquisition) {
    command.add_flag("--swap", swapBytes_, std::string(kSwapBytesCaption));
    command.add_flag("--float", floatingPoint_, std::string(kFloatingPointCaption));
  }
}

BinarySettings BinaryOptions::Resolve(Prompter& prompter) const {
  BinarySettings settings;
  for (const BinarySettingsField& field : kBinarySettingsFields) {
    if (field.acquisition && !acquisition_) continue;
    const std::string defaultValue = settings.*field.member;
    // Cancel keeps what the field held, as closing the window would.
    settings.*field.member =
        prompter.AskInput({field.key, field.caption, kBinarySettingsTitle, defaultValue,
                           field.key != "unit"})
            .value_or(defaultValue);
  }
  settings.swapBytes = swapBytes_;
  settings.floatingPoint = floatingPoint_;
  return settings;
}

}  // namespace convora::cli
