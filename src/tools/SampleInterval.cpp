// "Change Sample Interval": only fADCSampleInterval changes. fSecondsPerRun
// keeps its old value on purpose; readers take the length from the samples.

#include "abf/Numbers.h"
#include "tools/AbfTools.h"
#include "tools/ToolSteps.h"

namespace convora {

void ChangeSampleInterval(Workbench& bench) {
  if (!LoadSelectedAbfHeader(bench)) return;
  const std::string current = FormatSingle(bench.WorkHeader.Get(abf::fADCSampleInterval));
  const float interval = AnswerAsSingle(
      bench.Prompt().AskInput({"interval", "Please enter new sample interval (microsecond).",
                               "New Sample Interval", current, true}),
      "sample interval");
  bench.WorkHeader.Set(abf::fADCSampleInterval, interval);
  RewriteSelectedHeader(bench);
}

}  // namespace convora
