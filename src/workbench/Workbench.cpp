#include "workbench/Workbench.h"

#include <cmath>
#include <string>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"
#include "abf/PathText.h"

namespace convora {

void ConversionList::Add(const std::filesystem::path& written) {
  entries_.push_back(written);
  for (const auto& observer : observers_) observer(written);
}

Workbench::Workbench(const AbfHeader& templateHeader, Prompter& prompter, Clock clock)
    : TemplateHeader(templateHeader),
      LoadedTemplate(templateHeader),
      prompter_(prompter),
      clock_(std::move(clock)) {}

std::filesystem::path Workbench::OutputPathFor(std::string_view extension) {
  std::filesystem::path output = OutputNameFor(SelectedFilePath, extension);
  if (!OutputFolder.empty()) {
    output = OutputFolder / OutputNameFor(SelectedFilePath.filename(), extension);
    std::error_code ec;
    std::filesystem::create_directories(OutputFolder, ec);
    if (ec) {
      throw ConvoraError("cannot make the output folder " + PathText(OutputFolder) + " (" +
                         ec.message() + ")");
    }
  }
  std::error_code ec;
  if (NoOverwrite && std::filesystem::exists(output, ec)) {
    throw ConvoraError(PathText(output) + " exists already, and --no-overwrite keeps it");
  }
  const auto earlier = writtenFrom_.find(output);
  if (earlier != writtenFrom_.end() && earlier->second != SelectedFilePath) {
    prompter_.Notice(PathText(SelectedFilePath) + ": its output " + PathText(output) +
                     " was written from " + PathText(earlier->second) +
                     " earlier in this run and is now written over (the name is cut at the "
                     "first \".\")");
  }
  return output;
}

void Workbench::AddWritten(const std::filesystem::path& output) {
  writtenFrom_[output] = SelectedFilePath;
  List1.Add(output);
}

AbfHeader StampedTemplate(const Workbench& bench) {
  AbfHeader header = bench.TemplateHeader;
  StampStartDateTime(header, bench.Now());
  header.Set(abf::nAutosampleEnable, std::int16_t{0});
  header.Set(abf::fAutosampleAdditGain, 1.0f);
  return header;
}

std::filesystem::path WriteAbfOutput(Workbench& bench, const AbfHeader& header,
                                     const SampleProducer& produceSamples,
                                     std::string_view ending) {
  const auto output = bench.OutputPathFor(ending);
  WriteAbfFile(header, bench.SelectedFilePath, output, produceSamples);
  bench.TemplateHeader = header;
  bench.AddWritten(output);
  return output;
}

void TellCarriedChannelCount(Workbench& bench, const AbfHeader& header) {
  const std::int16_t channels = header.Get(abf::nADCNumChannels);
  if (channels == 1) return;
  bench.Prompt().Notice(PathText(bench.SelectedFilePath) + ": nADCNumChannels " +
                        std::to_string(channels) +
                        " is carried over from the template or an earlier conversion of this "
                        "run, but this file holds one channel, so readers misread it; convert "
                        "with --each-from-template (in the window: start every file from the "
                        "template) to start each file afresh");
}

double AskSampleInterval(Workbench& bench, IntervalRule rule) {
  const auto answer =
      bench.Prompt().AskInput({"interval", "Please enter the sample interval in microsecond",
                               "Input Sample Interval", "1000", true});
  if (!answer) throw ConvoraError("no sample interval was given");
  const auto interval = ParseWholeNumber(*answer);
  const bool positive = rule == IntervalRule::kPositive;
  if (!interval || !std::isfinite(*interval) || (positive && *interval <= 0.0)) {
    throw ConvoraError("the sample interval \"" + *answer + "\" is not a " +
                       (positive ? "positive number" : "number"));
  }
  return *interval;
}

}  // namespace convora
