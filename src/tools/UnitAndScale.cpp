// "Change Unit of ABF File": the unit text and instrument scale factor of one
// channel, rewritten in the header; the samples stay as they are.

#include "abf/AsciiText.h"
#include "abf/Numbers.h"
#include "abf/PathText.h"
#include "tools/AbfTools.h"
#include "tools/ToolSteps.h"

namespace convora {

void ChangeUnitAndScaleFactor(Workbench& bench) {
  if (!LoadSelectedAbfHeader(bench)) return;
  AbfHeader& header = bench.WorkHeader;
  // The user counts positions of the sampling sequence; the unit and scale
  // tables are indexed by the physical channel sampled there.
  const std::int16_t channels = header.Get(abf::nADCNumChannels);
  std::string answer = "1";
  if (channels != 1) answer = AskChannelNumber(bench);
  const std::size_t channel = PhysicalChannelForAnswer(header, answer);
  // A position past the file's channels is still edited, as it always was,
  // when the sampling sequence names a channel there; the user hears of it.
  if (const double position = LeadingNumber(answer); position > channels && channels > 0) {
    bench.Prompt().Notice(PathText(bench.SelectedFilePath) + ": channel " + answer +
                          " is beyond this file's " + std::to_string(channels) +
                          " channels; editing physical channel " + std::to_string(channel) +
                          ", which position " + answer + " of its sampling sequence names");
  }

  Prompter& prompt = bench.Prompt();
  const std::string currentUnit = header.Get(abf::sADCUnits, channel);
  // Cancel gives an empty unit, stored as eight blanks.
  const std::string unit =
      prompt.AskInput({"unit", "Please enter new Unit.", "New Unit", currentUnit}).value_or("");
  const std::string currentScale = FormatSingle(header.Get(abf::fInstrumentScaleFactor, channel));
  const float scale = AnswerAsSingle(
      prompt.AskInput(
          {"scale", "Please enter new scale factor.", "New Scale Factor", currentScale, true}),
      "scale factor");

  header.Set(abf::sADCUnits, channel, AsciiText(unit));
  header.Set(abf::fInstrumentScaleFactor, channel, scale);
  RewriteSelectedHeader(bench);
}

}  // namespace convora
