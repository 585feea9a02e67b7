#include "app/KnownFileDispatch.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "support/TestSupport.h"

namespace convora {
namespace {

using test::ByteBuilder;
using test::Bytes;

constexpr const char* kAbfMessage =
    "ABF File: This is an Axon Binary File.  You don't need to convert.";
constexpr const char* kEventMessage =
    "Vestralinkor Event File: This is an Event File Created by Vestralinkor Program.";

std::string UnknownQuestion(const std::string& fileName) {
  return "Unknown Data File: This file (" + fileName +
         ") has unrecognizable data file format.  Would you like to proceed with unknown binary "
         "file conversion?";
}

// 1001 zero bytes carry no signature at all.
Bytes Plain() { return Bytes(1001, 0); }

class Dispatch : public testing::Test {
 protected:
  // Runs the dispatcher on the selected file; counts the unknown conversions.
  void Run() {
    ConvertKnownFile(fx.bench, [this](Workbench& b) { unknownRuns.push_back(b.SelectedFilePath); });
  }
  const std::vector<std::string>& Transcript() const { return fx.prompter.Transcript(); }

  test::BenchFixture fx;
  std::vector<std::filesystem::path> unknownRuns;
};

TEST_F(Dispatch, MessagesOfEveryMatchingRowInTableOrderAndNoQuestion) {
  fx.Select("both.abf",
            ByteBuilder().Text("ABF ").PadTo(294).Text("Vestralinkor").PadTo(1001).Get());
  Run();
  EXPECT_EQ(Transcript(), (std::vector<std::string>{kAbfMessage, kEventMessage}));
  EXPECT_TRUE(unknownRuns.empty());
  EXPECT_TRUE(fx.bench.List1.Entries().empty());
}

TEST_F(Dispatch, WorkHeaderHoldsTheFirstBytesOfTheFile) {
  fx.Select("rec.abf", ByteBuilder().Text("ABF ").PadTo(6000).Text("tail").PadTo(7000).Get());
  Run();
  EXPECT_TRUE(IsAbfFile(fx.bench.WorkHeader));
  EXPECT_EQ(fx.bench.WorkHeader.Bytes()[6000], 't');
}

TEST_F(Dispatch, FormatsWithoutConverterAreNamedInANoticeEachInOrder) {
  // "VER=6" and a lower-case .wcp name: the WinCDR row, then the WinWCP row.
  const auto path = fx.Select("cell.wcp", ByteBuilder().Text("VER=6").PadTo(1001).Get());
  Run();
  ASSERT_EQ(Transcript().size(), 2u);
  EXPECT_NE(Transcript()[0].find("Kestrin's WinCDR"), std::string::npos) << Transcript()[0];
  EXPECT_NE(Transcript()[1].find("Kestrin's WinWCP"), std::string::npos) << Transcript()[1];
  for (const std::string& line : Transcript()) {
    EXPECT_TRUE(line.starts_with("notice: ")) << line;
    EXPECT_NE(line.find(path.string()), std::string::npos) << line;
  }
  EXPECT_TRUE(unknownRuns.empty());
  EXPECT_TRUE(fx.bench.List1.Entries().empty());
}

TEST_F(Dispatch, IgorTextChoosesItsConverterByTheSecondLine) {
  fx.Select("sweep.itx", ByteBuilder().Text("IGOR\r\nWAVES\twave0\r\n").PadTo(1001).Get());
  Run();
  ASSERT_EQ(Transcript().size(), 1u);
  EXPECT_NE(Transcript()[0].find("Pulse IGB (Mac) ITX (PC) file"), std::string::npos);

  // The Macintosh text goes to its converter, which asks for the interval and writes.
  test::BenchFixture mac;
  mac.Select("wave.txt", ByteBuilder().Text("IGOR\rWAVES\twave0\rBEGIN\r\t1e-12\r\t1e-12\r").Get());
  ConvertKnownFile(mac.bench, [](Workbench&) { FAIL() << "no unknown-format question expected"; });
  EXPECT_EQ(mac.bench.List1.Entries().size(), 1u);
  ASSERT_FALSE(mac.prompter.Transcript().empty());
  EXPECT_TRUE(mac.prompter.Transcript()[0].starts_with("Input Sample Interval: "))
      << mac.prompter.Transcript()[0];
}

TEST_F(Dispatch, LastBlockMarkIsReadBeyondTheHeader) {
  // Four blocks of 2048: the mark of the last one, at 3 x 2048 + 2002 = 8146,
  // lies past the 6144 bytes of WorkHeader and must be 4 - 1 = 3.
  fx.Select("tor.dat", ByteBuilder().PadTo(8146).Int16LE(3).PadTo(8192).Get());
  Run();
  ASSERT_EQ(Transcript().size(), 1u);
  EXPECT_NE(Transcript()[0].find("Torvane's Axobasic data files"), std::string::npos);
}

TEST_F(Dispatch, UnknownFileAnsweredNoIsLeftAlone) {
  fx.Select("plain.bin", Plain());
  fx.prompter.SetBusy(true);
  Run();
  EXPECT_EQ(Transcript(), std::vector<std::string>{UnknownQuestion("plain.bin")});
  EXPECT_TRUE(unknownRuns.empty());
  EXPECT_FALSE(fx.prompter.Busy());
}

TEST_F(Dispatch, UnknownFileAnsweredYesGoesToTheBinaryConversion) {
  const auto path = fx.Select("plain.bin", Plain());
  fx.prompter.AnswerYesNo("unknown", true);
  Run();
  EXPECT_EQ(Transcript(), std::vector<std::string>{UnknownQuestion("plain.bin")});
  EXPECT_EQ(unknownRuns, std::vector<std::filesystem::path>{path});
}

TEST_F(Dispatch, EmptyFileIsRecognisedNotAskedAbout) {
  fx.Select("empty.dat", {});
  Run();
  ASSERT_EQ(Transcript().size(), 1u);
  EXPECT_NE(Transcript()[0].find("Brenlow custom binary file"), std::string::npos);
  EXPECT_TRUE(unknownRuns.empty());
}

TEST_F(Dispatch, ZeroRecordLengthEndsTheFileBeforeAnythingIsShown) {
  // An ABF signature (row 1) and k = -50 at offset 92 (row 20: 0-byte records).
  fx.Select("bad.abf", ByteBuilder().Text("ABF ").PadTo(92).Int16LE(-50).PadTo(1001).Get());
  fx.prompter.SetBusy(true);
  EXPECT_THROW(Run(), ConvoraError);
  EXPECT_TRUE(Transcript().empty());
  EXPECT_TRUE(unknownRuns.empty());
  EXPECT_FALSE(fx.prompter.Busy());
}

TEST_F(Dispatch, MissingFileIsAnError) {
  fx.bench.SelectedFilePath = fx.dir / "absent.dat";
  EXPECT_THROW(Run(), ConvoraError);
  EXPECT_TRUE(Transcript().empty());
}

}  // namespace
}  // namespace convora
