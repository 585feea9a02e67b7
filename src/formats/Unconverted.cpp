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
    throw ConvoraError(
        "cannot test for a Lumira long-integer file: its record length "
        "(int16 at offset 92, -50, x 2 + 100) is zero");
  }
  return in.length % recordBytes == 0 && Int16At(in, 14) == 32767;
}

}  // namespace

// What the user can do with a file whose layout is not published.
#define CONVORA_UNPUBLISHED(what)                                                            \
  "recognised as " what                                                                      \
  ", whose layout is not published, so Convora cannot convert it: "                          \
  "convert it with the raw binary conversion (convora binary, or Convert Unknown Binary to " \
  "ABF in the window) if you know its layout, or export it from the program that recorded "  \
  "it in a format Convora converts"

// clang-format off
const FormatDescriptor kElsaaFormat{"ELSAA Data Files",
    [](const RecognitionInput& in) { return Contains(in.Probe(), "ELSAA"); }, nullptr,
    CONVORA_UNPUBLISHED("an ELSAA data file")};
const FormatDescriptor kChartWinFormat{"Chart for Windows (*.adicht) data files",
    [](const RecognitionInput& in) {
      // "ADInst" in UTF-16, up to its last letter's low byte.
      constexpr char kMark[] = {'A', 0, 'D', 0, 'I', 0, 'n', 0, 's', 0, 't'};
      return in.ProbeStartsWith(std::string_view(kMark, sizeof kMark));
    }, nullptr,
    "recognised as a Chart for Windows file, whose layout is not published (only the maker's "
    "Windows library reads it): export the recording from Chart as a MATLAB or binary file and "
    "convert that"};
const FormatDescriptor kTorvaneFormat{"Torvane's Axobasic data files", IsTorvane, nullptr,
    CONVORA_UNPUBLISHED("a Torvane Axobasic data file")};
const FormatDescriptor kRacalFormat{"Racal Heim DAT Recoder Binary File",
    [](const RecognitionInput& in) {
      return InStrNth(in.Probe(), "TIME", 1) == 16 && in.ProbeStartsWith("DATE");
    }, nullptr,
    CONVORA_UNPUBLISHED("a Racal Heim DAT recorder file")};
const FormatDescriptor kWinTidaFormat{"WinTIDA File v1",
    [](const RecognitionInput& in) { return in.probe[4] == 1 && in.ProbeStartsWith("TIDA"); },
    nullptr,
    CONVORA_UNPUBLISHED("a WinTIDA file")};
const FormatDescriptor kTidaFormat{"Tida v.1 File",
    [](const RecognitionInput& in) { return Contains(in.CharsAt(501, 9), "TIDA"); }, nullptr,
    CONVORA_UNPUBLISHED("a TIDA file")};
const FormatDescriptor kLumiraShortFormat{"Lumira short-integer file",
    [](const RecognitionInput& in) { return in.length % 512 == 0 && Int16At(in, 510) == 9999; },
    nullptr,
    CONVORA_UNPUBLISHED("a Lumira short-integer file")};
const FormatDescriptor kLumiraLongFormat{"Lumira long-integer file", IsLumiraLong, nullptr,
    CONVORA_UNPUBLISHED("a Lumira long-integer file")};
// Any file whose length is a multiple of 8000, the empty file included.
const FormatDescriptor kBrenlowFormat{"Brenlow custom binary file",
    [](const RecognitionInput& in) { return in.length % 8000 == 0; }, nullptr,
    "its length is a multiple of 8000 bytes, which is all that marks a Brenlow custom binary "
    "file (an empty file has it too), and that layout is not published: if you know the file's "
    "layout, convert it with the raw binary conversion (convora binary, or Convert Unknown "
    "Binary to ABF in the window)"};
const FormatDescriptor kOstrelFormat{"Ostrel's data file",
    [](const RecognitionInput& in) { return Int16At(in, 0) == 1 && Int32At(in, 2) == 70; },
    nullptr,
    CONVORA_UNPUBLISHED("an Ostrel data file")};
const FormatDescriptor kDataQuestFormat{"DataQuest A.R.T files",
    [](const RecognitionInput& in) { return in.ProbeStartsWith("WD"); }, nullptr,
    CONVORA_UNPUBLISHED("a DataQuest A.R.T file")};
// clang-format on
#undef CONVORA_UNPUBLISHED

}  // namespace convora
