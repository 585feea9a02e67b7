#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "app/KnownFileDispatch.h"
#include "app/Recognition.h"
#include "formats/patchmaster/PatchMaster.h"
#include "support/TestSupport.h"

namespace convora {
namespace {

using test::ByteBuilder;

// A multiple of none of 100, 512, 2048 and 8000.
constexpr std::size_t kPlain = 1001;

// Zeros up to `offset`, where the caller writes the mark.
ByteBuilder At(std::size_t offset) { return std::move(ByteBuilder().PadTo(offset)); }

// What the tests see of a file of `length` bytes that starts with `head` and
// holds zeros after it.
RecognitionInput InputOf(const ByteBuilder& head, std::size_t length = kPlain,
                         const std::string& name = "rec.dat") {
  test::TempDir dir;
  test::WriteFile(dir / name, ByteBuilder(head).PadTo(length).Get());
  return ReadRecognitionInput(dir / name);
}

// Numbers (1-based) of the rows that match such a file.
std::vector<int> Rows(const ByteBuilder& head, std::size_t length = kPlain,
                      const std::string& name = "rec.dat") {
  std::vector<int> rows;
  for (const RecognitionRow* row : MatchingRows(InputOf(head, length, name)))
    rows.push_back(static_cast<int>(row - RecognitionTable().data()) + 1);
  return rows;
}

struct Case {
  const char* label;
  std::vector<int> rows;
  ByteBuilder head;
  std::size_t length = kPlain;
  std::string name = "rec.dat";
};

void PrintTo(const Case& c, std::ostream* os) { *os << c.label; }

class RecognitionRows : public testing::TestWithParam<Case> {};

TEST_P(RecognitionRows, MatchExactlyTheseRows) {
  const Case& c = GetParam();
  EXPECT_EQ(Rows(c.head, c.length, c.name), c.rows);
  // Tried alone, as if no earlier row had matched, the PatchMaster row still
  // takes none of the other rows' files.
  EXPECT_EQ(kPatchMasterFormat.matches(InputOf(c.head, c.length, c.name)),
            c.rows == std::vector<int>{30});
}

// Each row gets a match and a near miss just across its boundary.
// clang-format off
INSTANTIATE_TEST_SUITE_P(Recognition, RecognitionRows, testing::Values(
    Case{"Abf",                 {1},      At(0).Text("ABF ")},
    // sCreatorInfo is the 16 characters at 294..309.
    Case{"EventFile",           {2},      At(298).Text("Vestralinkor")},
    Case{"EventMarkCut",        {},       At(299).Text("Vestralinkor")},
    Case{"Axograph",            {3},      At(0).Text("AxGr")},
    // One near miss stands for every row that compares the first characters.
    Case{"AxographLowerCase",   {},       At(0).Text("axGr")},
    Case{"Matlab",              {4},      At(0).Text("MATLAB 5.0")},
    Case{"WinCdr",              {5},      At(0).Text("VER=6")},
    Case{"WinCdrOtherVersion",  {},       At(0).Text("VER=5")},
    Case{"Scan",                {6},      At(0).Text("DT="), kPlain, "REC.Sca"},
    Case{"ScanLongerExtension", {},       At(0).Text("DT="), kPlain, "rec.scan"},
    Case{"WinWcp",              {7},      At(0).Text("VER="), kPlain, "rec.WCP"},
    Case{"WinWcpOtherName",     {},       At(0).Text("VER="), kPlain, "rec.wcpx"},
    Case{"WinCdrAndWinWcp",     {5, 7},   At(0).Text("VER=6"), kPlain, "rec.wcp"},
    // The probe is 48 bytes: "ELSAA" at 43..47 is inside it, at 44 it is cut.
    Case{"Elsaa",               {8},      At(43).Text("ELSAA")},
    Case{"ElsaaPastProbe",      {},       At(44).Text("ELSAA")},
    Case{"Spike2",              {9},      At(2).Text("(C) CED")},
    Case{"Spike2Shifted",       {},       At(3).Text("(C) CED")},
    Case{"IgorTextOf16000",     {10, 21}, At(0).Text("IGOR"), 16000},
    Case{"IgorBinaryPc",        {11},     At(0).Int16LE(2)},
    Case{"IgorBinaryMac",       {11},     At(0).Int16BE(2)},
    Case{"IgorBinaryVersion3",  {},       At(0).Int16LE(3)},
    Case{"Igor5",               {12},     At(0).Int16LE(5), kPlain, "w.ibw"},
    // Either byte order and case; the extension need not end the name.
    Case{"Igor5MacInnerUpper",  {12},     At(0).Int16BE(5), kPlain, "W.IBW.BAK"},
    Case{"Igor5OtherName",      {},       At(0).Int16LE(5), kPlain, "w.ibx"},
    Case{"ChartWin",            {13},     At(0).Text({"A\0D\0I\0n\0s\0t", 11})},
    Case{"ChartWinNearMiss",    {},       At(0).Text({"A\0D\0I\0n\0s\0T", 11})},
    // Four blocks: the first block's mark (2002) must be 0 and the last one's
    // (3 x 2048 + 2002 = 8146, past the 6144 header bytes) 4 - 1 = 3.
    Case{"Torvane",             {14},     At(8146).Int16LE(3), 8192},
    Case{"TorvaneLastMarkN",    {},       At(8146).Int16LE(4), 8192},
    Case{"TorvaneFirstMarkSet", {},       At(2002).Int16LE(1).PadTo(8146).Int16LE(3), 8192},
    // "TIME" at 0-based offset 15 is position 16; the first "TIME" counts.
    Case{"Racal",               {15},     At(0).Text("DATE").PadTo(15).Text("TIME")},
    Case{"RacalTimeLater",      {},       At(0).Text("DATE").PadTo(16).Text("TIME")},
    Case{"RacalTimeEarlier",    {},       At(0).Text("DATETIME").PadTo(15).Text("TIME")},
    Case{"Cfs",                 {16},     At(0).Text("CEDFILE")},
    Case{"WinTida",             {17},     At(0).Text("TIDA\x01")},
    Case{"WinTidaOtherByte",    {},       At(0).Text("TIDA\x02")},
    // The 9 characters at 501 end at 509.
    Case{"Tida",                {18},     At(506).Text("TIDA")},
    Case{"TidaCut",             {},       At(507).Text("TIDA")},
    Case{"LumiraShort",         {19},     At(510).Int16LE(9999), 1024},
    Case{"LumiraShortLength",   {},       At(510).Int16LE(9999), 1025},
    // Records of k x 2 + 100 bytes, k the int16 at 92. k = 150: 400 bytes, which
    // divide 400 (150, 250, 300 would not) but not 1000 (100, 250 would). k = -100:
    // -100 divides 1000; k read unsigned (65436 x 2 + 100) would not.
    Case{"LumiraLong",          {20},     At(14).Int16LE(32767).PadTo(92).Int16LE(150), 400},
    Case{"LumiraLongLength",    {},       At(14).Int16LE(32767).PadTo(92).Int16LE(150), 1000},
    Case{"LumiraLongNegative",  {20},     At(14).Int16LE(32767).PadTo(92).Int16LE(-100), 1000},
    // 0 and 16000 are multiples of 100 too: they match row 20 only if its
    // marker is ignored.
    Case{"BrenlowEmpty",        {21},     At(0), 0},
    Case{"Ostrel",              {22},     At(0).Int16LE(1).Int32LE(70)},
    Case{"OstrelOtherLength",   {},       At(0).Int16LE(1).Int32LE(71)},
    Case{"DataQuest",           {23},     At(0).Text("WD")},
    Case{"AcqKnowledgeMac",     {24},     At(2).Int32BE(35)},
    Case{"AcqKnowledgeMacAsPc", {},       At(2).Int32LE(35)},
    Case{"AcqKnowledgePc",      {25},     At(2).Int32LE(36)},
    Case{"AcqKnowledgePcSet0",  {},       At(0).Int16LE(1).Int32LE(36)},
    // Looks at the 4 characters 168..171, and only when no earlier row matched;
    // a later match (row 27) leaves it alone.
    Case{"Cdr",                 {26},     At(169).Text("CDR")},
    Case{"CdrThreeOutside",     {},       At(172).Text("3")},
    Case{"CdrAfterAxograph",    {3},      At(0).Text("AxGr").PadTo(168).Text("CDR")},
    Case{"CdrThreeAndLtp",      {26, 27}, At(1).Text("LTP_ASF").PadTo(171).Text("3")},
    Case{"LtpAtStart",          {},       At(0).Text("LTP_ASF")},
    // The rows added after the 27: each loses to any earlier match (Brenlow's
    // length here), and a later AcqKnowledge header must fit in its file.
    Case{"Abf2",                {28},     At(0).Text("ABF2")},
    Case{"Abf2AfterBrenlow",    {21},     At(0).Text("ABF2"), 16000},
    Case{"AcqLaterPc",          {29},     At(2).Int32LE(38).Int32LE(893).Int16LE(1)},
    Case{"AcqLaterMac",         {29},     At(2).Int32BE(255).Int32BE(24).Int16BE(1)},
    Case{"AcqLaterPastItsFile", {},       At(2).Int32LE(38).Int32LE(894).Int16LE(1)},
    Case{"AcqLaterRevision256", {},       At(2).Int32BE(256).Int32BE(24).Int16BE(1)},
    Case{"AcqLaterNoChannel",   {},       At(2).Int32LE(38).Int32LE(24).Int16LE(0)},
    Case{"AcqLaterAfterBrenlow",{21},     At(2).Int32LE(38).Int32LE(24).Int16LE(1), 16000},
    // A bundle header: "DAT2", 8 characters; 1 to 12 items in the order byte 52 names.
    Case{"PatchMaster",         {30},     At(0).Text("DAT2").PadTo(48).Int32LE(3).Raw({1})},
    Case{"PatchMasterBigEndian",{30},     At(0).Text("DAT1").PadTo(48).Int32BE(3)},
    Case{"PatchMasterNoItems",  {},       At(0).Text("DAT2").PadTo(48).Int32LE(13).Raw({1})}),
    [](const auto& info) { return std::string(info.param.label); });
// clang-format on

TEST(Recognition, RowsAfterTheFirst27MatchOnlyWhereNoEarlierRowDid) {
  for (std::size_t row = 27; row < RecognitionTable().size(); ++row) {
    EXPECT_TRUE(RecognitionTable()[row].onlyWhenNothingEarlierMatched)
        << RecognitionTable()[row].format->name;
  }
}

TEST(Recognition, ZeroRecordLengthOfTheLongIntegerTestIsAnError) {
  // k = -50 gives -50 x 2 + 100 = 0; the remainder is taken even when the
  // marker at 14 rules the row out (and after an earlier match: the known-file
  // dispatch test's ABF file).
  EXPECT_THROW(Rows(At(92).Int16LE(-50)), ConvoraError);
  EXPECT_EQ(Rows(At(92).Int16LE(-49)), std::vector<int>{});
}

}  // namespace
}  // namespace convora
