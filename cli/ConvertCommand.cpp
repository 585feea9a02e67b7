// `convert`: "Convert Known File to ABF". Each FILE is recognised by its
// contents and handed to every converter whose signature it carries; a file
// that matches none can go on to the unknown binary conversion.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "BinaryOptions.h"
#include "Commands.h"
#include "app/KnownFileDispatch.h"
#include "generic/UnknownBinary.h"

namespace convora::cli {
namespace {

struct ConvertCommand {
  AnswerOptions answers;
  std::unique_ptr<BinaryOptions> binary;
  std::string unknown;  // "yes", "no", or empty when not given
  bool skipRejected = false;
  std::vector<std::string> files;
};

void RunConvert(ConvertCommand& state, CommandContext& context) {
  auto bench = context.OpenWorkbench();
  if (!bench) return;
  bench->SkipRejected = state.skipRejected;
  TerminalPrompter& prompter = context.Prompter();
  // --interval answers the converters' sample-interval questions as well as
  // being the binary settings' interval: both are asked under one key.
  prompter.SetInputAnswers(state.answers.Given());
  if (!state.unknown.empty()) prompter.SetChoice("unknown", state.unknown == "yes");

  // The binary settings are asked only once a file needs them, then kept for
  // the rest of the run, as the settings window keeps its fields.
  std::optional<BinarySettings> settings;
  const auto convertUnknown = [&](Workbench& b) {
    if (!settings) settings = state.binary->Resolve(prompter);
    ConvertUnknownBinary(b, *settings);
  };
  context.ForEachFile(*bench, state.files,
                      GoingOn([&](Workbench& b) { ConvertKnownFile(b, convertUnknown); }));
}

}  // namespace

void AddConvertCommand(CLI::App& app, CommandContext& context) {
  auto state = std::make_shared<ConvertCommand>();
  CLI::App* command = app.add_subcommand(
      "convert", "Convert Known File to ABF: recognise each FILE's format and convert it");
  state->binary = std::make_unique<BinaryOptions>(*command, state->answers, true);
  state->answers.Add(*command, "variable",
                     "the variable of a MAT-file to convert, where it holds several recordings "
                     "(default: the one the rules choose)");
  command
      ->add_option("--unknown", state->unknown,
                   "answer to \"proceed with unknown binary file conversion?\" for files of no "
                   "known format (default: ask on a terminal, else no)")
      ->check(CLI::IsMember({"yes", "no"}));
  command->add_flag("--skip-rejected", state->skipRejected,
                    "leave out the records a file marks REJECTED (WinWCP) instead of converting "
                    "them with the rest");
  command->add_option("FILE", state->files, "source files")->required();
  command->callback([state, &context] { RunConvert(*state, context); });
}

}  // namespace convora::cli
