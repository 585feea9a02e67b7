// The WinWCP and WinEDR readers, which share their text header.
#include "FuzzHarness.h"
#include "formats/WinEdr.h"
#include "formats/WinWcp.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  convora::fuzz::RunOnBytes(data, size, "rec.wcp", [](convora::Workbench& bench) {
    convora::fuzz::Refusable(bench, convora::ConvertWinCDR);
    convora::ConvertWinWCP(bench);
  });
  return 0;
}
