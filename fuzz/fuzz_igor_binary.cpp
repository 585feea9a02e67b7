#include "FuzzHarness.h"
#include "formats/IgorBinary.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "wave.ibw", convora::ConvertIgor);
  return 0;
}
