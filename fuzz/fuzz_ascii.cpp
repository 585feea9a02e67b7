// The text-table conversions: any ASCII table (settings taken from the first
// bytes), Axon Text Files, PTI and Dataq exports, on the same bytes.
#include <string>

#include "FuzzHarness.h"
#include "ascii/AnyAscii.h"
#include "ascii/AxonText.h"
#include "ascii/DataqAscii.h"
#include "ascii/PtiAscii.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3) return 0;
  convora::AsciiSettings settings;
  settings.columns = std::to_string(1 + data[0] % 4) + "-" + std::to_string(1 + data[1] % 6);
  settings.headerLines = std::to_string(data[2] % 4);
  settings.timeColumn = std::to_string(data[0] % 3);
  settings.separator = static_cast<convora::AsciiSeparator>(data[1] % 5);
  settings.matlab = (data[2] & 0x80) != 0;
  convora::fuzz::RunOnBytes(data, size, "table.txt", [&](convora::Workbench& bench) {
    using convora::fuzz::Refusable;
    Refusable(bench, [&](convora::Workbench& b) { convora::ConvertAnyAscii(b, settings); });
    Refusable(bench, convora::ConvertAxonText);
    Refusable(bench, [](convora::Workbench& b) {
      convora::ConvertPtiAscii(b, convora::PtiTraces::All);
    });
    Refusable(bench, convora::ConvertDataqAscii);
  });
  return 0;
}
