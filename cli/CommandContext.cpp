#include "CommandContext.h"

#include <ostream>

#include "abf/ConvoraError.h"
#include "abf/TemplateFile.h"

namespace convora::cli {

CommandContext::CommandContext(std::istream& in, std::ostream& out, std::ostream& err,
                               std::filesystem::path programFolder)
    : out_(out), err_(err), programFolder_(std::move(programFolder)),
      prompter_(in, err, StdinIsTerminal()) {}

std::filesystem::path SelectedPathFor(const std::string& argument) {
  return std::filesystem::absolute(std::filesystem::path(argument)).lexically_normal();
}

std::unique_ptr<Workbench> CommandContext::OpenWorkbench() {
  const std::filesystem::path path = templatePath.empty()
                                         ? programFolder_ / std::string(kTemplateFileName)
                                         : SelectedPathFor(templatePath);
  std::optional<AbfHeader> header;
  try {
    header = LoadTemplateHeader(path);
  } catch (const ConvoraError& e) {
    ReportError(path, e.what());
    exitCode = kExitNoTemplate;
    return nullptr;
  }
  if (!header) {
    prompter_.ShowMessage(kTemplateMissingTitle, kTemplateMissingMessage);
    exitCode = kExitNoTemplate;
    return nullptr;
  }
  auto bench = std::make_unique<Workbench>(*header, prompter_);
  bench->EachFromTemplate = eachFromTemplate;
  bench->List1.Observe([this](const std::filesystem::path& written) {
    out_ << written.string() << '\n' << std::flush;
  });
  return bench;
}

void CommandContext::ReportError(const std::filesystem::path& path, const std::string& why) {
  prompter_.ReportError(path, why);
  if (exitCode == kExitOk) exitCode = kExitFailure;
}

void CommandContext::ForEachFile(Workbench& bench, const std::vector<std::string>& files,
                                 const FileRunner::Action& process) {
  std::vector<std::filesystem::path> paths;
  for (const std::string& file : files) paths.push_back(SelectedPathFor(file));
  FileRunner runner(bench);
  runner.RunOnEach(paths, process);
  if ((runner.Failed() > 0 || runner.WithoutOutput() > 0) && exitCode == kExitOk) {
    exitCode = kExitFailure;
  }
}

}  // namespace convora::cli
