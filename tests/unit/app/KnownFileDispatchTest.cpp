#include "app/KnownFileDispatch.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "support/TestSupport.h"

namespace convora {
namespace {

using test::ByteBuilder;
using Lines = std::vector<std::string>;

// Stands in for the unknown-format conversion: a notice naming the file it was given.
void Unknown(Workbench& b) { b.Prompt().Notice("unknown " + b.SelectedFilePath.string()); }

struct KnownFileDispatch : testing::Test {
  // Runs the dispatcher on the selected file.
  const Lines& Run() {
    ConvertKnownFile(fx.bench, Unknown);
    return fx.prompter.Transcript();
  }
  test::BenchFixture fx;
};

TEST_F(KnownFileDispatch, EveryMatchingRowSpeaksInTableOrderAndNothingIsAsked) {
  // Rows 1, 2 and 21 (16000 bytes): two messages, then the notice of a format
  // that cannot be converted.
  const auto path = fx.Select("both.abf", ByteBuilder().Text("ABF ").PadTo(294).Text("Vestralinkor")
                                              .PadTo(6000).Text("t").PadTo(16000).Get());
  EXPECT_EQ(Run(), (Lines{
      "ABF File: This is an Axon Binary File.  You don't need to convert.",
      "Vestralinkor Event File: This is an Event File Created by Vestralinkor Program.",
      "notice: " + path.string() + ": its length is a multiple of 8000 bytes, which is all that "
      "marks a Brenlow custom binary file (an empty file has it too), and that layout is not "
      "published: if you know the file's layout, convert it with the raw binary conversion "
      "(convora binary, or Convert Unknown Binary to ABF in the window); nothing written"}));
  EXPECT_EQ(fx.bench.WorkHeader.Bytes()[6000], 't');  // the first 6144 bytes
}

TEST_F(KnownFileDispatch, UnknownFileIsConvertedOnlyWhenTheAnswerIsYes) {
  const auto path = fx.Select("plain.bin", test::Bytes(1001, 0));
  const std::string question =
      "Unknown Data File: This file (plain.bin) has unrecognizable data file format.  Would you "
      "like to proceed with unknown binary file conversion?";
  fx.prompter.SetBusy(true);
  EXPECT_EQ(Run(), Lines{question});
  EXPECT_FALSE(fx.prompter.Busy());
  fx.prompter.AnswerYesNo("unknown", true);
  EXPECT_EQ(Run(), (Lines{question, question, "notice: unknown " + path.string()}));
}

TEST_F(KnownFileDispatch, IgorTextGoesToTheMacintoshConversionOrToTheWaves) {
  // Any other Igor text is read as waves: its SetScale gives the interval.
  fx.Select("sweep.itx", ByteBuilder()
                             .Text("IGOR\r\nWAVES\twave0\r\nBEGIN\r\n1\r\n2\r\nEND\r\n"
                                   "X SetScale/P x 0,1e-4,\"s\", wave0\r\n")
                             .Get());
  const Lines& lines = Run();
  EXPECT_TRUE(lines.empty());
  EXPECT_EQ(test::HeaderOf(test::ReadFile(fx.dir / "sweep.ABF")).Get(abf::fADCSampleInterval), 100.0f);
  // The Macintosh text asks for the interval and writes.
  fx.Select("wave.txt", ByteBuilder().Text("IGOR\rWAVES\twave0\rBEGIN\r\t1e-12\r\t1e-12\r").Get());
  Run();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(lines[0].starts_with("Input Sample Interval: ")) << lines[0];
  EXPECT_EQ(fx.bench.List1.Entries().size(), 2u);
}

TEST_F(KnownFileDispatch, ErrorsEndTheFileBeforeAnythingIsShown) {
  // An ABF signature (row 1) and k = -50 at offset 92 (row 20: 0-byte records).
  fx.Select("bad.abf", ByteBuilder().Text("ABF ").PadTo(92).Int16LE(-50).PadTo(1001).Get());
  fx.prompter.SetBusy(true);
  EXPECT_THROW(Run(), ConvoraError);
  EXPECT_FALSE(fx.prompter.Busy());
  fx.bench.SelectedFilePath = fx.dir / "absent.dat";
  EXPECT_THROW(Run(), ConvoraError);
  EXPECT_TRUE(fx.prompter.Transcript().empty());  // not even the unknown-format question
}

}  // namespace
}  // namespace convora
