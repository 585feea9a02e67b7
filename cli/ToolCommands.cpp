// `set-unit`, `filter`, `downscale`, `set-interval`: the buttons that edit
// each selected ABF file. Their options answer the tool's input boxes; a
// question without its option is asked on a terminal or takes its default.

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "AnswerOptions.h"
#include "Commands.h"
#include "tools/AbfTools.h"

namespace convora::cli {
namespace {

struct ToolCommand {
  AnswerOptions answers;
  std::vector<std::string> files;
};

using Answer = std::pair<std::string, std::string>;  // key, description
using Tool = FileRunner::Action;

void AddToolCommand(CLI::App& app, CommandContext& context, const std::string& name,
                    const std::string& description, const std::vector<Answer>& answers,
                    Tool tool) {
  auto state = std::make_shared<ToolCommand>();
  CLI::App* command = app.add_subcommand(name, description);
  for (const auto& [key, text] : answers) state->answers.Add(*command, key, text);
  command->add_option("FILE", state->files, "ABF files to edit")->required();
  command->callback([state, &context, tool] {
    auto bench = context.OpenWorkbench();
    if (!bench) return;
    context.Prompter().SetInputAnswers(state->answers.Given());
    context.ForEachFile(*bench, state->files, tool);
  });
}

}  // namespace

void AddToolCommands(CLI::App& app, CommandContext& context) {
  AddToolCommand(app, context, "set-unit",
                 "Change Unit of ABF File: one channel's unit and scale factor, in place",
                 {{"channel", "channel number, counted from 1 in sampling order (default 1)"},
                  {"unit", "new unit text, up to 8 characters (default: the current one)"},
                  {"scale", "new instrument scale factor (default: the current one)"}},
                 GoingOn(ChangeUnitAndScaleFactor));
  AddToolCommand(app, context, "filter",
                 "Gaussian Filter: a low-passed copy of each one-channel FILE beside it",
                 {{"pre", "pre-filter frequency in kHz (default: the header's)"},
                  {"new", "new filter frequency in kHz (default 1)"},
                  {"channel", "channel number asked for multi-channel files (default 1)"}},
                 FilterAbfFile);
  AddToolCommand(app, context, "downscale",
                 "Down-scale ABF File: peaks of every channel to half of full scale",
                 {{"output", "path of the rescaled file (default: the source itself)"}},
                 GoingOn(DownscaleAbfFile));
  AddToolCommand(app, context, "set-interval",
                 "Change Sample Interval: fADCSampleInterval, in place",
                 {{"interval", "new sample interval in microseconds (default: the current one)"}},
                 GoingOn(ChangeSampleInterval));
}

}  // namespace convora::cli
