// `merge`: FILEs in merge order, as dropped on the merge list one by one (a
// file that is not ABF is refused there), then "Merge Files".

#include <memory>
#include <string>
#include <vector>

#include "AnswerOptions.h"
#include "Commands.h"
#include "abf/ConvoraError.h"
#include "tools/AbfTools.h"

namespace convora::cli {
namespace {

struct MergeCommand {
  AnswerOptions answers;
  std::string folder;
  bool proceed = false;
  std::vector<std::string> files;
};

void RunMerge(MergeCommand& state, CommandContext& context) {
  auto bench = context.OpenWorkbench();
  if (!bench) return;
  TerminalPrompter& prompter = context.Prompter();
  prompter.SetInputAnswers(state.answers.Given());
  if (state.proceed) prompter.SetChoice("proceed", true);

  std::vector<std::filesystem::path> mergeList;
  for (const std::string& file : state.files) {
    const std::filesystem::path path = SelectedPathFor(file);
    try {
      if (!AddToMergeList(*bench, mergeList, path)) context.exitCode = kExitFailure;
    } catch (const ConvoraError& e) {
      context.ReportError(path, e.what());
    }
  }
  if (mergeList.size() < 2) {
    prompter.Notice("merging needs at least two ABF files; nothing was written");
    context.exitCode = kExitFailure;
    return;
  }
  const std::filesystem::path folder = SelectedPathFor(state.folder.empty() ? "." : state.folder);
  try {
    MergeAbfFiles(*bench, mergeList, folder);
    if (bench->List1.Entries().empty()) context.exitCode = kExitFailure;  // cancelled
  } catch (const ConvoraError& e) {
    context.ReportError(folder, e.what());
  }
}

}  // namespace

void AddMergeCommand(CLI::App& app, CommandContext& context) {
  auto state = std::make_shared<MergeCommand>();
  CLI::App* command = app.add_subcommand(
      "merge", "Merge Files: the samples of every FILE appended to a copy of the first");
  state->answers.Add(*command, "name",
                     "name of the merged file, without extension (default ABFMerge)");
  command->add_option("--dir", state->folder,
                      "folder the merged file is written to (default: the current folder)");
  command->add_flag("--yes", state->proceed,
                    "OK to the warning that the first file's parameters are used for all");
  command->add_option("FILE", state->files, "ABF files in merge order")->required();
  command->callback([state, &context] { RunMerge(*state, context); });
}

}  // namespace convora::cli
