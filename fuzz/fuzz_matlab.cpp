// The MAT-file reader: libmatio's listing and hyperslab reads, and the rules
// that find the recording.
#include "FuzzHarness.h"
#include "formats/matlab/Matlab.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "rec.mat", convora::ConvertMatLab);
  return 0;
}
