#include "CommandContext.h"

#include <exception>
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
  bench->List1.Observe([this](const std::filesystem::path& written) {
    out_ << written.string() << '\n' << std::flush;
  });
  return bench;
}

void CommandContext::ReportError(const std::filesystem::path& path, const std::string& why) {
  err_ << "error: " << OneLine(path.string()) << ": " << OneLine(why) << '\n' << std::flush;
  if (exitCode == kExitOk) exitCode = kExitFailure;
}

void CommandContext::ForEachFile(Workbench& bench, const std::vector<std::string>& files,
                                 const std::function<void(Workbench&)>& process) {
  ForEachFileUntilStopped(bench, files, [&](Workbench& b) {
    process(b);
    return true;
  });
}

void CommandContext::ForEachFileUntilStopped(Workbench& bench,
                                             const std::vector<std::string>& files,
                                             const std::function<bool(Workbench&)>& process) {
  bool stopped = false;
  for (const std::string& file : files) {
    bench.SelectedFilePath = SelectedPathFor(file);
    if (stopped) {
      prompter_.Notice(bench.SelectedFilePath.string() +
                       ": not processed, the run ended at an earlier file");
      continue;
    }
    const std::size_t listedBefore = bench.List1.Entries().size();
    try {
      stopped = !process(bench);
      if (bench.List1.Entries().size() == listedBefore && exitCode == kExitOk) {
        exitCode = kExitFailure;  // refused or declined: nothing written
      }
    } catch (const ConvoraError& e) {
      ReportError(bench.SelectedFilePath, e.what());
    } catch (const std::exception& e) {
      ReportError(bench.SelectedFilePath, std::string("unexpected failure: ") + e.what());
    }
  }
}

}  // namespace convora::cli
