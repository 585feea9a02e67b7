// `ascii`, `atf`, `pti`, `dataq`: the four ASCII buttons of the window. The
// table settings of `ascii` are read once for the whole run, as a settings
// dialog keeps its fields; the other three read their layout from each file.

#include <memory>
#include <string>
#include <vector>

#include "AnswerOptions.h"
#include "Commands.h"
#include "ascii/AnyAscii.h"
#include "ascii/AxonText.h"
#include "ascii/DataqAscii.h"
#include "ascii/PtiAscii.h"

namespace convora::cli {
namespace {

struct AsciiCommand {
  AnswerOptions answers;
  std::vector<std::string> files;
  AsciiSeparator separator = AsciiSeparator::Detect;
  bool matlab = false;
  PtiTraces traces = PtiTraces::All;
};

using FileAction = std::function<void(Workbench&, const AsciiCommand&)>;

CLI::App* AddFileCommand(CLI::App& app, CommandContext& context, const std::string& name,
                         const std::string& description, std::shared_ptr<AsciiCommand> state,
                         FileAction action) {
  CLI::App* command = app.add_subcommand(name, description);
  command->add_option("FILE", state->files, "source files")->required();
  command->callback([state, &context, action] {
    auto bench = context.OpenWorkbench();
    if (!bench) return;
    context.Prompter().SetInputAnswers(state->answers.Given());
    context.ForEachFile(*bench, state->files, GoingOn([&](Workbench& b) { action(b, *state); }));
  });
  return command;
}

AsciiSettings ResolveSettings(const AsciiCommand& state, Prompter& prompter) {
  AsciiSettings settings;
  for (const AsciiSettingsField& field : kAsciiSettingsFields) {
    const std::string defaultValue = settings.*field.member;
    // Cancel keeps what the field held, as closing the dialog would.
    settings.*field.member =
        prompter.AskInput({field.key, field.caption, kAsciiSettingsTitle, defaultValue})
            .value_or(defaultValue);
  }
  settings.separator = state.separator;
  settings.matlab = state.matlab;
  return settings;
}

}  // namespace

void AddAsciiCommands(CLI::App& app, CommandContext& context) {
  auto table = std::make_shared<AsciiCommand>();
  // Resolved on the first file and kept for the rest, so each question is asked once.
  auto settings = std::make_shared<std::optional<AsciiSettings>>();
  CLI::App* ascii = AddFileCommand(
      app, context, "ascii", "Convert Any ASCII to ABF: chosen columns of a text table",
      table, [settings](Workbench& bench, const AsciiCommand& state) {
        if (!*settings) *settings = ResolveSettings(state, bench.Prompt());
        ConvertAnyAscii(bench, **settings);
      });
  const AsciiSettings defaults;
  for (const AsciiSettingsField& field : kAsciiSettingsFields) {
    table->answers.Add(*ascii, std::string(field.key),
                       std::string(field.caption) + " (default \"" + defaults.*field.member +
                           "\")");
  }
  const std::map<std::string, AsciiSeparator> separators{
      {"detect", AsciiSeparator::Detect}, {"tab", AsciiSeparator::Tab},
      {"comma", AsciiSeparator::Comma},   {"semicolon", AsciiSeparator::Semicolon},
      {"space", AsciiSeparator::Space}};
  ascii
      ->add_option("--separator", table->separator,
                    "detect (default), tab, comma, semicolon, space")
      ->transform(CLI::CheckedTransformer(separators, CLI::ignore_case));
  ascii->add_flag("--matlab", table->matlab,
                  "MATLAB ASCII export: blank-separated columns in exponent notation");

  auto atf = std::make_shared<AsciiCommand>();
  CLI::App* atfCommand = AddFileCommand(
      app, context, "atf", "Convert AIW ASCII to ABF: Axon Text Files (ATF)", atf,
      [](Workbench& bench, const AsciiCommand&) { ConvertAxonText(bench); });
  atf->answers.Add(*atfCommand, "interval",
                   "sample interval in microseconds, asked when there is no time column "
                   "(default 1000)");

  auto pti = std::make_shared<AsciiCommand>();
  CLI::App* ptiCommand = AddFileCommand(
      app, context, "pti", "Convert PTI ASCII to ABF: PTI fluorescence text exports", pti,
      [](Workbench& bench, const AsciiCommand& state) { ConvertPtiAscii(bench, state.traces); });
  ptiCommand
      ->add_option_function<std::string>(
          "--traces", [pti](const std::string& name) { pti->traces = *PtiTracesNamed(name); },
          "all (default), ratio, intensity")
      ->check([](const std::string& name) {
        return PtiTracesNamed(name) ? std::string() : "not one of all, ratio, intensity";
      });

  auto dataq = std::make_shared<AsciiCommand>();
  CLI::App* dataqCommand = AddFileCommand(
      app, context, "dataq", "Convert Dataq ASCII to ABF: spreadsheet-style Dataq text exports",
      dataq, [](Workbench& bench, const AsciiCommand&) { ConvertDataqAscii(bench); });
  dataq->answers.Add(*dataqCommand, "interval",
                     "sample interval in microseconds, asked when the file gives no sample "
                     "rate or time column (default 1000)");
}

}  // namespace convora::cli
