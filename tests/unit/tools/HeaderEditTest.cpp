// The two tools that rewrite only the header in place: unit and scale factor,
// and sample interval.

#include <gtest/gtest.h>

#include "support/ExpectedAbf.h"
#include "tools/AbfTools.h"

namespace convora {
namespace {

using test::Bytes;

class HeaderEditTest : public ::testing::Test {
 protected:
  // The header, four samples and a tail that must all survive the edit.
  Bytes FileWith(const AbfHeader& header) {
    return test::AbfImage(header, {1, -2, 3, -4}, Bytes(8192 + 8 + 64, 0x5C));
  }
  void ExpectRefused(void (*edit)(Workbench&), const Bytes& before) {
    EXPECT_THROW(edit(f.bench), ConvoraError);
    EXPECT_EQ(test::ReadFile(f.bench.SelectedFilePath), before);
    EXPECT_TRUE(f.bench.List1.Entries().empty());
  }

  test::BenchFixture f;
};

TEST_F(HeaderEditTest, ChannelNumberIndexesThroughTheSamplingSequence) {
  AbfHeader h = test::AbfToEdit(4, 2);
  h.Set(abf::nADCSamplingSeq, 0, std::int16_t{2});
  h.Set(abf::nADCSamplingSeq, 1, std::int16_t{0});
  const Bytes before = FileWith(h);
  f.Select("two.abf", before);
  f.prompter.AnswerInput("channel", "1");
  f.prompter.AnswerInput("unit", "Picoampere");
  f.prompter.AnswerInput("scale", "0.5");
  ChangeUnitAndScaleFactor(f.bench);

  // Position 1 samples physical channel 2; the unit keeps its first 8 characters.
  h.Set(abf::sADCUnits, 2, "Picoampe");
  h.Set(abf::fInstrumentScaleFactor, 2, 0.5f);
  Bytes expected = before;
  std::copy(h.Bytes().begin(), h.Bytes().end(), expected.begin());
  EXPECT_EQ(test::ReadFile(f.bench.SelectedFilePath), expected);
  EXPECT_EQ(f.prompter.Transcript().front(),
            "Channel Number: This file has 2 channel recording.  Please enter channel number "
            "to change.");
  EXPECT_EQ(f.bench.List1.Entries().back(), f.bench.SelectedFilePath);
}

TEST_F(HeaderEditTest, OneChannelAsksNoChannelAndCancelBlanksTheUnit) {
  AbfHeader h = test::AbfToEdit(4);
  h.Set(abf::nADCSamplingSeq, 0, std::int16_t{3});
  h.Set(abf::fInstrumentScaleFactor, 3, 0.1f);
  f.Select("one.abf", FileWith(h));
  f.prompter.AnswerInput("unit", std::nullopt);
  ChangeUnitAndScaleFactor(f.bench);  // the scale factor's default is taken

  h.Set(abf::sADCUnits, 3, "        ");
  EXPECT_EQ(test::HeaderOf(test::ReadFile(f.bench.SelectedFilePath)), h);
  EXPECT_EQ(f.prompter.Transcript(),
            (std::vector<std::string>{"New Unit: Please enter new Unit.",
                                      "New Scale Factor: Please enter new scale factor."}));
}

TEST_F(HeaderEditTest, BadAnswersWriteNothing) {
  const Bytes twoChannels = FileWith(test::AbfToEdit(4, 2));
  f.Select("two.abf", twoChannels);
  f.prompter.AnswerInput("channel", "17");
  ExpectRefused(ChangeUnitAndScaleFactor, twoChannels);

  f.prompter.AnswerInput("channel", "2");
  f.prompter.AnswerInput("scale", "ten");
  ExpectRefused(ChangeUnitAndScaleFactor, twoChannels);

  f.prompter.AnswerInput("interval", std::nullopt);
  ExpectRefused(ChangeSampleInterval, twoChannels);
}

TEST_F(HeaderEditTest, SampleIntervalChangesOnlyItsField) {
  AbfHeader h = test::AbfToEdit(4);
  h.Set(abf::fADCSampleInterval, 33.333332f);  // needs nine digits to come back
  h.Set(abf::fSecondsPerRun, 0.25f);
  const Bytes before = FileWith(h);
  f.Select("timed.abf", before);
  ChangeSampleInterval(f.bench);  // OK on the default
  EXPECT_EQ(test::ReadFile(f.bench.SelectedFilePath), before);

  f.prompter.AnswerInput("interval", " 12.5 ");
  ChangeSampleInterval(f.bench);
  h.Set(abf::fADCSampleInterval, 12.5f);  // fSecondsPerRun stays 0.25
  EXPECT_EQ(test::HeaderOf(test::ReadFile(f.bench.SelectedFilePath)), h);
  EXPECT_EQ(f.bench.List1.Entries().size(), 2u);
}

TEST_F(HeaderEditTest, AFileThatIsNotAbfIsLeftAlone) {
  const Bytes text(7000, 'x');
  f.Select("notes.txt", text);
  ChangeSampleInterval(f.bench);
  EXPECT_EQ(f.prompter.Transcript(), std::vector<std::string>{
                                         "Not ABF File: This is not an Axon Binary File.  You "
                                         "need ABF file."});
  EXPECT_EQ(test::ReadFile(f.bench.SelectedFilePath), text);
  EXPECT_TRUE(f.bench.List1.Entries().empty());
}

}  // namespace
}  // namespace convora
