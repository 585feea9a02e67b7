#include "FuzzHarness.h"
#include "formats/igortext/IgorTextMac.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "wave.txt", convora::ConvertIgorTextMac);
  return 0;
}
