#pragma once
// The fields of the binary settings window, as the user typed them. Numbers
// are read leniently when a conversion uses them (the leading number of the
// text, 0 when there is none), so any text is a valid setting.

#include <string>

namespace convora {

struct BinarySettings {
  std::string byteLocation = "0";      // 0-based offset of the first sample
  std::string sampleInterval = "200";  // microseconds
  std::string adcRange = "10";         // volts
  std::string adcResolution = "32768";
  std::string unit = "pA";
  std::string scaleFactor = "0.001";  // volts per unit
  std::string channels = "1";
  bool swapBytes = false;      // big-endian source (Macintosh, LabVIEW)
  bool floatingPoint = false;  // 32-bit floats instead of 16-bit integers
};

}  // namespace convora
