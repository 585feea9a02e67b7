// The ABF 2 reader, and the summary `info` makes of an ABF 2 file.
#include "FuzzHarness.h"
#include "formats/Abf2.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "cell.abf", [](convora::Workbench& bench) {
    convora::fuzz::Refusable(
        bench, [](convora::Workbench& b) { convora::SummarizeAbf2(b.SelectedFilePath); });
    convora::ConvertAbf2(bench);
  });
  return 0;
}
