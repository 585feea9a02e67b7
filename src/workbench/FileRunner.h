#pragma once
// How every front end works through a selection of files: one file at a time
// as bench.SelectedFilePath, a failure reported as "PATH: WHY" with nothing
// written for that file and the next one taken, and the busy pointer back to
// the arrow at the end.

#include <cstddef>
#include <filesystem>
#include <functional>
#include <vector>

#include "workbench/Workbench.h"

namespace convora {

// Whether the rest of the selection is still to be processed: the filter ends
// the whole run on a frequency it cannot use.
enum class AfterFile { kGoOn, kStopTool };

class FileRunner {
 public:
  using Action = std::function<AfterFile(Workbench&)>;

  explicit FileRunner(Workbench& bench) : bench_(bench) {}

  // Runs `action` on `file` as the selected file, from the template as loaded
  // when the bench says every file starts from it. A failure (ConvoraError, or
  // anything else the standard library throws) is reported and counted.
  AfterFile RunOn(const std::filesystem::path& file, const Action& action);
  // The same for each file in order, until one stops the run; the files after
  // it are named in a notice and left alone. Ends with the arrow pointer.
  void RunOnEach(const std::vector<std::filesystem::path>& files, const Action& action);
  // Runs a whole operation that concerns `subject` (a folder, say) under the
  // same error policy; returns whether it ended without a failure.
  bool Guarded(const std::filesystem::path& subject, const std::function<void()>& operation);

  // Files that ended in an error, and files that ended without one but added
  // nothing to List1 (refused, declined or left alone).
  std::size_t Failed() const { return failed_; }
  std::size_t WithoutOutput() const { return withoutOutput_; }

 private:
  Workbench& bench_;
  std::size_t failed_ = 0;
  std::size_t withoutOutput_ = 0;
};

// An action for a step that never stops the run.
template <typename Step>
FileRunner::Action GoingOn(Step step) {
  return [step](Workbench& bench) {
    step(bench);
    return AfterFile::kGoOn;
  };
}

}  // namespace convora
