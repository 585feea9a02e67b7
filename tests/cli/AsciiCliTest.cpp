// `convora ascii`, `atf`, `pti`, `dataq`, run as the real program.

#include <gtest/gtest.h>

#include "CliRunner.h"
#include "abf/AbfHeader.h"

namespace convora::test {
namespace {

TEST(AsciiCli, SettingsServeEveryFileAndABadLineStopsOnlyItsFile) {
  TempDir dir;
  WriteFile(dir / "a.txt", TextBytes("t;x;y\n0;1;2\n0.5;3;4\n"));
  WriteFile(dir / "b.txt", TextBytes("t;x;y\n0;1;2\n0.5;oops;4\n"));
  WriteFile(dir / "c.csv", TextBytes("t,x,y\n0,1,2\n1,3,4\n"));
  const Outcome run = Convora(
      dir, "ascii --columns 2,3 --header-lines 1 --time-column 1 --unit mV a.txt b.txt c.csv");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, (dir / "a.ABF").string() + "\n" + (dir / "c.ABF").string() + "\n");
  EXPECT_EQ(run.err, "error: " + (dir / "b.txt").string() +
                         ": line 3: column 2: \"oops\" is not a number\n");
  EXPECT_FALSE(std::filesystem::exists(dir / "b.ABF"));
  // 0.5 s a row over 2 channels; 1 s a row in c.csv.
  EXPECT_EQ(HeaderOf(ReadFile(dir / "a.ABF")).Get(abf::fADCSampleInterval), 250000.0f);
  EXPECT_EQ(HeaderOf(ReadFile(dir / "c.ABF")).Get(abf::fADCSampleInterval), 500000.0f);
  EXPECT_EQ(HeaderOf(ReadFile(dir / "c.ABF")).Get(abf::sADCUnits, 1), "mV      ");
}

TEST(AsciiCli, EachCommandTakesItsOptionsAndRejectsUnknownChoices) {
  TempDir dir;
  WriteFile(dir / "p.txt", TextBytes("Time\tRatio\tTime\tD1\n0\t1\t0\t5\n1\t2\t1\t6\n"));
  WriteFile(dir / "w.atf", TextBytes("ATF\t1.0\n0\t1\n\"I (pA)\"\n1\n2\n"));
  WriteFile(dir / "d.csv", TextBytes("Sample rate: 1000 Hz\nCH1\n1\n2\n"));
  EXPECT_EQ(Convora(dir, "pti --traces ratio p.txt").status, 0);
  EXPECT_EQ(HeaderOf(ReadFile(dir / "p.ABF")).Get(abf::nADCNumChannels), 1);
  const Outcome atf = Convora(dir, "atf --interval 40 w.atf");
  EXPECT_EQ(atf.status, 0) << atf.err;
  EXPECT_EQ(HeaderOf(ReadFile(dir / "w.ABF")).Get(abf::fADCSampleInterval), 40.0f);
  EXPECT_EQ(Convora(dir, "dataq d.csv").status, 0);
  EXPECT_EQ(HeaderOf(ReadFile(dir / "d.ABF")).Get(abf::fADCSampleInterval), 1000.0f);
  EXPECT_EQ(Convora(dir, "pti --traces both p.txt").status, 2);
  EXPECT_EQ(Convora(dir, "ascii --separator pipe p.txt").status, 2);
}

}  // namespace
}  // namespace convora::test
