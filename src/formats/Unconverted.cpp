#include "formats/Unconverted.h"

#include <cstdint>

#include "abf/ConvoraError.h"
#include "abf/TextSearch.h"

namespace convora {
namespace {

std::int16_t Int16At(const RecognitionInput& in, std::size_t offset) {
  return in.LittleEndianAt<std::int16_t>(offset);
}

std::int32_t Int32At(const RecognitionInput& in, std::size_t offset) {
  return in.LittleEndianAt<std::int32_t>(offset);
}

bool IsTorvane(const RecognitionInput& in) {
  if (in.length <= 0 || in.length % kTorvaneBlockBytes != 0) return false;
  const std::int64_t blocks = in.length / kTorvaneBlockBytes;
  return Int16At(in, kTorvaneMarkOffset) == 0 && in.lastBlockMark == blocks - 1;
}

bool IsLumiraLong(const RecognitionInput& in) {
  const std::int64_t recordBytes = std::int64_t{Int16At(in, 92)} * 2 + 100;
  // The remainder is taken whatever the marker at offset 14 says, so a record
  // length of zero ends the file even when the marker would rule it out.
  if (recordBytes == 0) {
    throw ConvoraError("cannot test for a Lumira long-integer file: its record length "
                       "(int16 at offset 92, -50, x 2 + 100) is zero");
  }
  return in.length % recordBytes == 0 && Int16At(in, 14) == 32767;
}

}  // namespace

// clang-format off
const FormatDescriptor kMatlabFormat{"MATLAB file",
    [](const RecognitionInput& in) { return in.ProbeStartsWith("MATLAB"); }, nullptr};
const FormatDescriptor kScanFormat{"Kestrin's SCAN",
    [](const RecognitionInput& in) {
      return in.ProbeStartsWith("DT=") && in.UpperPath().ends_with(".SCA");
    }, nullptr};
const FormatDescriptor kElsaaFormat{"ELSAA Data Files",
    [](const RecognitionInput& in) { return Contains(in.Probe(), "ELSAA"); }, nullptr};
const FormatDescriptor kSpike2Format{"CED Spike2 Data File (smr)",
    [](const RecognitionInput& in) { return in.CharsAt(2, 10).starts_with("(C) CED"); }, nullptr};
const FormatDescriptor kChartWinFormat{"Chart for Windows (*.adicht) data files",
    [](const RecognitionInput& in) {
      // "ADInst" in UTF-16, up to its last letter's low byte.
      constexpr char kMark[] = {'A', 0, 'D', 0, 'I', 0, 'n', 0, 's', 0, 't'};
      return in.ProbeStartsWith(std::string_view(kMark, sizeof kMark));
    }, nullptr};
const FormatDescriptor kTorvaneFormat{"Torvane's Axobasic data files", IsTorvane, nullptr};
const FormatDescriptor kRacalFormat{"Racal Heim DAT Recoder Binary File",
    [](const RecognitionInput& in) {
      return InStrNth(in.Probe(), "TIME", 1) == 16 && in.ProbeStartsWith("DATE");
    }, nullptr};
const FormatDescriptor kWinTidaFormat{"WinTIDA File v1",
    [](const RecognitionInput& in) { return in.probe[4] == 1 && in.ProbeStartsWith("TIDA"); },
    nullptr};
const FormatDescriptor kTidaFormat{"Tida v.1 File",
    [](const RecognitionInput& in) { return Contains(in.CharsAt(501, 9), "TIDA"); }, nullptr};
const FormatDescriptor kLumiraShortFormat{"Lumira short-integer file",
    [](const RecognitionInput& in) { return in.length % 512 == 0 && Int16At(in, 510) == 9999; },
    nullptr};
const FormatDescriptor kLumiraLongFormat{"Lumira long-integer file", IsLumiraLong, nullptr};
// Any file whose length is a multiple of 8000, the empty file included.
const FormatDescriptor kBrenlowFormat{"Brenlow custom binary file",
    [](const RecognitionInput& in) { return in.length % 8000 == 0; }, nullptr};
const FormatDescriptor kOstrelFormat{"Ostrel's data file",
    [](const RecognitionInput& in) { return Int16At(in, 0) == 1 && Int32At(in, 2) == 70; },
    nullptr};
const FormatDescriptor kDataQuestFormat{"DataQuest A.R.T files",
    [](const RecognitionInput& in) { return in.ProbeStartsWith("WD"); }, nullptr};
const FormatDescriptor kAcqKnowledgeMacFormat{"AcqKnowledge III file (Macintosh)",
    [](const RecognitionInput& in) {
      return Int16At(in, 0) == 0 && Int32At(in, 2) == 0x23000000;  // bytes 00 00 00 23
    }, nullptr};
const FormatDescriptor kAcqKnowledgePcFormat{"AcqKnowledge III file (PC)",
    [](const RecognitionInput& in) { return Int16At(in, 0) == 0 && Int32At(in, 2) == 36; },
    nullptr};
const FormatDescriptor kLtpFormat{"LTP Program Data File (*.p0)",
    [](const RecognitionInput& in) { return InStrNth(in.Probe(), "LTP_ASF", 1) == 2; }, nullptr};
// clang-format on

}  // namespace convora
