#include "workbench/FileRunner.h"

#include <exception>
#include <string>

#include "abf/ConvoraError.h"
#include "abf/PathText.h"

namespace convora {

bool FileRunner::Guarded(const std::filesystem::path& subject,
                         const std::function<void()>& operation) {
  try {
    operation();
    return true;
  } catch (const ConvoraError& e) {
    bench_.Prompt().ReportError(subject, e.what());
  } catch (const std::exception& e) {
    bench_.Prompt().ReportError(subject, std::string("unexpected failure: ") + e.what());
  }
  ++failed_;
  return false;
}

AfterFile FileRunner::RunOn(const std::filesystem::path& file, const Action& action) {
  bench_.SelectedFilePath = file;
  if (bench_.EachFromTemplate) bench_.TemplateHeader = bench_.LoadedTemplate;
  const std::size_t listedBefore = bench_.List1.Entries().size();
  AfterFile after = AfterFile::kGoOn;
  if (Guarded(file, [&] { after = action(bench_); }) &&
      bench_.List1.Entries().size() == listedBefore) {
    ++withoutOutput_;
  }
  return after;
}

void FileRunner::RunOnEach(const std::vector<std::filesystem::path>& files, const Action& action) {
  const ArrowAtEnd arrow(bench_.Prompt());
  bool stopped = false;
  for (const std::filesystem::path& file : files) {
    if (stopped) {
      bench_.Prompt().Notice(PathText(file) + ": not processed, the run ended at an earlier file");
      continue;
    }
    stopped = RunOn(file, action) == AfterFile::kStopTool;
  }
}

}  // namespace convora
