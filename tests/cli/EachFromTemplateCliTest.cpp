// --each-from-template: nothing one conversion sets carries over to the next.

#include <gtest/gtest.h>

#include "CliRunner.h"
#include "abf/AbfHeader.h"

namespace convora::test {
namespace {

// An Axograph version 1 file: a time column and two signal columns.
Bytes TwoChannelAxograph() {
  ByteBuilder b;
  b.Text("AxGr").Int16BE(1).Int16BE(3);
  for (const char* title : {"Time (s)", "I (A)", "V (V)"}) {
    b.Int32BE(2).Text(title, 80);
    for (float v : {0.0f, 1e-4f}) b.FloatBE(title[0] == 'T' ? v : v + 1e-3f);
  }
  return b.Get();
}

TEST(EachFromTemplateCli, TheChannelCountOfAnEarlierFileDoesNotCarryOver) {
  TempDir dir;
  WriteFile(dir / "two.axgd", TwoChannelAxograph());
  WriteFile(dir / "one.itx", TextBytes("IGOR\rWAVES\twave0\rBEGIN\r\t-1e-12\r\t1e-12\r"));
  const auto channelsOfIgorOutput = [&](const std::string& options) {
    EXPECT_EQ(Convora(dir, options + "convert --interval 50 two.axgd one.itx").status, 0);
    return HeaderOf(ReadFile(dir / "one.ABF")).Get(abf::nADCNumChannels);
  };
  EXPECT_EQ(channelsOfIgorOutput(""), 2);  // the run's carry-over, kept by default
  EXPECT_EQ(channelsOfIgorOutput("--each-from-template "), 1);
}

}  // namespace
}  // namespace convora::test
