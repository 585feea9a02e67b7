#pragma once
// The fields of the binary settings window as command-line options, shared by
// `binary`, `wav` and the unknown-format branch of `convert`.

#include <CLI/CLI.hpp>

#include "AnswerOptions.h"
#include "workbench/Prompter.h"
#include "generic/BinarySettings.h"

namespace convora::cli {

class BinaryOptions {
 public:
  // `acquisition` adds range, resolution, unit, scale and the two check boxes;
  // the WAV export uses only location, interval and channels.
  BinaryOptions(CLI::App& command, AnswerOptions& answers, bool acquisition);

  // The settings, each field asked through `prompter` (which answers from the
  // options given, the terminal or the field's default).
  BinarySettings Resolve(Prompter& prompter) const;

 private:
  bool acquisition_;
  bool swapBytes_ = false;
  bool floatingPoint_ = false;
};

}  // namespace convora::cli
