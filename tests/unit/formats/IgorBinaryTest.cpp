#include "formats/IgorBinary.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>

#include "generic/UnknownBinary.h"
#include "support/ExpectedAbf.h"

namespace convora::test {
namespace {

struct IgorWaveFields {
  bool mac = false;
  std::int16_t type = 2;  // 2 float32, 4 float64
  std::string dUnits = {};  // NUL-padded to 4
  double hsA = 0.0001;
  std::vector<double> values = {};
};

// A version-2 wave: 16-byte file header, wave header from byte 16, values at 126;
// the Macintosh layout has every number big-endian.
inline Bytes IgorWave(const IgorWaveFields& w) {
  ByteBuilder b;
  b.Int16(2, w.mac).Zeros(14).Int16(w.type, w.mac).Zeros(32).Text(w.dUnits, 4).Zeros(4);
  b.Int32(static_cast<std::int32_t>(w.values.size()), w.mac).Zeros(2).Double(w.hsA, w.mac);
  b.PadTo(126);
  for (const double v : w.values) {
    w.type == 4 ? b.Double(v, w.mac) : b.Float(static_cast<float>(v), w.mac);
  }
  return b.Get();
}

const std::string kNoUnit(4, '\0');
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// The wave must convert to one channel of `samples` at `interval` us (n x interval / 1e6 s).
void ExpectWave(const char* name, const Bytes& wave, std::string_view unit, float scale,
                const std::vector<std::int16_t>& samples, float interval = 100.0f) {
  SCOPED_TRACE(name);
  BenchFixture f;
  auto h = StampedTemplate();
  const auto n = static_cast<std::int32_t>(samples.size());
  DescribeRecording(h, n, interval, static_cast<float>(n * interval / 1e6));
  DescribeChannel(h, 0, unit, scale);
  EXPECT_EQ(Converted(f, ConvertIgor, "wave.ibw", wave), AbfImage(h, samples));
}

TEST(IgorBinary, WavesConvertToTheHandComputedFiles) {
  // -2, 2, 1 mV: |max| 2 is not above |min| 2, so the range is 2, the factor
  // 2.56 and a count v x 8192 - 1. 2^-13 s = 122.0703125 us.
  ExpectWave("MacDoubleVolts",
             IgorWave({.mac = true, .type = 4, .dUnits = "V", .hsA = 0x1p-13,
                       .values = {-0.002, 0.002, 0.001}}),
             "mV", 2.56f, {-16385, 16383, 8191}, 122.0703125f);
  // Values and unit text unchanged: |max| 0.5 > |min| 0.25: range 1000; 8.192 - 1,
  // -4.096 - 1, 0 - 1.
  ExpectWave("OtherUnit", IgorWave({.type = 4, .dUnits = "mA", .values = {0.5, -0.25, 0}}),
             std::string("mA\0\0", 4), 0.00512f, {7, -5, -1});
  // A NaN with the sign clear (quiet, or signalling as here) is a gap stored as 0 - 1 and
  // left out of the extremes -1 and -1 (a 0 would make the range 0): factor 5.12,
  // v x 16384 - 1.
  ExpectWave("QuietNaN", IgorWave({.values = {-1, kNaN, -1}}), kNoUnit, 5.12f,
             {-16385, -1, -16385});
  // A gap in a wave with a unit: the samples are scaled with the unit in one
  // pass, and the gap still stores 0 - 1. -10 and 20 pA: range 1000, factor
  // 0.00512, count v x 16.384 - 1.
  ExpectWave("AmperesWithGap", IgorWave({.dUnits = "A", .values = {-1e-11, kNaN, 2e-11}}), "pA",
             0.00512f, {-165, -1, 327});
  const double signalling = std::bit_cast<double>(0x7ff0000000000001u);
  ExpectWave("MacSignallingNaN", IgorWave({.mac = true, .type = 4, .values = {-1, signalling, -1}}),
             kNoUnit, 5.12f, {-16385, -1, -16385});
}

TEST(IgorBinary, OtherTypesAreSkippedSilentlyAndBadWavesEndWithNothingWritten) {
  BenchFixture f;
  for (const std::int16_t type : {0, 3, 512}) {
    f.Select("wave.ibw", IgorWave({.type = type, .values = {1.0, 2.0}}));
    ConvertIgor(f.bench);  // no error, and no output as the checks below find
  }
  EXPECT_TRUE(f.prompter.Transcript().empty());
  const auto bad = [&f](const Bytes& wave, std::string_view reason = {}) {
    ExpectError(f, ConvertIgor, "wave.ibw", wave, reason);
  };
  // -20 and 10 pA: range |max| 10, so -20 gives -32769.
  bad(IgorWave({.dUnits = "A", .values = {-2e-11, 1e-11}}), "16-bit");
  bad(IgorWave({.values = {0.0, 0.0}}), "range is 0");
  bad(IgorWave({.values = {}}), "no points");
  auto cut = IgorWave({.values = {1.0, 2.0}});
  cut.pop_back();
  bad(cut, "bytes long");
  // Extremes 1 and 2 are fine; the negative NaN cannot be scaled.
  bad(IgorWave({.values = {1.0, -kNaN, 2.0}}), "negative NaN");
  // The extremes start at value(0) and stay NaN.
  bad(IgorWave({.values = {kNaN, 1.0, 2.0}}));
  bad(IgorWave({.hsA = 1e300, .values = {1.0, 2.0}}), "x step");
  bad(IgorWave({.dUnits = "A", .values = {1e30, 1.0}}), "beyond the range");
}

// Also the worked example of a positive peak: the 1000 reference.
TEST(IgorBinary, KeepsFieldsOfAnEarlierConversionOnATemplateWithEveryByteSet) {
  BenchFixture f(PatternedTemplate());
  f.Select("pair.dat", Counting(8));
  ConvertUnknownBinary(f.bench, {.channels = "2"});
  AbfHeader h = f.bench.TemplateHeader;
  ASSERT_EQ(h.Get(abf::nADCNumChannels), 2);
  // The wave sets one channel's fields only: the channel count and channel 1 stay.
  // -10 and 20 pA: |max| 20 > |min| 10, so the range is 1000, the factor
  // (10.24 / 1000) / 2 = 0.00512 and a count v x 16.384 - 1: -164.84, 326.68.
  DescribeRecording(h, 2, 100.0f, 0.0002f);  // 1e-4 s x 1e6; 2 x 1e-4 s
  DescribeChannel(h, 0, "pA", 0.00512f);
  // Bytes 6144 to 8191 are never written; the samples start at 16 x 512.
  EXPECT_EQ(Converted(f, ConvertIgor, "wave.ibw",
                      IgorWave({.dUnits = "A", .values = {-1e-11, 2e-11}})),
            AbfImage(h, {-165, 327}));
}

TEST(IgorBinary, WavesWrittenByOtherSoftwareConvert) {
  const auto folder = SamplesFolder();
  if (folder.empty()) GTEST_SKIP() << "no folder of sample files written by other software";
  for (const char* name : {"igor2_win-version2.ibw", "igor2_mac-version2.ibw",
                           "igor2_win-double.ibw", "igor2_mac-double.ibw"}) {
    BenchFixture f;
    const auto written = Converted(f, ConvertIgor, "wave.ibw", ReadFile(folder / "ibw" / name));
    // These waves run 5, 4, 3, 2, 1 with no unit: |max| 5 > |min| 1, so range 1000,
    // factor 0.00512, count v x 16.384 - 1: 80.92, 64.536, 48.152, 31.768, 15.384.
    const AbfHeader h = HeaderOf(written);
    EXPECT_EQ(h.Get(abf::sADCUnits, 0), kNoUnit + "    ") << name;
    EXPECT_EQ(h.Get(abf::fInstrumentScaleFactor, 0), 0.00512f) << name;
    EXPECT_EQ(SamplesOf(written, 5), (std::vector<std::int16_t>{81, 65, 48, 32, 15})) << name;
  }
}

}  // namespace
}  // namespace convora::test
