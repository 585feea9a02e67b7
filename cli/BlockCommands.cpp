// `binary` and `wav`: the two buttons of the binary settings window. Both
// read their settings once for the whole run, as the window keeps its fields,
// and then process every FILE.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "BinaryOptions.h"
#include "Commands.h"
#include "generic/UnknownBinary.h"
#include "generic/WavExport.h"

namespace convora::cli {
namespace {

using BlockAction = std::function<void(Workbench&, const BinarySettings&)>;

struct BlockCommand {
  AnswerOptions answers;
  std::unique_ptr<BinaryOptions> settings;
  std::vector<std::string> files;
};

void AddBlockCommand(CLI::App& app, CommandContext& context, const std::string& name,
                     const std::string& description, bool acquisition, BlockAction action) {
  auto state = std::make_shared<BlockCommand>();
  CLI::App* command = app.add_subcommand(name, description);
  state->settings = std::make_unique<BinaryOptions>(*command, state->answers, acquisition);
  command->add_option("FILE", state->files, "source files")->required();
  command->callback([state, &context, action] {
    auto bench = context.OpenWorkbench();
    if (!bench) return;
    context.Prompter().SetInputAnswers(state->answers.Given());
    const BinarySettings settings = state->settings->Resolve(context.Prompter());
    context.ForEachFile(*bench, state->files, GoingOn([&](Workbench& b) { action(b, settings); }));
  });
}

}  // namespace

void AddBinaryCommand(CLI::App& app, CommandContext& context) {
  AddBlockCommand(app, context, "binary",
                  "Convert Unknown Binary to ABF: every FILE, from the byte location to its end",
                  true, ConvertUnknownBinary);
}

void AddWavCommand(CLI::App& app, CommandContext& context) {
  AddBlockCommand(app, context, "wav",
                  "Convert to Wav: the data block of every FILE as 16-bit PCM", false,
                  ConvertToWav);
}

}  // namespace convora::cli
