#include "app/Workbench.h"

#include <cmath>
#include <string>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"

namespace convora {

void ConversionList::Add(const std::filesystem::path& written) {
  entries_.push_back(written);
  for (const auto& observer : observers_) observer(written);
}

Workbench::Workbench(const AbfHeader& templateHeader, Prompter& prompter, Clock clock)
    : TemplateHeader(templateHeader), prompter_(prompter), clock_(std::move(clock)) {}

void StampTemplate(Workbench& bench) {
  StampStartDateTime(bench.TemplateHeader, bench.Now());
  bench.TemplateHeader.Set(abf::nAutosampleEnable, std::int16_t{0});
  bench.TemplateHeader.Set(abf::fAutosampleAdditGain, 1.0f);
}

std::filesystem::path WriteAbfOutput(Workbench& bench, const SampleProducer& produceSamples) {
  const auto output = OutputNameFor(bench.SelectedFilePath);
  WriteAbfFile(bench.TemplateHeader, bench.SelectedFilePath, output, produceSamples);
  bench.List1.Add(output);
  return output;
}

double AskSampleInterval(Workbench& bench, IntervalRule rule) {
  const auto answer = bench.Prompt().AskInput({"interval",
                                                "Please enter the sample interval in microsecond",
                                                "Input Sample Interval", "1000"});
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
