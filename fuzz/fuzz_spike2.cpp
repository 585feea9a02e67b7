// The Spike2 (SON) reader.
#include "FuzzHarness.h"
#include "formats/Spike2.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "rec.smr", convora::ConvertSpike2);
  return 0;
}
