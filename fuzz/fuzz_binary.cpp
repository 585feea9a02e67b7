// The raw binary conversion and the WAV export, with settings taken from the
// first bytes so that odd locations, channel counts and modes are explored.
#include <string>

#include "FuzzHarness.h"
#include "generic/UnknownBinary.h"
#include "generic/WavExport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 4) return 0;
  convora::BinarySettings settings;
  settings.byteLocation = std::to_string(data[0]);
  settings.channels = std::to_string(data[1] % 5);
  settings.sampleInterval = std::to_string(data[2]);
  settings.swapBytes = (data[3] & 1) != 0;
  settings.floatingPoint = (data[3] & 2) != 0;
  convora::fuzz::RunOnBytes(data, size, "raw.dat", [&](convora::Workbench& bench) {
    if (data[3] & 4) {
      convora::ConvertToWav(bench, settings);
    } else {
      convora::ConvertUnknownBinary(bench, settings);
    }
  });
  return 0;
}
