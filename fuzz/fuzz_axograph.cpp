#include "FuzzHarness.h"
#include "formats/Axograph.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "rec.axg", convora::ConvertAxGr);
  return 0;
}
