#include "formats/igortext/IgorTextMac.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "support/ExpectedAbf.h"

namespace convora::test {
namespace {

TEST(IgorTextMac, WorkedExampleWrittenOverALongerFileOnATemplateWithEveryByteSet) {
  BenchFixture f(PatternedTemplate());
  const Bytes old(9000, 0xee);
  WriteFile(f.dir / "cell.ABF", old);
  f.prompter.AnswerInput("interval", "50");
  // -4, 0, 3, 5, 0 pA: the range is the smaller magnitude, 4; factor 10.24 / 4 / 2 = 1.28,
  // as a float 1.27999997139; count = v x 32768 x 1.27999997139 / 10 - 1 = v x 4194.3039 - 1:
  //   -4 -> -16778.22 -> -16778; 0 -> -1; 3 -> 12581.91 -> 12582; 5 -> 20970.52 -> 20971
  //   (beyond the range's 16776, still stored).
  AbfHeader h = StampedTemplate(PatternedTemplate());
  DescribeRecording(h, 5, 50.0f, 0.00025f, 10.0f);  // 5 x 50 / 1e6 s
  DescribeChannel(h, 0, "pA", 1.28f);
  h.Set(abf::nOperationMode, std::int16_t{5});
  h.Set(abf::lActualEpisodes, 1);
  h.Set(abf::lNumSamplesPerEpisode, 5);
  // Values sit after CR+TAB; each piece is read by the number it starts with
  // ("wave0" as 0, a piece far longer than a read by its start), and the TAB
  // after the trailer's last CR starts an empty piece, read as 0.
  const Bytes text = TextBytes("IGOR\rWAVES/D\twave0\rBEGIN\r\t-4e-12\r\twave0\r\t3e-12" +
                               std::string(200000, 'x') + "\r\t5e-12\rEND\rX SetScale\r\t");
  // Samples at 16 x 512; the old bytes between and after stay.
  EXPECT_EQ(Converted(f, ConvertIgorTextMac, "cell.itx", text),
            AbfImage(h, {-16778, -1, 12582, 20971, -1}, old));
  EXPECT_EQ(f.bench.TemplateHeader, h);
  // The template's channel count (every byte set) is not 1: the user is told.
  ASSERT_EQ(f.prompter.Transcript().size(), 2u);
  EXPECT_EQ(f.prompter.Transcript()[0],
            "Input Sample Interval: Please enter the sample interval in microsecond");
  EXPECT_TRUE(f.prompter.Transcript()[1].starts_with(
      Notice(f.bench.SelectedFilePath, "nADCNumChannels 21067 is carried over")));
}

// A text long enough to be read in shares, one per core: the samples of every
// share land in order, and a bad value is named by its place in the file.
TEST(IgorTextMac, LongTextsReadInSharesKeepTheFileOrder) {
  // Range 10, count = v x 32768 x 0.512f / 10 - 1 = v x 1677.72168 - 1:
  // -10 -> -16778, 10 -> 16776, 5 -> 8388, 0 -> -1.
  const std::string group = "\r\t-1e-11\r\t1e-11\r\t5e-12\r\t0";
  constexpr std::size_t kGroups = 120000;  // 3 MB
  std::string text = "h";
  for (std::size_t i = 0; i < kGroups; ++i) text += group;
  std::vector<std::int16_t> expected;
  for (std::size_t i = 0; i < kGroups; ++i) expected.insert(expected.end(), {-16778, 16776, 8388, -1});
  BenchFixture f;
  const Bytes written = Converted(f, ConvertIgorTextMac, "long.itx", TextBytes(text));
  EXPECT_EQ(SamplesOf(written, expected.size()), expected);
  EXPECT_EQ(HeaderOf(written).Get(abf::lActualAcqLength), static_cast<std::int32_t>(expected.size()));
  EXPECT_EQ(HeaderOf(written).Get(abf::fADCSampleInterval), 1000.0f);  // the default

  // The answer is taken as typed, even one no recording could have.
  BenchFixture backwards;
  backwards.prompter.AnswerInput("interval", "-50");
  EXPECT_EQ(HeaderOf(Converted(backwards, ConvertIgorTextMac, "long.itx", TextBytes(text)))
                .Get(abf::fADCSampleInterval),
            -50.0f);

  // A value too large for picoamperes just before the last one: in the last
  // share, wherever the text is split.
  text.insert(text.size() - 3, "\r\t1e300");
  BenchFixture bad;
  ExpectError(bad, ConvertIgorTextMac, "bad.itx", TextBytes(text), "value 480000 is too large");
}

TEST(IgorTextMac, BadFilesAndAnswersEndWithNothingWritten) {
  const std::string good = "h\r\t-1e-11\r\t1e-11\r";
  const auto expect = [](const std::string& text, std::optional<std::string> answer,
                         std::string_view reason) {
    BenchFixture f;
    f.prompter.AnswerInput("interval", std::move(answer));
    ExpectError(f, ConvertIgorTextMac, "bad.itx", TextBytes(text), reason);
  };
  // CR and TAB, but never a CR directly followed by a TAB.
  expect("IGOR\r\n\t1e-11\r\n\t2e-11\r\n", "1", "no data lines");
  expect("h\r\t0\r\t5e-12\r", "1", "magnitudes is 0");
  // Range 10, so 30 pA -> 30 x 1677.72 - 1 = 50330.6, beyond 32767.
  expect("h\r\t-1e-11\r\t3e-11\r", "1", "16-bit");
  // 1e300 A is 1e312 pA, beyond a double.
  expect("h\r\t1e300\r", "1", "value 1 is too large");
  expect(good, std::nullopt, "no sample interval");
  expect(good, "50us", "not a number");
  expect(good, "1e39", "too large");
}

}  // namespace
}  // namespace convora::test
