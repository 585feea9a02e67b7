#pragma once
// The state one run of a front end works on: the template record that every
// conversion patches, the header of the file in hand, the file being
// processed, the list of files written, and the way to reach the user.

#include <filesystem>
#include <functional>
#include <map>
#include <string_view>
#include <vector>

#include "abf/AbfHeader.h"
#include "abf/AbfOutput.h"
#include "abf/StartDateTime.h"
#include "workbench/Prompter.h"

namespace convora {

// The files written so far, in order; observers hear of each as it is added.
class ConversionList {
 public:
  using Observer = std::function<void(const std::filesystem::path&)>;

  void Add(const std::filesystem::path& written);
  void Observe(Observer observer) { observers_.push_back(std::move(observer)); }
  const std::vector<std::filesystem::path>& Entries() const { return entries_; }

 private:
  std::vector<std::filesystem::path> entries_;
  std::vector<Observer> observers_;
};

class Workbench {
 public:
  using Clock = std::function<LocalDateTime()>;

  Workbench(const AbfHeader& templateHeader, Prompter& prompter,
            Clock clock = CurrentLocalDateTime);

  // Loaded once and never reset: a field one conversion sets stays set for the
  // next conversion of the run unless that one sets it again.
  AbfHeader TemplateHeader;
  // The template as loaded, and whether every file starts from it instead
  // (nothing then carries over from one conversion to the next).
  const AbfHeader LoadedTemplate;
  bool EachFromTemplate = false;
  // The first 6144 bytes of the file being examined or edited.
  AbfHeader WorkHeader;
  // Absolute path of the file being processed.
  std::filesystem::path SelectedFilePath;
  // The "Successful Conversion" list.
  ConversionList List1;
  // Where outputs go: beside their source when empty, else into this folder
  // (made when needed) under the file name part of the output name.
  std::filesystem::path OutputFolder;
  // Refuse to write over an existing file instead of writing over it.
  bool NoOverwrite = false;
  // Leave out the records a source marks as rejected instead of converting
  // them with the rest.
  bool SkipRejected = false;

  // The path of the selected file's output of that extension, as above.
  // Throws ConvoraError for an existing file when NoOverwrite is set; tells
  // the user when another source of this run was written there already.
  std::filesystem::path OutputPathFor(std::string_view extension = ".ABF");
  // Records that `output` was written from the selected file and lists it.
  void AddWritten(const std::filesystem::path& output);

  Prompter& Prompt() { return prompter_; }
  LocalDateTime Now() const { return clock_(); }

 private:
  Prompter& prompter_;
  Clock clock_;
  std::map<std::filesystem::path, std::filesystem::path> writtenFrom_;  // output -> source
};

// What every conversion starts from: a copy of TemplateHeader with the start
// date and time stamped and autosampling off. The conversion patches the copy.
AbfHeader StampedTemplate(const Workbench& bench);

// The end of every conversion: writes `header` and the samples to the
// selected file's output (OutputPathFor(ending)). Only once the file is written does `header`
// become TemplateHeader, for the next conversion of the run to start from,
// and the file join List1: a file refused or failed on the way leaves the
// template as it was.
std::filesystem::path WriteAbfOutput(Workbench& bench, const AbfHeader& header,
                                     const SampleProducer& produceSamples,
                                     std::string_view ending = ".ABF");

// For the converters that write one channel and leave the channel count as
// the run has it: after the file is written, tells the user when that count,
// carried over from an earlier conversion, is not 1, since readers then
// misread the file.
void TellCarriedChannelCount(Workbench& bench, const AbfHeader& header);

// What a sample interval typed by the user may be.
enum class IntervalRule { kAnyNumber, kPositive };

// The sample interval in microseconds, asked with the usual question; the
// answer must be a finite number as a whole, and one the rule allows. Throws
// when it is not or when no answer is given.
double AskSampleInterval(Workbench& bench, IntervalRule rule);

}  // namespace convora
