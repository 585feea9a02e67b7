// The SCAN reader, on a file named as the program names its recordings.
#include "FuzzHarness.h"
#include "formats/Scan.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "rec.SCA", convora::ConvertSCAN);
  return 0;
}
