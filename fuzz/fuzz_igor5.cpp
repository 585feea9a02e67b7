// The Igor binary wave version 5 reader.
#include "FuzzHarness.h"
#include "formats/IgorBinary5.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "wave.ibw", convora::ConvertIgor5);
  return 0;
}
