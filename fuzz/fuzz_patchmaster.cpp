// The PatchMaster bundle reader: the bundle header, the pulsed tree and the
// traces it points to.
#include "FuzzHarness.h"
#include "formats/patchmaster/PatchMaster.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "cell.dat", convora::ConvertPatchMaster);
  return 0;
}
