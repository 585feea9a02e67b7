#pragma once
// How every front end works through a selection of files: one file at a time
// as bench.SelectedFilePath, a failure reported as "PATH: WHY" with nothing
// written for that file and the next one taken, and the busy pointer back to
// the arrow at the end.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

#include "workbench/Workbench.h"

namespace convora {

// Whether the rest of the selection is still to be processed: the filter ends
// the whole run on a frequency it cannot use.
enum class AfterFile { kGoOn, kStopTool };

// Where a run over several files stands: file `number` of `count` starts or
// has ended; the bytes are the sizes of the files ended so far and of them all.
struct FileStep {
  const std::filesystem::path& file;
  std::size_t number;  // from 1
  std::size_t count;
  bool ended;
  std::uintmax_t bytesDone;
  std::uintmax_t bytesTotal;
};

class FileRunner {
 public:
  using Action = std::function<AfterFile(Workbench&)>;
  using StepObserver = std::function<void(const FileStep&)>;

  // `observer` hears of every file of RunOnEach as it starts and ends; once
  // `cancel` is set, RunOnEach takes no further file (the one in hand is
  // finished, so every output is whole or absent).
  explicit FileRunner(Workbench& bench, StepObserver observer = {},
                      const std::atomic<bool>* cancel = nullptr)
      : bench_(bench), observer_(std::move(observer)), cancel_(cancel) {}

  // Runs `action` on `file` as the selected file, from the template as loaded
  // when the bench says every file starts from it. A failure (ConvoraError, or
  // anything else the standard library throws) is reported and counted.
  AfterFile RunOn(const std::filesystem::path& file, const Action& action);
  // The same for each file in order, until one stops the run; the files after
  // it are named in a notice each and left alone. The files a cancel leaves
  // undone are named together in one notice. Ends with the arrow pointer.
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
  StepObserver observer_;
  const std::atomic<bool>* cancel_;
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
