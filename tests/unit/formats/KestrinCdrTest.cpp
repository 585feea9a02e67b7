#include "formats/KestrinCdr.h"

#include <gtest/gtest.h>

#include "abf/TemplateFile.h"
#include "formats/igortext/IgorTextMac.h"
#include "support/ExpectedAbf.h"

namespace convora::test {
namespace {

// A 512-byte head, then `dataBytes` bytes of a pattern: 0.1 ms, range 5, resolution 2048,
// and a run time that is a signalling NaN, which only a raw copy keeps.
Bytes CdrSource(std::size_t dataBytes, std::int16_t records = 3, float unitsPerCount = 0.5f) {
  ByteBuilder b;
  b.Int16LE(records).Zeros(2).Int32LE(0x7f800001);
  b.PadTo(98).FloatLE(0.1f).FloatLE(unitsPerCount).FloatLE(5.0f).Text("pA");
  b.PadTo(122).Int16LE(2048).PadTo(168).Text("CDR ").PadTo(512);
  return b.Raw(Counting(dataBytes)).Get();
}

// Reads the header as the format recognition does, then converts.
void ConvertRecognised(Workbench& bench) {
  bench.WorkHeader = ReadAbfHeader(bench.SelectedFilePath);
  ConvertCDR(bench);
}

// The fields the default head gives, set by hand on `h`.
AbfHeader WithDefaultHeadFields(AbfHeader h, std::int32_t acqLength) {
  // 0.1f x 1000 = 100.0000015, nearest float 100.
  DescribeRecording(h, acqLength, 100.0f, 0.0f, 5.0f, 2048);
  h.SetBits(abf::fSecondsPerRun, 0x7f800001);
  DescribeChannel(h, 0, "pA      ", 0.0048828125f);  // 5 / (2048 x 0.5) = 5 / 1024
  return h;
}

TEST(KestrinCdr, CopiesTheRecordsAndKeepsFieldsOfAnEarlierConversion) {
  BenchFixture f;
  Converted(f, ConvertIgorTextMac, "first.itx", {'h', '\r', '\t', '-', '1', '\r', '\t', '1'});
  const AbfHeader afterText = f.bench.TemplateHeader;
  const Bytes source = CdrSource(3 * 1024 + 100);  // 100 bytes past the last record
  const Bytes written = Converted(f, ConvertRecognised, "rec.cdr", source);
  // R = 3: 3 x 512 = 1536 samples; source bytes 512 .. 3583 follow the header, the
  // tail stays out.
  const AbfHeader h = WithDefaultHeadFields(afterText, 1536);
  EXPECT_EQ(written, RawAbfImage(h, Bytes(source.begin() + 512, source.end() - 100)));
  EXPECT_EQ(f.bench.TemplateHeader, h);
  // What the text conversion set (episodic, one sweep of 2 samples) stays in
  // both; the text's interval prompt is the only message.
  EXPECT_EQ(f.prompter.Transcript().size(), 1u);
}

TEST(KestrinCdr, NoRecordsWriteTheHeaderOnlyWithTheSignedLength) {
  // 0 -> 0; 0x8000 is -32768 -> -32768 x 512 = -16777216.
  for (const std::int16_t records : {0, -32768}) {
    BenchFixture f;
    const Bytes written = Converted(f, ConvertRecognised, "none.cdr", CdrSource(1024, records));
    EXPECT_EQ(written, RawAbfImage(WithDefaultHeadFields(StampedTemplate(), records * 512), {}))
        << records;
  }
}

TEST(KestrinCdr, ShortSourceOrNoScaleEndsWithNothingWritten) {
  BenchFixture f;
  ExpectError(f, ConvertRecognised, "bad.cdr", CdrSource(3 * 1024 - 1), "fewer data records");
  ExpectError(f, ConvertRecognised, "bad.cdr", CdrSource(3072, 3, 0.0f), "is 0");
}

}  // namespace
}  // namespace convora::test
