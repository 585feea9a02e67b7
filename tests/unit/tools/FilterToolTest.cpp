#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "abf/GaussianFilter.h"
#include "support/ExpectedAbf.h"
#include "tools/AbfTools.h"

namespace convora {
namespace {

using test::Bytes;

class FilterToolTest : public ::testing::Test {
 protected:
  FilterToolTest() { header.Set(abf::fSignalLowpassFilter, 0, 5000.0f); }

  void Answer(const std::string& pre, const std::string& wanted) {
    f.prompter.AnswerInput("pre", pre);
    f.prompter.AnswerInput("new", wanted);
  }
  bool NothingWritten() const {
    return f.bench.List1.Entries().empty() && test::EntriesIn(f.dir.Path()) == 1;
  }

  test::BenchFixture f;
  AbfHeader header = test::AbfToEdit(6);
  Bytes small = test::AbfImage(header, {100, -100, 200, -200, 300, -300});
};

TEST_F(FilterToolTest, FiltersWithTheCascadeCutoffAcrossChunkBoundaries) {
  // More samples than one chunk of the streamed filter, so that outputs near
  // the chunk edges need neighbours from the next read.
  std::vector<std::int16_t> samples(1'100'000);
  std::mt19937 random(7);
  for (auto& s : samples) s = static_cast<std::int16_t>(random() % 20001) - 10000;
  header.Set(abf::lActualAcqLength, static_cast<std::int32_t>(samples.size()));
  f.Select("cell.abf", test::AbfImage(header, samples, Bytes(9000, 0x77)));
  EXPECT_EQ(FilterAbfFile(f.bench), AfterFile::kGoOn);  // defaults: pre "5" (from 5000 Hz), new "1"

  // 100 us between samples: fs = 10 kHz; fe = (1^-2 - 5^-2)^-0.5 = 0.96^-0.5
  // = 1.0206 kHz; fc = 0.10206, sigma = 1.2983, 5 samples each side.
  const float fc = static_cast<float>(1.0 / std::sqrt(0.96) / 10.0);
  std::vector<std::int16_t> expected(samples.size());
  ASSERT_TRUE(GaussianFilter(samples, expected, fc));
  // The header unchanged, the filtered samples, nothing else of the source.
  const auto output = f.dir / "cellFilter.ABF";
  EXPECT_EQ(test::ReadFile(output), test::AbfImage(header, expected));
  EXPECT_EQ(f.bench.List1.Entries().back(), output);
}

// A name with a dot loses the frequency with the extension: "cellFilter.ABF" above.
TEST_F(FilterToolTest, ADotlessNameCarriesTheNewFrequency) {
  f.Select("cell1", small);
  Answer("5", "0.5");
  FilterAbfFile(f.bench);
  EXPECT_TRUE(std::filesystem::exists(f.dir / "cell1Filter0.5.ABF"));
}

// The frequencies are compared as texts; a new frequency of 0 ends the run silently.
TEST_F(FilterToolTest, AnswersThatCannotFilterWriteNothing) {
  f.Select("cell.abf", small);
  Answer("10", "2");  // "10" sorts before "2": refused, and the run ends
  EXPECT_EQ(FilterAbfFile(f.bench), AfterFile::kStopTool);
  EXPECT_EQ(f.prompter.Transcript().back(),
            "Filter Frequency: The pre-filter frequency should be bigger than new filter "
            "prequency.  Please try again.");
  EXPECT_TRUE(NothingWritten());

  Answer("9", "10");  // passes the text check; 10^-2 - 9^-2 < 0 has no root
  EXPECT_THROW(FilterAbfFile(f.bench), ConvoraError);
  EXPECT_TRUE(NothingWritten());

  const std::size_t asked = f.prompter.Transcript().size();
  Answer("5", "0");
  EXPECT_EQ(FilterAbfFile(f.bench), AfterFile::kStopTool);
  EXPECT_EQ(f.prompter.Transcript().size(), asked + 2);  // the two questions, no message
  EXPECT_TRUE(NothingWritten());
}

TEST_F(FilterToolTest, AMultiChannelFileGetsTheChannelQuestionAndSaysWhyNothingIsWritten) {
  f.Select("two.abf", test::AbfImage(test::AbfToEdit(6, 2), {1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(FilterAbfFile(f.bench), AfterFile::kGoOn);
  EXPECT_EQ(f.prompter.Transcript(),
            (std::vector<std::string>{"Channel Number: This file has 2 channel recording.  Please "
                                      "enter channel number to change.",
                                      test::Notice(f.bench.SelectedFilePath,
                                                   "not filtered: the Gaussian filter works on "
                                                   "one-channel files, and this file has 2 "
                                                   "channels; nothing written")}));
  EXPECT_TRUE(NothingWritten());
}

}  // namespace
}  // namespace convora
