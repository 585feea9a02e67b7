#include "tools/ToolSteps.h"

#include <algorithm>
#include <cmath>

#include "abf/ConvoraError.h"
#include "abf/FileIo.h"
#include "abf/Numbers.h"
#include "abf/TemplateFile.h"

namespace convora {
namespace {

constexpr std::size_t kChannelSlots = 16;

}  // namespace

bool LoadSelectedAbfHeader(Workbench& bench) {
  bench.WorkHeader = ReadAbfHeader(bench.SelectedFilePath);
  if (IsAbfFile(bench.WorkHeader)) return true;
  bench.Prompt().ShowMessage(kNotAbfTitle, kNotAbfMessage);
  return false;
}

std::string AskChannelNumber(Workbench& bench) {
  const std::string prompt = "This file has " +
                             std::to_string(bench.WorkHeader.Get(abf::nADCNumChannels)) +
                             " channel recording.  Please enter channel number to change.";
  return bench.Prompt()
      .AskInput({"channel", prompt, "Channel Number", "1", true})
      .value_or(std::string());
}

std::size_t PhysicalChannelForAnswer(const AbfHeader& header, std::string_view answer) {
  // Positions are counted from 1; a fractional answer indexes as it rounds.
  const double position = std::nearbyint(LeadingNumber(answer) - 1.0);
  if (!(position >= 0.0 && position < static_cast<double>(kChannelSlots))) {
    throw ConvoraError("channel number \"" + std::string(answer) +
                       "\" is not between 1 and 16");
  }
  const auto slot = static_cast<std::size_t>(position);
  const std::int16_t channels = header.Get(abf::nADCNumChannels);
  const std::int16_t sampled = header.Get(abf::nADCSamplingSeq, slot);
  if (slot >= static_cast<std::size_t>(std::max<std::int16_t>(channels, 0)) &&
      (sampled < 0 || sampled >= static_cast<std::int16_t>(kChannelSlots))) {
    throw ConvoraError("channel number \"" + std::string(answer) + "\": this file has " +
                       std::to_string(channels) + (channels == 1 ? " channel" : " channels"));
  }
  return PhysicalChannelAt(header, slot);
}

std::size_t PhysicalChannelAt(const AbfHeader& header, std::size_t position) {
  const std::int16_t channel = header.Get(abf::nADCSamplingSeq, position);
  if (channel < 0 || channel >= static_cast<std::int16_t>(kChannelSlots)) {
    throw ConvoraError("nADCSamplingSeq[" + std::to_string(position) + "] names channel " +
                       std::to_string(channel) + ", which is not between 0 and 15");
  }
  return static_cast<std::size_t>(channel);
}

std::size_t ChannelCountOf(const AbfHeader& header) {
  const std::int16_t count = header.Get(abf::nADCNumChannels);
  if (count < 1 || count > static_cast<std::int16_t>(kChannelSlots)) {
    throw ConvoraError("nADCNumChannels is " + std::to_string(count) +
                       ", not a channel count between 1 and 16");
  }
  return static_cast<std::size_t>(count);
}

float AnswerAsSingle(const std::optional<std::string>& answer, std::string_view what) {
  if (!answer) throw ConvoraError("no " + std::string(what) + " was given");
  // A number followed by its unit ("50us") is read as the settings window
  // reads it; text with no number in front is still an error, not a 0.
  const std::optional<double> number = LeadingNumberIfAny(*answer);
  if (!number) {
    throw ConvoraError("the " + std::string(what) + " \"" + *answer + "\" is not a number");
  }
  const std::optional<float> single = NarrowToSingle(*number);
  if (!single) {
    throw ConvoraError("the " + std::string(what) + " " + *answer +
                       " is too large for a 32-bit float");
  }
  return *single;
}

SampleSection LocateSamples(const AbfHeader& header, std::int64_t fileLength) {
  const std::int32_t block = header.Get(abf::lDataSectionPtr);
  const std::int32_t count = header.Get(abf::lActualAcqLength);
  if (block < 0) throw ConvoraError("lDataSectionPtr is negative (" + std::to_string(block) + ")");
  if (count < 0) {
    throw ConvoraError("lActualAcqLength is negative (" + std::to_string(count) + ")");
  }
  const SampleSection section{block * ABF_BLOCK_BYTES, count};
  const std::int64_t end = section.offset + 2 * section.count;
  if (end > fileLength) {
    throw ConvoraError("the header claims " + std::to_string(count) +
                       " samples (lActualAcqLength) from byte " + std::to_string(section.offset) +
                       ", but the file ends at byte " + std::to_string(fileLength));
  }
  return section;
}

void RewriteSelectedHeader(Workbench& bench) {
  OutputFile file(bench.SelectedFilePath);
  file.WriteAt(0, bench.WorkHeader.Bytes());
  file.Close();
  bench.List1.Add(bench.SelectedFilePath);
}

}  // namespace convora
