// One reader of the core on the fuzzer's bytes, built once for every reader
// that needs nothing but the bytes (the table in CMakeLists.txt): the build
// names the reader's header, its function and the name the bytes are saved
// under, whose extension some readers look at.
#include "FuzzHarness.h"
#include CONVORA_FUZZ_HEADER

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, CONVORA_FUZZ_FILE, convora::CONVORA_FUZZ_READER);
  return 0;
}
