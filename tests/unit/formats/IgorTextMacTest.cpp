#include "formats/IgorTextMac.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "abf/ConvoraError.h"
#include "abf/TemplateFile.h"
#include "support/TestSupport.h"

namespace convora {
namespace {

using test::Bytes;

Bytes TextBytes(const std::string& text) { return Bytes(text.begin(), text.end()); }

// The header a conversion of `count` values should write, every field set by hand.
AbfHeader ExpectedHeader(AbfHeader stamped, std::int32_t count, float interval,
                         float secondsPerRun, float scaleFactor) {
  AbfHeader h = stamped;
  h.Set(abf::nOperationMode, std::int16_t{5});
  h.Set(abf::lActualAcqLength, count);
  h.Set(abf::lActualEpisodes, 1);
  h.Set(abf::lNumSamplesPerEpisode, count);
  h.Set(abf::fSecondsPerRun, secondsPerRun);
  h.Set(abf::fADCSampleInterval, interval);
  h.Set(abf::fADCRange, 10.0f);
  h.Set(abf::lADCResolution, 32768);
  h.Set(abf::nADCSamplingSeq, 0, std::int16_t{0});
  h.Set(abf::sADCUnits, 0, "pA");
  h.Set(abf::fADCProgrammableGain, 0, 1.0f);
  h.Set(abf::fInstrumentScaleFactor, 0, scaleFactor);
  h.Set(abf::fInstrumentOffset, 0, 0.0f);
  h.Set(abf::fSignalGain, 0, 1.0f);
  h.Set(abf::fSignalOffset, 0, 0.0f);
  return h;
}

// `base` with the header laid over its start and the samples at the data section.
Bytes Overlay(Bytes base, const AbfHeader& header, const std::vector<std::int16_t>& samples) {
  const auto start = static_cast<std::size_t>(header.Get(abf::lDataSectionPtr)) * 512;
  if (base.size() < start + 2 * samples.size()) base.resize(start + 2 * samples.size(), 0);
  std::copy(header.Bytes().begin(), header.Bytes().end(), base.begin());
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const auto u = static_cast<std::uint16_t>(samples[i]);
    base[start + 2 * i] = static_cast<std::uint8_t>(u & 0xff);
    base[start + 2 * i + 1] = static_cast<std::uint8_t>(u >> 8);
  }
  return base;
}

// A template whose every byte is set, with the data section at block 16.
AbfHeader PatternedTemplate() {
  Bytes image(ABF_HEADER_BYTES);
  for (std::size_t i = 0; i < image.size(); ++i) image[i] = static_cast<std::uint8_t>(i * 7 + 3);
  AbfHeader h(image);
  h.Set(abf::lDataSectionPtr, 16);
  return h;
}

constexpr const char* kHeading = "IGOR\rWAVES/D\twave0\rBEGIN";
constexpr const char* kTrailer = "\rEND\rX SetScale/P x 0,1,\"s\", wave0\r";

TEST(IgorTextMac, WorkedExampleOnATemplateWithEveryByteSet) {
  test::BenchFixture f(PatternedTemplate());
  f.prompter.AnswerInput("interval", "50");
  f.Select("cell.itx",
           TextBytes(std::string(kHeading) + "\r\t-2e-11\r\t1e-11\r\t2e-11" + kTrailer));
  ConvertIgorTextMac(f.bench);

  // Values -20, 10, 20 pA; range = smaller magnitude 20; factor 10.24 / 20 / 2 = 0.256.
  // count = v x 32768 x 0.256f / 10 - 1, 0.256f = 0.2560000121...:
  //   -20 -> -16777.22 - 1 -> -16778; 10 -> 8388.61 - 1 -> 8388; 20 -> 16777.22 - 1 -> 16776.
  // fSecondsPerRun = 3 x 50 / 1e6 = 0.00015.
  const AbfHeader header =
      ExpectedHeader(test::StampedTemplate(PatternedTemplate()), 3, 50.0f, 0.00015f, 0.256f);
  const Bytes expected = Overlay({}, header, {-16778, 8388, 16776});
  EXPECT_EQ(test::ReadFile(f.dir / "cell.ABF"), expected);
  EXPECT_EQ(f.bench.TemplateHeader, header);
  ASSERT_EQ(f.bench.List1.Entries().size(), 1u);
  EXPECT_EQ(f.bench.List1.Entries()[0], f.dir / "cell.ABF");
  EXPECT_EQ(f.prompter.Transcript(),
            std::vector<std::string>{"Input Sample Interval: Please enter the sample interval "
                                     "in microsecond"});
}

TEST(IgorTextMac, SmallerMagnitudeScalesALongerOutputWrittenOverNotShortened) {
  test::BenchFixture f;
  const Bytes old(9000, 0xee);
  test::WriteFile(f.dir / "w.ABF", old);
  f.Select("w.itx", TextBytes("x\r\t-4e-12\r\t5e-12\r"));  // the default answer: 1000 us
  ConvertIgorTextMac(f.bench);

  // -4 and 5 pA: the range is the smaller magnitude, 4; factor 10.24 / 4 / 2 = 1.28, as a
  // float 1.27999997139; v x 32768 x 1.27999997139 / 10 = v x 4194.30390625, minus 1:
  //   -4 -> -16777.22 - 1 -> -16778; 5 -> 20971.52 - 1 -> 20971 (beyond the range's 16776).
  // fSecondsPerRun = 2 x 1000 / 1e6 = 0.002.
  const AbfHeader header = ExpectedHeader(test::StampedTemplate(), 2, 1000.0f, 0.002f, 1.28f);
  EXPECT_EQ(test::ReadFile(f.dir / "w.ABF"), Overlay(old, header, {-16778, 20971}));
}

// With -10 and 10 pA around it, a piece's value v (pA) is stored as
// v x 32768 x 0.512f / 10 - 1 = v x 1677.72168 - 1 (0.512f = 0.51200002432).
struct PieceCase {
  std::string piece;
  std::int16_t count;
};

class IgorTextPiece : public ::testing::TestWithParam<PieceCase> {};

TEST_P(IgorTextPiece, IsReadByTheNumberItStartsWith) {
  test::BenchFixture f;
  f.Select("p.itx", TextBytes(std::string(kHeading) + "\r\t-1e-11\r\t1e-11\r\t" +
                              GetParam().piece));
  ConvertIgorTextMac(f.bench);
  const auto samples = test::SamplesOf(test::ReadFile(f.dir / "p.ABF"), 4);
  EXPECT_EQ(samples, (std::vector<std::int16_t>{-16778, 16776, GetParam().count}));
}

// 5 pA -> 8388.61 - 1 -> 8388; -5 pA -> -8388.61 - 1 -> -8390; 0 -> -1;
// 1.5 pA -> 2516.58 - 1 -> 2516.
INSTANTIATE_TEST_SUITE_P(
    Pieces, IgorTextPiece,
    ::testing::Values(PieceCase{"5e-12\rmore text", 8388}, PieceCase{"5e-12", 8388},
                      PieceCase{"-5e-12\r", -8390}, PieceCase{" \t5E-12\r", 8388},
                      PieceCase{"5d-12\r", 8388}, PieceCase{"+.5D-11x", 8388},
                      PieceCase{"1.5e-12\r", 2516}, PieceCase{"0.000000000005e\r", 8388},
                      PieceCase{"0.000000000005e+\r", 8388}, PieceCase{"5e-000000012\r", 8388},
                      PieceCase{"wave0\r", -1}, PieceCase{".\r", -1}, PieceCase{"-e5\r", -1},
                      PieceCase{"", -1},
                      // A long piece is read by its start.
                      PieceCase{"5e-12" + std::string(200000, 'x'), 8388}));

// Separators and numbers that straddle the boundary between two 64 KiB reads.
class IgorTextChunkEdge : public ::testing::TestWithParam<std::size_t> {};

TEST_P(IgorTextChunkEdge, GivesTheSameSamples) {
  test::BenchFixture f;
  f.Select("c.itx",
           TextBytes(std::string(GetParam(), 'h') + "\r\t-1e-11\r\t1e-11\r\t5e-12\r\r\t0"));
  ConvertIgorTextMac(f.bench);
  EXPECT_EQ(test::SamplesOf(test::ReadFile(f.dir / "c.ABF"), 5),
            (std::vector<std::int16_t>{-16778, 16776, 8388, -1}));
}

INSTANTIATE_TEST_SUITE_P(AroundTheBoundary, IgorTextChunkEdge,
                         ::testing::Values(65526, 65530, 65531, 65532, 65533, 65534, 65535,
                                           65536, 65537));

struct FailureCase {
  std::string name;
  std::string text;
  std::optional<std::string> answer;
  std::string reason;
};

class IgorTextFailure : public ::testing::TestWithParam<FailureCase> {};

TEST_P(IgorTextFailure, WritesNothingAndLeavesTheTemplate) {
  test::BenchFixture f;
  f.prompter.AnswerInput("interval", GetParam().answer);
  f.Select("bad.itx", TextBytes(GetParam().text));
  const AbfHeader before = f.bench.TemplateHeader;
  try {
    ConvertIgorTextMac(f.bench);
    FAIL() << "converted";
  } catch (const ConvoraError& error) {
    EXPECT_NE(std::string(error.what()).find(GetParam().reason), std::string::npos)
        << error.what();
  }
  EXPECT_FALSE(std::filesystem::exists(f.dir / "bad.ABF"));
  EXPECT_TRUE(f.bench.List1.Entries().empty());
  EXPECT_EQ(f.bench.TemplateHeader, before);
}

const std::string kGood = "h\r\t-1e-11\r\t1e-11\r";

INSTANTIATE_TEST_SUITE_P(
    Files, IgorTextFailure,
    ::testing::Values(
        FailureCase{"LineFeeds", "IGOR\nBEGIN\n\t1e-11\n\t2e-11\nEND\n", "1", "no data lines"},
        FailureCase{"ReturnLineFeeds", "IGOR\r\n\t1e-11\r\n\t2e-11\r\n", "1", "no data lines"},
        FailureCase{"Empty", "", "1", "no data lines"},
        FailureCase{"AllZero", "h\r\t0\r\t0\r", "1", "magnitudes is 0"},
        FailureCase{"ZeroMinimum", "h\r\t0\r\t5e-12\r", "1", "magnitudes is 0"},
        // Range 10, so 30 pA -> 30 x 1677.72 - 1 = 50330.6, beyond 32767.
        FailureCase{"LargerSideBeyond16Bits", "h\r\t-1e-11\r\t3e-11\r", "1", "16-bit"},
        // 1e300 A is 1e312 pA, beyond a double.
        FailureCase{"ValueOverflows", "h\r\t1e300\r", "1", "value 1 is too large"},
        FailureCase{"Cancelled", kGood, std::nullopt, "no sample interval"},
        FailureCase{"NotANumber", kGood, "fast", "\"fast\" is not a number"},
        FailureCase{"TrailingText", kGood, "50us", "not a number"},
        FailureCase{"IntervalBeyondFloat", kGood, "1e39", "too large"}),
    [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace convora
