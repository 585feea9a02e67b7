// The CFS reader.
#include "FuzzHarness.h"
#include "formats/Cfs.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "rec.cfs", convora::ConvertCFS);
  return 0;
}
