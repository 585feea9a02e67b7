// Kept rules that change a user's data are told in a notice line; the
// outputs themselves stay as these rules make them.

#include <gtest/gtest.h>

#include "CliRunner.h"
#include "abf/AbfHeader.h"

namespace convora::test {
namespace {

TEST(NoticesCli, ConversionsSayWhatTheirKeptRulesDidToTheData) {
  TempDir dir;
  // The range comes from the smaller extreme (1 pA): 2.5 and 3 pA lie past full scale.
  WriteFile(dir / "cell.axgd", AxographFile({{"I (A)", {-1e-12f, 2.5e-12f, 3e-12f, 0.5e-12f}},
                                             {"V (V)", {0.01f, -0.01f, 0.005f, 0.0f}}},
                                            1e-4f));
  WriteFile(dir / "wave.itx", TextBytes("IGOR\rWAVES\twave0\rBEGIN\r\t-1e-12\r\t1e-12\r"));
  WriteFile(dir / "raw.dat", Bytes(8, 1));
  const Outcome run = Convora(dir, "convert --interval 50 cell.axgd wave.itx");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(HasLine(run.err, Notice(dir / "cell.axgd",
                                      "channel 1: 2 of 4 samples lie past full scale and are "
                                      "stored as 0: the range is taken from the smaller extreme, "
                                      "+-1 pA at half scale\n")))
      << run.err;
  EXPECT_FALSE(HasLine(run.err, Notice(dir / "cell.axgd", "channel 2")));
  // The Axograph file's two channels carry over to the one-channel wave.
  EXPECT_TRUE(HasLine(run.err, Notice(dir / "wave.itx", "nADCNumChannels 2 is carried over")));

  const Outcome raw = Convora(dir, "binary --interval abc raw.dat");
  EXPECT_EQ(raw.status, 0);
  EXPECT_EQ(raw.err, Notice(dir / "raw.dat",
                            "the sample interval \"abc\" is not a number and is read as 0\n"));
}

TEST(NoticesCli, AMergedFileSaysWhichSettingsOfTheFirstFileItTook) {
  TempDir dir;
  AbfHeader slow = PlainAbfHeader(1);
  WriteFile(dir / "a.abf", AbfBytes(slow, Ramp(4)));
  slow.Set(abf::fADCSampleInterval, 20.0f);
  WriteFile(dir / "b.abf", AbfBytes(slow, Ramp(4)));
  const Outcome run = Convora(dir, "merge --yes --name m a.abf b.abf");
  EXPECT_EQ(run.status, 0);
  EXPECT_TRUE(HasLine(run.err, Notice(dir / "b.abf",
                                      "merged under the settings of " + (dir / "a.abf").string() +
                                          ", which differ from its own: sample interval (us) "
                                          "20 (100) (its own value, then the first file's)\n")));
}

}  // namespace
}  // namespace convora::test
