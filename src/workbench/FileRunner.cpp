#include "workbench/FileRunner.h"

#include <exception>
#include <string>
#include <system_error>

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
  std::vector<std::uintmax_t> sizes;
  std::uintmax_t total = 0;
  for (const std::filesystem::path& file : files) {
    std::error_code ec;
    const std::uintmax_t size = std::filesystem::file_size(file, ec);
    sizes.push_back(ec ? 0 : size);
    total += sizes.back();
  }
  std::uintmax_t done = 0;
  bool stopped = false;
  for (std::size_t k = 0; k < files.size(); ++k) {
    if (stopped) {
      bench_.Prompt().Notice(PathText(files[k]) +
                             ": not processed, the run ended at an earlier file");
      continue;
    }
    if (cancel_ != nullptr && cancel_->load()) {
      std::string undone;
      for (std::size_t rest = k; rest < files.size(); ++rest) {
        undone += (undone.empty() ? "" : ", ") + PathText(files[rest]);
      }
      bench_.Prompt().Notice(undone + ": not processed, the run was cancelled");
      return;
    }
    if (observer_) observer_({files[k], k + 1, files.size(), false, done, total});
    stopped = RunOn(files[k], action) == AfterFile::kStopTool;
    done += sizes[k];
    if (observer_) observer_({files[k], k + 1, files.size(), true, done, total});
  }
}

}  // namespace convora
