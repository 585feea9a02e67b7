// The whole "convert known file" path: every recognition row on the bytes,
// with the unknown-format question answered Yes.
#include "FuzzHarness.h"
#include "app/KnownFileDispatch.h"
#include "generic/UnknownBinary.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "known.dat", [](convora::Workbench& bench) {
    convora::ConvertKnownFile(bench, [](convora::Workbench& b) {
      convora::ConvertUnknownBinary(b, convora::BinarySettings{});
    });
  });
  return 0;
}
