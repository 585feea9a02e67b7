// The LTP ASCII sweep-file reader.
#include "FuzzHarness.h"
#include "formats/Ltp.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "rec.p0", convora::ConvertLTP);
  return 0;
}
