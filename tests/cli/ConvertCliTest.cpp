// `convora convert` and the other conversion commands, run as the real program.

#include <gtest/gtest.h>

#include "CliRunner.h"
#include "abf/AbfHeader.h"

namespace convora::test {
namespace {

std::string UnknownLine(const std::string& name) {
  return "Unknown Data File: This file (" + name +
         ") has unrecognizable data file format.  Would you like to proceed with unknown binary "
         "file conversion?\n";
}

TEST(ConvertCli, NothingIsWrittenForAnAbfFileOrAnUnknownOneNotAnsweredYes) {
  TempDir dir;
  WriteFile(dir / "rec.abf", ByteBuilder().Text("ABF ").PadTo(1001).Get());
  WriteFile(dir / "raw.dat", Bytes(400, 1));  // no signature of any known format
  const Outcome run = Convora(dir, "convert rec.abf raw.dat");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "ABF File: This is an Axon Binary File.  You don't need to convert.\n" +
                         UnknownLine("raw.dat"));
  EXPECT_EQ(Convora(dir, "convert rec.abf").status, 1);  // nothing written counts as a refusal
  EXPECT_EQ(Convora(dir, "convert --unknown no raw.dat").status, 1);
  EXPECT_FALSE(std::filesystem::exists(dir / "raw.ABF"));
}

TEST(ConvertCli, AnswersServeEveryFileAndAFailingFileDoesNotStopTheOthers) {
  TempDir dir;
  WriteFile(dir / "raw.dat", Bytes(400, 1));
  // k = -50 at offset 92 makes the long-integer test divide by zero.
  WriteFile(dir / "bad.dat", ByteBuilder().PadTo(92).Int16LE(-50).PadTo(1001).Get());
  WriteFile(dir / "wave.txt",
            ByteBuilder().Text("IGOR\rWAVES\twave0\rBEGIN\r\t1e-12\r\t1e-12\r").Get());
  // The range comes from the smaller extreme (1 pA): 2.5 and 3 pA lie past full scale.
  WriteFile(dir / "cell.axgd", AxographFile({{"I (A)", {-1e-12f, 2.5e-12f, 3e-12f, 0.5e-12f}},
                                             {"V (V)", {0.01f, -0.01f, 0.005f, 0.0f}}},
                                            1e-4f));
  const Outcome run = Convora(dir, "convert --unknown yes --interval 50 --channels 2 "
                                   "wave.txt raw.dat bad.dat cell.axgd");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, (dir / "wave.ABF").string() + "\n" + (dir / "raw.ABF").string() + "\n" +
                         (dir / "cell.ABF").string() + "\n");
  EXPECT_TRUE(HasLine(run.err, UnknownLine("raw.dat"))) << run.err;
  // A kept rule that changes the user's data is told, for the channel it changed only.
  EXPECT_TRUE(HasLine(run.err, Notice(dir / "cell.axgd",
                                      "channel 1: 2 of 4 samples lie past full scale and are "
                                      "stored as 0: the range is taken from the smaller extreme, "
                                      "+-1 pA at half scale\n")))
      << run.err;
  EXPECT_FALSE(HasLine(run.err, Notice(dir / "cell.axgd", "channel 2")));
  EXPECT_TRUE(HasLine(run.err, "error: " + (dir / "bad.dat").string() + ": ")) << run.err;
  EXPECT_FALSE(std::filesystem::exists(dir / "bad.ABF"));
  const AbfHeader raw = HeaderOf(ReadFile(dir / "raw.ABF"));
  EXPECT_EQ(raw.Get(abf::fADCSampleInterval), 50.0f);
  EXPECT_EQ(raw.Get(abf::nADCNumChannels), 2);
  EXPECT_EQ(raw.Get(abf::lActualAcqLength), 200);  // 400 bytes of 16-bit samples
  // Neither the question's default (1000) nor the template's value (100).
  EXPECT_EQ(HeaderOf(ReadFile(dir / "wave.ABF")).Get(abf::fADCSampleInterval), 50.0f);
}

// WinWCP records, the second REJECTED, and a WinEDR recording named .wcp,
// which the WinCDR and WinWCP rows both take: the first converts it, the
// second refuses it rather than read garbage records over its output.
TEST(ConvertCli, RejectedRecordsAreLeftOutOnRequestAndAContinuousWcpIsRefusedAsRecords) {
  TempDir dir;
  ByteBuilder cell;
  cell.Text("VER=9\r\nNBH=1024\r\nADCMAX=2047\r\nNC=1\r\nNBA=1\r\nNBD=1\r\nNR=2\r\nNP=2\r\n");
  cell.Text("DT=0.001\r\nYG0=1\r\n").PadTo(1024);
  for (const char* status : {"ACCEPTED", "REJECTED"}) {
    cell.Text(status, 8).Text("TEST").FloatLE(1).FloatLE(0).FloatLE(0.001f).FloatLE(5);
    cell.PadTo(cell.Size() + 484).Int16LE(7).Int16LE(-7).PadTo(cell.Size() + 508);
  }
  WriteFile(dir / "cell.wcp", cell.Get());
  WriteFile(dir / "edr.wcp", ByteBuilder()
                                 .Text("VER=6.1\r\nNBH=512\r\nNC=1\r\nNP=2\r\nAD=5\r\n"
                                       "ADCMAX=2047\r\nDT=0.001\r\nYCF0=1\r\nYAG0=1\r\n")
                                 .PadTo(512)
                                 .Int16LE(1)
                                 .Int16LE(2)
                                 .Get());
  const Outcome run = Convora(dir, "convert --skip-rejected cell.wcp edr.wcp");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, (dir / "cell.ABF").string() + "\n" + (dir / "edr.ABF").string() + "\n");
  EXPECT_TRUE(
      HasLine(run.err, Notice(dir / "cell.wcp", "record 2 is marked REJECTED and left out\n")))
      << run.err;
  EXPECT_TRUE(HasLine(
      run.err, "error: " + (dir / "edr.wcp").string() + ": the header has no record count (NR)"))
      << run.err;
  EXPECT_EQ(HeaderOf(ReadFile(dir / "cell.ABF")).Get(abf::lActualEpisodes), 1);
  EXPECT_EQ(HeaderOf(ReadFile(dir / "edr.ABF")).Get(abf::lActualAcqLength), 2);
}

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
  // The raw binary conversion reads a bad interval leniently, and says so.
  WriteFile(dir / "raw.dat", Bytes(8, 1));
  const Outcome raw = Convora(dir, "binary --interval abc raw.dat");
  EXPECT_EQ(raw.status, 0);
  EXPECT_EQ(raw.err, Notice(dir / "raw.dat",
                            "the sample interval \"abc\" is not a number and is read as 0\n"));
  EXPECT_EQ(Convora(dir, "pti --traces both p.txt").status, 2);
  EXPECT_EQ(Convora(dir, "ascii --separator pipe p.txt").status, 2);
}

}  // namespace
}  // namespace convora::test
