#include "app/Recognition.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "abf/LittleEndian.h"
#include "support/TestSupport.h"

namespace convora {
namespace {

using test::Bytes;

// A crafted file: zeros of a given size with text and numbers placed at offsets.
struct File {
  Bytes bytes;
  std::string path = "/data/rec.dat";

  explicit File(std::size_t size) : bytes(size, 0) {}
  File& Text(std::size_t offset, std::string_view text) {
    std::copy(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
    return *this;
  }
  File& Byte(std::size_t offset, std::uint8_t value) {
    bytes[offset] = value;
    return *this;
  }
  File& Int16(std::size_t offset, std::int16_t value) {
    StoreLittleEndian(&bytes[offset], value);
    return *this;
  }
  File& Int32(std::size_t offset, std::int32_t value) {
    StoreLittleEndian(&bytes[offset], value);
    return *this;
  }
  File& Named(std::string name) {
    path = std::move(name);
    return *this;
  }
};

// The input as the dispatcher reads it from such a file.
RecognitionInput InputOf(const File& file) {
  const auto length = static_cast<std::int64_t>(file.bytes.size());
  std::int16_t mark = 0;
  if (length > 0 && length % 2048 == 0) {
    mark = LoadLittleEndian<std::int16_t>(&file.bytes[static_cast<std::size_t>(length - 46)]);
  }
  return MakeRecognitionInput(file.bytes, length, file.path, mark);
}

// Numbers (1-based) of the rows that match.
std::vector<int> Rows(const File& file) {
  const auto table = RecognitionTable();
  std::vector<int> rows;
  for (const RecognitionRow* row : MatchingRows(InputOf(file))) {
    rows.push_back(static_cast<int>(row - table.data()) + 1);
  }
  return rows;
}

// 1001 zero bytes match no row: not a multiple of 100, 512, 2048 or 8000, and
// every field a test looks at is zero.
constexpr std::size_t kPlain = 1001;

struct Case {
  const char* label;
  File file;
  std::vector<int> rows;
};

std::string LabelOf(const testing::TestParamInfo<Case>& info) { return info.param.label; }

class RecognitionRows : public testing::TestWithParam<Case> {};

TEST_P(RecognitionRows, MatchExactlyTheseRows) {
  EXPECT_EQ(Rows(GetParam().file), GetParam().rows);
}

constexpr char kChart[] = {'A', 0, 'D', 0, 'I', 0, 'n', 0, 's', 0, 't'};
constexpr char kChartNearMiss[] = {'A', 0, 'D', 0, 'I', 0, 'n', 0, 's', 0, 'T'};

// clang-format off
INSTANTIATE_TEST_SUITE_P(EachRow, RecognitionRows, testing::Values(
    Case{"Plain",               File(kPlain),                                           {}},
    Case{"Abf",                 File(kPlain).Text(0, "ABF "),                           {1}},
    Case{"AbfVersion2",         File(kPlain).Text(0, "ABF2"),                           {}},
    // sCreatorInfo is 16 characters, 294..309.
    Case{"EventFile",           File(kPlain).Text(296, "Vestralinkor"),                 {2}},
    Case{"EventMarkCut",        File(kPlain).Text(299, "Vestralinkor"),                 {}},
    Case{"Axograph",            File(kPlain).Text(0, "AxGr"),                           {3}},
    Case{"AxographLowerCase",   File(kPlain).Text(0, "axGr"),                           {}},
    Case{"Matlab",              File(kPlain).Text(0, "MATLAB 5.0"),                     {4}},
    Case{"MatlabShort",         File(kPlain).Text(0, "MATLA"),                          {}},
    Case{"WinCdr",              File(kPlain).Text(0, "VER=6"),                          {5}},
    Case{"WinCdrOtherVersion",  File(kPlain).Text(0, "VER=5"),                          {}},
    Case{"Scan",                File(kPlain).Text(0, "DT=").Named("/data/rec.sca"),     {6}},
    Case{"ScanMixedCaseName",   File(kPlain).Text(0, "DT=").Named("/data/REC.Sca"),     {6}},
    Case{"ScanLowerCaseProbe",  File(kPlain).Text(0, "dt=").Named("/data/rec.SCA"),     {}},
    Case{"ScanLongerExtension", File(kPlain).Text(0, "DT=").Named("/data/rec.scan"),    {}},
    Case{"WinWcp",              File(kPlain).Text(0, "VER=").Named("/data/rec.WCP"),    {7}},
    Case{"WinWcpAndWinCdr",     File(kPlain).Text(0, "VER=6").Named("/data/rec.wcp"),   {5, 7}},
    Case{"WinWcpOtherName",     File(kPlain).Text(0, "VER=").Named("/data/rec.wcpx"),   {}},
    // The probe is 48 bytes: "ELSAA" at 43..47 is inside, at 44 it is cut.
    Case{"Elsaa",               File(kPlain).Text(43, "ELSAA"),                         {8}},
    Case{"ElsaaPastProbe",      File(kPlain).Text(44, "ELSAA"),                         {}},
    Case{"Spike2",              File(kPlain).Text(2, "(C) CED"),                        {9}},
    Case{"Spike2Shifted",       File(kPlain).Text(3, "(C) CED"),                        {}},
    Case{"IgorTextMac",         File(kPlain).Text(0, "IGOR\rWAVES\t"),                  {10}},
    Case{"IgorTextOther",       File(kPlain).Text(0, "IGOR\r\nWAVES"),                  {10}},
    Case{"IgorTextLowerCase",   File(kPlain).Text(0, "IGOr"),                           {}},
    Case{"IgorBinaryPc",        File(kPlain).Int16(0, 2),                               {11}},
    Case{"IgorBinaryMac",       File(kPlain).Byte(1, 2),                                {11}},
    Case{"IgorBinaryVersion3",  File(kPlain).Int16(0, 3),                               {}},
    Case{"Igor5",               File(kPlain).Int16(0, 5).Named("/data/w.ibw"),          {12}},
    Case{"Igor5MacUpperName",   File(kPlain).Byte(1, 5).Named("/data/W.IBW"),           {12}},
    // The extension need not end the path.
    Case{"Igor5InnerExtension", File(kPlain).Int16(0, 5).Named("/data/w.ibw.bak"),      {12}},
    Case{"Igor5OtherName",      File(kPlain).Int16(0, 5).Named("/data/w.ibx"),          {}},
    Case{"ChartWin",            File(kPlain).Text(0, {kChart, sizeof kChart}),          {13}},
    Case{"ChartWinNearMiss",    File(kPlain).Text(0, {kChartNearMiss, sizeof kChart}),  {}},
    // Two blocks: the mark of the last block (2048 + 2002) must be n - 1 = 1.
    Case{"Torvane",             File(4096).Int16(4050, 1),                              {14}},
    Case{"TorvaneWrongMark",    File(4096).Int16(4050, 2),                              {}},
    Case{"TorvaneFirstMarkSet", File(4096).Int16(4050, 1).Int16(2002, 1),               {}},
    // One block: its own mark is both the first and the last, and must be 0.
    Case{"TorvaneOneBlock",     File(2048),                                             {14}},
    // "TIME" at 0-based offset 15 is probe position 16.
    Case{"Racal",               File(kPlain).Text(0, "DATE").Text(15, "TIME"),          {15}},
    Case{"RacalTimeEarlier",    File(kPlain).Text(0, "DATETIME").Text(15, "TIME"),      {}},
    Case{"RacalTimeLater",      File(kPlain).Text(0, "DATE").Text(16, "TIME"),          {}},
    Case{"Cfs",                 File(kPlain).Text(0, "CEDFILE"),                        {16}},
    Case{"CfsShort",            File(kPlain).Text(0, "CEDFIL"),                         {}},
    Case{"WinTida",             File(kPlain).Text(0, "TIDA").Byte(4, 1),                {17}},
    Case{"WinTidaOtherByte",    File(kPlain).Text(0, "TIDA").Byte(4, 2),                {}},
    // The 9 characters at 501 end at 509.
    Case{"Tida",                File(kPlain).Text(506, "TIDA"),                         {18}},
    Case{"TidaCut",             File(kPlain).Text(507, "TIDA"),                         {}},
    Case{"LumiraShort",         File(1024).Int16(510, 9999),                            {19}},
    Case{"LumiraShortLength",   File(1025).Int16(510, 9999),                            {}},
    // k = 0: records of 0 x 2 + 100 bytes; k = 150: 400 bytes; k = -100: -100
    // bytes, which divide 1000 as well as 100 does.
    Case{"LumiraLong",          File(1000).Int16(14, 32767),                            {20}},
    Case{"LumiraLongRecord400", File(1200).Int16(14, 32767).Int16(92, 150),             {20}},
    Case{"LumiraLongNegative",  File(1000).Int16(14, 32767).Int16(92, -100),            {20}},
    Case{"LumiraLongLength",    File(1100).Int16(14, 32767).Int16(92, 150),             {}},
    Case{"LumiraLongNoMarker",  File(1000).Int16(14, 32766),                            {}},
    Case{"Brenlow16000",        File(16000),                                            {21}},
    Case{"BrenlowEmpty",        File(0),                                                {21}},
    Case{"BrenlowLength",       File(8001),                                             {}},
    Case{"Ostrel",              File(kPlain).Int16(0, 1).Int32(2, 70),                  {22}},
    Case{"OstrelOtherLength",   File(kPlain).Int16(0, 1).Int32(2, 71),                  {}},
    Case{"DataQuest",           File(kPlain).Text(0, "WD"),                             {23}},
    Case{"DataQuestLowerCase",  File(kPlain).Text(0, "Wd"),                             {}},
    Case{"AcqKnowledgeMac",     File(kPlain).Byte(5, 0x23),                             {24}},
    // 0x23 first is the little-endian 35: neither the Macintosh nor the PC mark (36).
    Case{"AcqKnowledgeSwapped", File(kPlain).Byte(2, 0x23),                             {}},
    Case{"AcqKnowledgePc",      File(kPlain).Int32(2, 36),                              {25}},
    Case{"AcqKnowledgePcSet0",  File(kPlain).Int16(0, 1).Int32(2, 36),                  {}},
    Case{"Cdr",                 File(kPlain).Text(168, "CDR"),                          {26}},
    Case{"CdrThree",            File(kPlain).Text(171, "3"),                            {26}},
    Case{"CdrThreeOutside",     File(kPlain).Text(172, "3"),                            {}},
    // An earlier match keeps the CDR row from matching; a later one does not.
    Case{"CdrAfterAxograph",    File(kPlain).Text(0, "AxGr").Text(168, "CDR"),          {3}},
    Case{"CdrAndLtp",           File(kPlain).Text(1, "LTP_ASF").Text(168, "3"),         {26, 27}},
    Case{"Ltp",                 File(kPlain).Text(1, "LTP_ASF"),                        {27}},
    Case{"LtpAtStart",          File(kPlain).Text(0, "LTP_ASF"),                        {}},
    Case{"IgorTextOf16000",     File(16000).Text(0, "IGOR"),                            {10, 21}},
    Case{"AbfAndEventFile",     File(kPlain).Text(0, "ABF ").Text(294, "Vestralinkor"), {1, 2}}),
    LabelOf);
// clang-format on

TEST(Recognition, TableHasTheTwentySevenRowsNamedForTheirFormats) {
  const auto table = RecognitionTable();
  ASSERT_EQ(table.size(), 27u);
  EXPECT_EQ(table[2].name, "Axograph file v1");
  EXPECT_EQ(table[10].name, "Igor Binary File v2.0");
  EXPECT_EQ(table[25].name, "Kestrin's CDR");
}

TEST(Recognition, ZeroRecordLengthOfTheLongIntegerTestIsAnError) {
  // k = -50 gives -50 x 2 + 100 = 0; the remainder is taken even when the
  // marker at 14 rules the row out, and even after an earlier match.
  EXPECT_THROW(Rows(File(kPlain).Int16(92, -50)), ConvoraError);
  EXPECT_THROW(Rows(File(kPlain).Text(0, "AxGr").Int16(92, -50)), ConvoraError);
  EXPECT_EQ(Rows(File(kPlain).Int16(92, -49)), std::vector<int>{});
}

}  // namespace
}  // namespace convora
