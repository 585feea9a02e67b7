// The AcqKnowledge reader, in both byte orders and as the later revisions' row picks one.
#include "FuzzHarness.h"
#include "formats/AcqKnowledge.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "rec.acq", [](convora::Workbench& bench) {
    convora::fuzz::Refusable(bench, convora::ConvertAcqKnowledgeMac);
    convora::fuzz::Refusable(bench, convora::ConvertAcqKnowledgeLater);
    convora::ConvertAcqKnowledgePC(bench);
  });
  return 0;
}
