#include "CommandContext.h"

#include <algorithm>
#include <map>
#include <ostream>

#include "ProgressLine.h"
#include "abf/ConvoraError.h"
#include "abf/PathText.h"
#include "abf/TemplateFile.h"

namespace convora::cli {

CommandContext::CommandContext(std::istream& in, std::ostream& out, std::ostream& err,
                               std::filesystem::path programFolder)
    : out_(out), err_(err), programFolder_(std::move(programFolder)),
      prompter_(in, err, StdinIsTerminal()) {}

std::filesystem::path SelectedPathFor(const std::string& argument) {
  return std::filesystem::absolute(PathOfText(argument)).lexically_normal();
}

std::unique_ptr<Workbench> CommandContext::OpenWorkbench() {
  const std::filesystem::path path = templatePath.empty()
                                         ? TemplatePathFor(programFolder_)
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
    prompter_.MakeRoom();
    out_ << PathText(written) << '\n' << std::flush;
  });
  return bench;
}

void CommandContext::ReportError(const std::filesystem::path& path, const std::string& why) {
  prompter_.ReportError(path, why);
  if (exitCode == kExitOk) exitCode = kExitFailure;
}

std::vector<SelectedFile> FilesOf(const std::vector<std::string>& arguments, bool recursive) {
  std::vector<SelectedFile> files;
  const std::function<void(const std::filesystem::path&, const std::filesystem::path&)> addFolder =
      [&](const std::filesystem::path& folder, const std::filesystem::path& root) {
        std::vector<std::filesystem::path> entries;
        std::error_code ec;
        for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
          entries.push_back(entry.path());
        }
        std::sort(entries.begin(), entries.end());
        std::vector<std::filesystem::path> subfolders;
        for (const auto& entry : entries) {
          if (std::filesystem::is_directory(entry, ec)) {
            subfolders.push_back(entry);
          } else if (std::filesystem::is_regular_file(entry, ec)) {
            files.push_back({entry, root});
          }
        }
        if (!recursive) return;
        for (const auto& subfolder : subfolders) addFolder(subfolder, root);
      };
  for (const std::string& argument : arguments) {
    const std::filesystem::path path = SelectedPathFor(argument);
    std::error_code ec;
    const std::size_t before = files.size();
    if (std::filesystem::is_directory(path, ec)) addFolder(path, path);
    // A folder with no files stands for itself, and is reported as no file.
    if (files.size() == before) {
      files.push_back({path, path.parent_path()});
    }
  }
  return files;
}

void CommandContext::ForEachFile(Workbench& bench, const std::vector<std::string>& files,
                                 const FileRunner::Action& process) {
  const std::vector<SelectedFile> selected = FilesOf(files, recursive);
  std::vector<std::filesystem::path> paths;
  std::map<std::filesystem::path, std::filesystem::path> outputFolders;
  for (const SelectedFile& file : selected) {
    paths.push_back(file.path);
    if (!outputDir.empty()) {
      outputFolders[file.path] =
          (SelectedPathFor(outputDir) / file.path.parent_path().lexically_relative(file.root))
              .lexically_normal();
    }
  }
  bench.NoOverwrite = noOverwrite;
  ProgressLine progress(err_, StderrIsTerminal(), paths.size());
  prompter_.BeforeWriting([&progress] { progress.Clear(); });
  std::size_t index = 0;
  FileRunner runner(bench);
  runner.RunOnEach(paths, [&](Workbench& b) {
    progress.Starting(index++, b.SelectedFilePath);
    if (!outputDir.empty()) b.OutputFolder = outputFolders[b.SelectedFilePath];
    return process(b);
  });
  prompter_.BeforeWriting(nullptr);
  if ((runner.Failed() > 0 || runner.WithoutOutput() > 0) && exitCode == kExitOk) {
    exitCode = kExitFailure;
  }
}

}  // namespace convora::cli
