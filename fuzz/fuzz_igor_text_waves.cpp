// The reader of Igor text waves (Pulse's exports and Igor's own).
#include "FuzzHarness.h"
#include "formats/igortext/IgorTextWaves.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "waves.itx", convora::ConvertPulseItx2);
  return 0;
}
