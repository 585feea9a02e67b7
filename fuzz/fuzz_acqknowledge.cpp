// The AcqKnowledge 3.x reader, in both byte orders.
#include "FuzzHarness.h"
#include "formats/AcqKnowledge.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "rec.acq", [](convora::Workbench& bench) {
    convora::fuzz::Refusable(bench, convora::ConvertAcqKnowledgeMac);
    convora::ConvertAcqKnowledgePC(bench);
  });
  return 0;
}
