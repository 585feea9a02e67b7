#include "formats/KestrinCdr.h"

#include <gtest/gtest.h>

#include <string>

#include "abf/ConvoraError.h"
#include "abf/TemplateFile.h"
#include "formats/IgorTextMac.h"
#include "support/TestSupport.h"

namespace convora {
namespace {

using test::Bytes;

struct CdrHead {
  std::int16_t records = 3;
  std::uint32_t secondsBits = 0x7f800001;  // a signalling NaN: only a raw copy keeps it
  float intervalMs = 0.1f;
  float unitsPerCount = 0.5f;
  float rangeVolts = 5.0f;
  std::string unit = "pA";
  std::int16_t resolution = 2048;
};

// A source with `head` in its first 512 bytes and then `dataBytes` bytes of a pattern.
Bytes CdrSource(const CdrHead& head, std::size_t dataBytes) {
  test::ByteBuilder b;
  b.Int16LE(head.records).Zeros(2).Int32LE(static_cast<std::int32_t>(head.secondsBits));
  b.PadTo(98).FloatLE(head.intervalMs).FloatLE(head.unitsPerCount).FloatLE(head.rangeVolts);
  b.Text(head.unit, 2).PadTo(122).Int16LE(head.resolution).PadTo(168).Text("CDR ").PadTo(512);
  Bytes data(dataBytes);
  for (std::size_t i = 0; i < dataBytes; ++i) data[i] = static_cast<std::uint8_t>(i * 13 + 5);
  return b.Raw(data).Get();
}

// Selects the source and reads its header as the format recognition does.
void SelectCdr(test::BenchFixture& f, const std::string& name, const Bytes& source) {
  f.bench.WorkHeader = ReadAbfHeader(f.Select(name, source));
}

// The fields the default head gives, set by hand on `h`.
AbfHeader WithDefaultHeadFields(AbfHeader h, std::int32_t acqLength) {
  h.Set(abf::lActualAcqLength, acqLength);
  h.Set(abf::fADCSampleInterval, 100.0f);  // 0.1f x 1000 = 100.0000015, nearest float 100
  h.SetBits(abf::fSecondsPerRun, 0x7f800001);
  h.Set(abf::fADCRange, 5.0f);
  h.Set(abf::lADCResolution, 2048);
  h.Set(abf::nADCSamplingSeq, 0, std::int16_t{0});
  h.Set(abf::sADCUnits, 0, "pA      ");
  h.Set(abf::fADCProgrammableGain, 0, 1.0f);
  h.Set(abf::fInstrumentScaleFactor, 0, 0.0048828125f);  // 5 / (2048 x 0.5) = 5 / 1024
  h.Set(abf::fInstrumentOffset, 0, 0.0f);
  h.Set(abf::fSignalGain, 0, 1.0f);
  h.Set(abf::fSignalOffset, 0, 0.0f);
  return h;
}

Bytes HeaderThenData(const AbfHeader& header, const Bytes& source, std::size_t from,
                     std::size_t count) {
  Bytes out(header.Bytes().begin(), header.Bytes().end());
  out.resize(static_cast<std::size_t>(header.Get(abf::lDataSectionPtr)) * 512, 0);
  out.insert(out.end(), source.begin() + from, source.begin() + from + count);
  return out;
}

TEST(KestrinCdr, CopiesTheRecordsAndCarriesTheCalibration) {
  test::BenchFixture f;
  const Bytes source = CdrSource({}, 3 * 1024 + 100);  // 100 bytes past the last record
  SelectCdr(f, "rec.cdr", source);
  ConvertCDR(f.bench);

  // R = 3: 3 x 512 = 1536 samples; source bytes 512 .. 3583 go to 6144 on, the tail stays out.
  const AbfHeader header = WithDefaultHeadFields(test::StampedTemplate(), 1536);
  EXPECT_EQ(test::ReadFile(f.dir / "rec.ABF"), HeaderThenData(header, source, 512, 3072));
  EXPECT_EQ(f.bench.TemplateHeader, header);
  EXPECT_EQ(f.bench.List1.Entries(), std::vector<std::filesystem::path>{f.dir / "rec.ABF"});
  EXPECT_TRUE(f.prompter.Transcript().empty());
}

TEST(KestrinCdr, FieldsOfAnEarlierConversionStayForTheNext) {
  test::BenchFixture f;
  f.prompter.AnswerInput("interval", "50");
  f.Select("first.itx", Bytes{'h', '\r', '\t', '-', '1', 'e', '-', '1', '1', '\r', '\t', '1',
                              'e', '-', '1', '1'});
  ConvertIgorTextMac(f.bench);
  const AbfHeader afterText = f.bench.TemplateHeader;
  const Bytes source = CdrSource({}, 3 * 1024);
  SelectCdr(f, "second.cdr", source);
  ConvertCDR(f.bench);

  const Bytes written = test::ReadFile(f.dir / "second.ABF");
  EXPECT_EQ(written, HeaderThenData(WithDefaultHeadFields(afterText, 1536), source, 512, 3072));
  // Set by the text conversion only: episodic, one sweep of 2 samples.
  EXPECT_EQ(test::HeaderOf(written).Get(abf::nOperationMode), 5);
  EXPECT_EQ(test::HeaderOf(written).Get(abf::lNumSamplesPerEpisode), 2);
}

class KestrinCdrNoRecords : public ::testing::TestWithParam<std::int16_t> {};

TEST_P(KestrinCdrNoRecords, WriteTheHeaderOnlyWithTheSignedLength) {
  test::BenchFixture f;
  CdrHead head;
  head.records = GetParam();
  SelectCdr(f, "none.cdr", CdrSource(head, 1024));
  ConvertCDR(f.bench);
  const Bytes written = test::ReadFile(f.dir / "none.ABF");
  ASSERT_EQ(written.size(), ABF_HEADER_BYTES);
  EXPECT_EQ(test::HeaderOf(written),
            WithDefaultHeadFields(test::StampedTemplate(), GetParam() * 512));
}

// 0 -> 0; 0xffff is -1 -> -512; 0x8000 is -32768 -> -16777216.
INSTANTIATE_TEST_SUITE_P(Counts, KestrinCdrNoRecords,
                         ::testing::Values(std::int16_t{0}, std::int16_t{-1},
                                           std::int16_t{-32768}));

struct CdrFailure {
  std::string name;
  CdrHead head;
  std::size_t dataBytes;
  std::string reason;
};

class KestrinCdrFailure : public ::testing::TestWithParam<CdrFailure> {};

TEST_P(KestrinCdrFailure, WritesNothingAndLeavesTheTemplate) {
  test::BenchFixture f;
  SelectCdr(f, "bad.cdr", CdrSource(GetParam().head, GetParam().dataBytes));
  const AbfHeader before = f.bench.TemplateHeader;
  try {
    ConvertCDR(f.bench);
    FAIL() << "converted";
  } catch (const ConvoraError& error) {
    EXPECT_NE(std::string(error.what()).find(GetParam().reason), std::string::npos)
        << error.what();
  }
  EXPECT_FALSE(std::filesystem::exists(f.dir / "bad.ABF"));
  EXPECT_TRUE(f.bench.List1.Entries().empty());
  EXPECT_EQ(f.bench.TemplateHeader, before);
}

CdrHead With(std::int16_t resolution, float unitsPerCount) {
  CdrHead head;
  head.resolution = resolution;
  head.unitsPerCount = unitsPerCount;
  return head;
}

INSTANTIATE_TEST_SUITE_P(
    Sources, KestrinCdrFailure,
    ::testing::Values(CdrFailure{"OneByteShort", {}, 3 * 1024 - 1, "fewer data records"},
                      CdrFailure{"HeaderOnly", {}, 0, "fewer data records"},
                      CdrFailure{"ZeroResolution", With(0, 0.5f), 3072, "is 0"},
                      CdrFailure{"ZeroCalibration", With(2048, 0.0f), 3072, "is 0"}),
    [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace convora
