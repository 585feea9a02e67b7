// "Gaussian Filter": a low-passed copy of a one-channel recording, written
// beside it with the source's header unchanged.

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "abf/AbfOutput.h"
#include "abf/ConvoraError.h"
#include "abf/FileIo.h"
#include "abf/GaussianFilter.h"
#include "abf/Numbers.h"
#include "abf/PathText.h"
#include "abf/ReplacementFile.h"
#include "tools/AbfTools.h"
#include "tools/ToolSteps.h"

namespace convora {
namespace {

constexpr std::int64_t kChunkSamples = 1 << 20;

double FrequencyOf(const std::string& text, std::string_view what) {
  const std::optional<double> value = ParseWholeNumber(text);
  if (!value) throw ConvoraError("the " + std::string(what) + " \"" + text + "\" is not a number");
  return *value;
}

// The cut-off, in cycles per sample, of the Gaussian that cascaded with the
// recording's own pre-filter gives the new bandwidth.
float CutoffFor(const AbfHeader& header, const std::string& preText, const std::string& newText) {
  const float interval = header.Get(abf::fADCSampleInterval);
  if (interval == 0.0f) throw ConvoraError("the sample interval (fADCSampleInterval) is 0");
  const float samplingKHz = 1.0f / (interval / 1000.0f);
  const double pre = FrequencyOf(preText, "pre-filter frequency");
  const double wanted = FrequencyOf(newText, "new filter frequency");
  const double difference = std::pow(wanted, -2.0) - std::pow(pre, -2.0);
  if (!(difference > 0.0) || !std::isfinite(difference)) {
    throw ConvoraError("a new filter frequency of " + newText +
                       " kHz cannot be reached from a pre-filter frequency of " + preText +
                       " kHz: the new one must be lower");
  }
  const double effectiveKHz = std::pow(difference, -0.5);
  return static_cast<float>(effectiveKHz / samplingKHz);
}

// Only the name of a dot-less source carries the new frequency; names of
// earlier outputs depend on this, so it is kept.
std::filesystem::path FilteredNameFor(const std::filesystem::path& source,
                                      const std::string& newText) {
  const bool dotted = source.u8string().find(u8'.') != std::u8string::npos;
  return OutputNameFor(source, dotted ? "Filter.ABF" : "Filter" + newText + ".ABF");
}

// Filters chunk by chunk, reading each chunk with the kernel's half-width of
// neighbours on both sides, so memory stays bounded at any length.
void WriteFiltered(SourceFile& source, const SampleSection& section, const GaussianKernel& kernel,
                   OutputFile& output) {
  DataSectionWriter writer(output, section.offset);
  std::vector<std::int16_t> window;
  std::vector<std::int16_t> filtered;
  const std::int64_t reach = kernel.HalfWidth();
  for (std::int64_t first = 0; first < section.count; first += kChunkSamples) {
    const std::int64_t last = std::min(first + kChunkSamples, section.count);
    const std::int64_t windowStart = std::max<std::int64_t>(first - reach, 0);
    const std::int64_t windowEnd = std::min(last + reach, section.count);
    window.resize(static_cast<std::size_t>(windowEnd - windowStart));
    source.ReadSamples(section.offset + 2 * windowStart, window);
    filtered.resize(static_cast<std::size_t>(last - first));
    if (!kernel.Apply(window, windowStart, section.count, first, filtered)) {
      throw ConvoraError("a filtered sample does not fit 16 bits");
    }
    writer.WriteSamples(filtered);
  }
}

// The two frequencies are compared as texts: where the numbers would have
// passed, the user is told why they did not and how to write them.
void TellOfTextComparison(Workbench& bench, const std::string& pre, const std::string& wanted) {
  if (!(LeadingNumber(pre) > LeadingNumber(wanted))) return;
  std::string hint = "give the new frequency as many digits before its point as the pre-filter "
                     "frequency has";
  const auto digits = [](const std::string& t) { return std::min(t.find_first_not_of("0123456789"), t.size()); };
  if (digits(wanted) > 0 && digits(wanted) < digits(pre)) {
    const std::string padded = std::string(digits(pre) - digits(wanted), '0') + wanted;
    hint = "written as \"" + padded + "\" (--new " + padded + "), the new frequency passes";
  }
  bench.Prompt().Notice(PathText(bench.SelectedFilePath) + ": the frequencies are compared as " +
                        "texts, and \"" + pre + "\" does not sort after \"" + wanted +
                        "\"; " + hint);
}

}  // namespace

AfterFile FilterAbfFile(Workbench& bench) {
  if (!LoadSelectedAbfHeader(bench)) return AfterFile::kGoOn;
  const AbfHeader& header = bench.WorkHeader;
  if (header.Get(abf::nADCNumChannels) != 1) {
    // Multi-channel files get the channel question, then are left alone:
    // there is no multi-channel filtering.
    AskChannelNumber(bench);
    bench.Prompt().Notice(PathText(bench.SelectedFilePath) +
                          ": not filtered: the Gaussian filter works on one-channel files, and "
                          "this file has " +
                          std::to_string(header.Get(abf::nADCNumChannels)) +
                          " channels; nothing written");
    return AfterFile::kGoOn;
  }

  Prompter& prompt = bench.Prompt();
  const float preDefault = header.Get(abf::fSignalLowpassFilter, PhysicalChannelAt(header, 0)) /
                           1000.0f;
  const std::string preText = prompt
                                  .AskInput({"pre", "Please enter pre-filter frequency in KHz.",
                                             "Pre-Filter Frequency", FormatSingle(preDefault), true})
                                  .value_or("");
  const std::string newText = prompt
                                  .AskInput({"new", "Please enter new filter frequency in KHz.",
                                             "New Filter Frequency", "1", true})
                                  .value_or("");
  if (LeadingNumber(newText) <= 0.0) return AfterFile::kStopTool;  // ends the run silently

  SourceFile source(bench.SelectedFilePath);
  const SampleSection section = LocateSamples(header, source.Length());
  // Compared as texts, not numbers ("9" passes against "10", "10" fails
  // against "2"); kept on purpose, it is the check users know.
  if (preText <= newText) {
    TellOfTextComparison(bench, preText, newText);
    prompt.ShowMessage("Filter Frequency",
                       "The pre-filter frequency should be bigger than new filter prequency.  "
                       "Please try again.");
    return AfterFile::kStopTool;
  }
  const float cutoff = CutoffFor(header, preText, newText);
  const auto kernel = GaussianKernel::ForCutoff(cutoff);
  if (!kernel) throw ConvoraError("the filter's cut-off comes out as 0 cycles per sample");

  prompt.SetBusy(true);
  ArrowAtEnd arrow(prompt);
  const std::filesystem::path output = FilteredNameFor(bench.SelectedFilePath, newText);
  ReplacementFile filtered = RewriteOf(output);
  filtered.WriteAt(0, header.Bytes());
  WriteFiltered(source, section, *kernel, filtered.File());
  filtered.Commit();
  bench.List1.Add(output);
  return AfterFile::kGoOn;
}

}  // namespace convora
