#include "app/Recognition.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "abf/ConvoraError.h"
#include "abf/LittleEndian.h"
#include "abf/TextSearch.h"
#include "app/KnownFormats.h"
#include "formats/Axograph.h"
#include "formats/IgorBinary.h"
#include "formats/IgorTextMac.h"
#include "formats/KestrinCdr.h"

namespace convora {

RecognitionInput MakeRecognitionInput(std::span<const std::uint8_t> firstBytes,
                                      std::int64_t length, std::filesystem::path path,
                                      std::int16_t lastBlockMark) {
  RecognitionInput input;
  input.header = AbfHeader(firstBytes);
  std::copy_n(input.header.Bytes().begin(), kProbeBytes, input.probe.begin());
  input.length = length;
  input.path = std::move(path);
  input.lastBlockMark = lastBlockMark;
  return input;
}

namespace {

// ---- What the tests read. Offsets are 0-based file offsets, all inside the
// first 6144 bytes.

std::string_view Probe(const RecognitionInput& in) {
  return {reinterpret_cast<const char*>(in.probe.data()), in.probe.size()};
}

bool ProbeStartsWith(const RecognitionInput& in, std::string_view text) {
  return Probe(in).starts_with(text);
}

std::string_view CharsAt(const RecognitionInput& in, std::size_t offset, std::size_t count) {
  return {reinterpret_cast<const char*>(in.header.Bytes().data() + offset), count};
}

bool Contains(std::string_view text, std::string_view sought) {
  return text.find(sought) != std::string_view::npos;
}

std::int16_t Int16At(const RecognitionInput& in, std::size_t offset) {
  return LoadLittleEndian<std::int16_t>(in.header.Bytes().data() + offset);
}

std::int32_t Int32At(const RecognitionInput& in, std::size_t offset) {
  return LoadLittleEndian<std::int32_t>(in.header.Bytes().data() + offset);
}

// The extension tests case the whole path (ASCII letters only) and compare it
// with lower- or upper-case text.
std::string UpperPath(const RecognitionInput& in) {
  std::string text = in.path.string();
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

std::string LowerPath(const RecognitionInput& in) {
  std::string text = in.path.string();
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// ---- The tests, one per row.

bool IsAbf(const RecognitionInput& in, bool) { return IsAbfFile(in.header); }
bool IsVestralinkorEvents(const RecognitionInput& in, bool) {
  return Contains(CharsAt(in, abf::sCreatorInfo.offset, abf::sCreatorInfo.width), "Vestralinkor");
}
bool IsAxograph(const RecognitionInput& in, bool) { return ProbeStartsWith(in, "AxGr"); }
bool IsMatlab(const RecognitionInput& in, bool) { return ProbeStartsWith(in, "MATLAB"); }
bool IsWinCdr(const RecognitionInput& in, bool) { return ProbeStartsWith(in, "VER=6"); }
bool IsScan(const RecognitionInput& in, bool) {
  return ProbeStartsWith(in, "DT=") && UpperPath(in).ends_with(".SCA");
}
bool IsWinWcp(const RecognitionInput& in, bool) {
  return ProbeStartsWith(in, "VER=") && UpperPath(in).ends_with(".WCP");
}
bool IsElsaa(const RecognitionInput& in, bool) { return Contains(Probe(in), "ELSAA"); }
bool IsSpike2(const RecognitionInput& in, bool) {
  return CharsAt(in, 2, 10).starts_with("(C) CED");
}
bool IsIgorText(const RecognitionInput& in, bool) { return ProbeStartsWith(in, "IGOR"); }
bool IsIgorBinary(const RecognitionInput& in, bool) {
  const std::int16_t version = Int16At(in, 0);
  return version == 2 || version == 512;  // version 2 in either byte order
}
bool IsIgorBinary5(const RecognitionInput& in, bool) {
  const std::int16_t version = Int16At(in, 0);
  return (version == 5 || version == 1280) && Contains(LowerPath(in), ".ibw");
}
bool IsChartWin(const RecognitionInput& in, bool) {
  // "ADInst" in UTF-16, up to its last letter's low byte.
  constexpr char kMark[] = {'A', 0, 'D', 0, 'I', 0, 'n', 0, 's', 0, 't'};
  return ProbeStartsWith(in, std::string_view(kMark, sizeof kMark));
}
bool IsTorvane(const RecognitionInput& in, bool) {
  if (in.length <= 0 || in.length % kTorvaneBlockBytes != 0) return false;
  const std::int64_t blocks = in.length / kTorvaneBlockBytes;
  return Int16At(in, kTorvaneMarkOffset) == 0 && in.lastBlockMark == blocks - 1;
}
bool IsRacal(const RecognitionInput& in, bool) {
  return InStrNth(Probe(in), "TIME", 1) == 16 && ProbeStartsWith(in, "DATE");
}
bool IsCfs(const RecognitionInput& in, bool) { return ProbeStartsWith(in, "CEDFILE"); }
bool IsWinTida(const RecognitionInput& in, bool) {
  return in.probe[4] == 1 && ProbeStartsWith(in, "TIDA");
}
bool IsTida(const RecognitionInput& in, bool) { return Contains(CharsAt(in, 501, 9), "TIDA"); }
bool IsLumiraShort(const RecognitionInput& in, bool) {
  return in.length % 512 == 0 && Int16At(in, 510) == 9999;
}
std::int64_t LumiraLongRecordBytes(const RecognitionInput& in) {
  return std::int64_t{Int16At(in, 92)} * 2 + 100;
}
bool IsLumiraLong(const RecognitionInput& in, bool) {
  const std::int64_t recordBytes = LumiraLongRecordBytes(in);
  // The remainder is taken whatever the marker at offset 14 says, so a record
  // length of zero ends the file even when the marker would rule it out.
  if (recordBytes == 0) {
    throw ConvoraError("cannot test for a Lumira long-integer file: its record length "
                       "(int16 at offset 92, -50, x 2 + 100) is zero");
  }
  return in.length % recordBytes == 0 && Int16At(in, 14) == 32767;
}
bool IsBrenlow(const RecognitionInput& in, bool) { return in.length % 8000 == 0; }
bool IsOstrel(const RecognitionInput& in, bool) {
  return Int16At(in, 0) == 1 && Int32At(in, 2) == 70;
}
bool IsDataQuest(const RecognitionInput& in, bool) { return ProbeStartsWith(in, "WD"); }
bool IsAcqKnowledgeMac(const RecognitionInput& in, bool) {
  return Int16At(in, 0) == 0 && Int32At(in, 2) == 0x23000000;  // bytes 00 00 00 23
}
bool IsAcqKnowledgePc(const RecognitionInput& in, bool) {
  return Int16At(in, 0) == 0 && Int32At(in, 2) == 36;
}
bool IsCdr(const RecognitionInput& in, bool converted) {
  // So weak a signature ("3" anywhere in four bytes) is trusted only as the
  // last resort: any earlier match wins, which is why this row sits after
  // every other converter's row.
  const std::string_view mark = CharsAt(in, 168, 4);
  return !converted && (Contains(mark, "CDR") || Contains(mark, "3"));
}
bool IsLtp(const RecognitionInput& in, bool) { return InStrNth(Probe(in), "LTP_ASF", 1) == 2; }

// ---- The actions that do more than run a converter.

void ReportAbf(Workbench& bench, const RecognitionInput&) {
  bench.Prompt().ShowMessage("ABF File",
                             "This is an Axon Binary File.  You don't need to convert.");
}

void ReportEventFile(Workbench& bench, const RecognitionInput&) {
  bench.Prompt().ShowMessage("Vestralinkor Event File",
                             "This is an Event File Created by Vestralinkor Program.");
}

void NoConverterYet(Workbench& bench, std::string_view format) {
  bench.Prompt().Notice(bench.SelectedFilePath.string() + ": recognised as " +
                        std::string(format) +
                        "; Convora has no converter for this format yet, nothing written");
}

void ConvertIgorText(Workbench& bench, const RecognitionInput& in) {
  if (ProbeStartsWith(in, "IGOR\rWAVES\t")) {
    ConvertIgorTextMac(bench);
  } else {
    NoConverterYet(bench, kKnownFormats[0]);  // a Pulse ITX macro export
  }
}

void ConvertIgorBinary(Workbench& bench, const RecognitionInput&) {
  // Byte order is settled by the converter, which reads the header again.
  ConvertIgor(bench);
}

void RunAxograph(Workbench& bench, const RecognitionInput&) { ConvertAxGr(bench); }
void RunCdr(Workbench& bench, const RecognitionInput&) { ConvertCDR(bench); }

// The order matters where noted; elsewhere it only sets the order in which the
// converters of a file that matches several rows run (and so which output
// ends up on disk when they write the same name: the later one).
// clang-format off
constexpr RecognitionRow kTable[] = {
    {"ABF file",                           IsAbf,                ReportAbf},
    {"Vestralinkor event file",            IsVestralinkorEvents, ReportEventFile},
    {kKnownFormats[5],                     IsAxograph,           RunAxograph},
    {"MATLAB file",                        IsMatlab,             nullptr},
    {kKnownFormats[7],                     IsWinCdr,             nullptr},
    {kKnownFormats[8],                     IsScan,               nullptr},
    // "VER=6" files named .wcp match this row and the WinCDR row above; both run.
    {kKnownFormats[9],                     IsWinWcp,             nullptr},
    {kKnownFormats[10],                    IsElsaa,              nullptr},
    {kKnownFormats[14],                    IsSpike2,             nullptr},
    {kKnownFormats[2],                     IsIgorText,           ConvertIgorText},
    {kKnownFormats[1],                     IsIgorBinary,         ConvertIgorBinary},
    {"Igor Binary File v5",                IsIgorBinary5,        nullptr},
    {kKnownFormats[19],                    IsChartWin,           nullptr},
    {kKnownFormats[11],                    IsTorvane,            nullptr},
    {kKnownFormats[12],                    IsRacal,              nullptr},
    {kKnownFormats[13],                    IsCfs,                nullptr},
    {kKnownFormats[3],                     IsWinTida,            nullptr},
    {kKnownFormats[4],                     IsTida,               nullptr},
    {"Lumira short-integer file",          IsLumiraShort,        nullptr},
    {"Lumira long-integer file",           IsLumiraLong,         nullptr},
    // Any file whose length is a multiple of 8000, the empty file included.
    {kKnownFormats[18],                    IsBrenlow,            nullptr},
    {"Ostrel's data file",                 IsOstrel,             nullptr},
    {kKnownFormats[20],                    IsDataQuest,          nullptr},
    {"AcqKnowledge III file (Macintosh)",  IsAcqKnowledgeMac,    nullptr},
    {"AcqKnowledge III file (PC)",         IsAcqKnowledgePc,     nullptr},
    // Must stay after every row above: its test asks whether any of them matched.
    {kKnownFormats[6],                     IsCdr,                RunCdr},
    // Kept after the CDR row: above it, an LTP file would keep the CDR row from matching.
    {kKnownFormats[16],                    IsLtp,                nullptr},
};
// clang-format on

}  // namespace

std::span<const RecognitionRow> RecognitionTable() { return kTable; }

std::vector<const RecognitionRow*> MatchingRows(const RecognitionInput& input) {
  std::vector<const RecognitionRow*> matches;
  for (const RecognitionRow& row : kTable) {
    if (row.test(input, !matches.empty())) matches.push_back(&row);
  }
  return matches;
}

void RunRow(Workbench& bench, const RecognitionRow& row, const RecognitionInput& input) {
  if (row.action) {
    row.action(bench, input);
  } else {
    NoConverterYet(bench, row.name);
  }
}

}  // namespace convora
