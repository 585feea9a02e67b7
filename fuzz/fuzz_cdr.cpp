#include "FuzzHarness.h"
#include "formats/KestrinCdr.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "rec.cdr", convora::ConvertCDR);
  return 0;
}
