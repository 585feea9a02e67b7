// Every reader of ABF samples on the bytes as an ABF file: the preview, whole
// and zoomed into one sweep with a read budget small enough to take spread
// windows, then each editing tool, each question answered with its default (OK
// to the merge warning): filter, merge of the file with itself, down-scale over
// itself, then the two header edits.
#include "FuzzHarness.h"
#include "tools/AbfTools.h"
#include "tools/PreviewEnvelope.h"

namespace {

void MergeWithItself(convora::Workbench& bench) {
  std::vector<std::filesystem::path> mergeList;
  for (int k = 0; k < 2; ++k) convora::AddToMergeList(bench, mergeList, bench.SelectedFilePath);
  convora::MergeAbfFiles(bench, mergeList, bench.SelectedFilePath.parent_path());
}

void Filter(convora::Workbench& bench) { convora::FilterAbfFile(bench); }

void Preview(convora::Workbench& bench) {
  convora::ComputePreviewEnvelope(bench.SelectedFilePath, 37);
  convora::ComputePreviewEnvelope(bench.SelectedFilePath, 5, {3, 11, 1}, 64);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "edit.abf", [](convora::Workbench& bench) {
    using convora::fuzz::Refusable;
    static_cast<convora::ScriptedPrompter&>(bench.Prompt()).AnswerOkCancel("proceed", true);
    Refusable(bench, Preview);
    Refusable(bench, Filter);
    Refusable(bench, MergeWithItself);
    Refusable(bench, convora::DownscaleAbfFile);
    Refusable(bench, convora::ChangeUnitAndScaleFactor);
    Refusable(bench, convora::ChangeSampleInterval);
  });
  return 0;
}
