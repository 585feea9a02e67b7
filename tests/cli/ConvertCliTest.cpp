// `convora convert`, run as the real program.

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
  const Outcome run = Convora(dir, "convert --unknown yes --interval 50 --channels 2 "
                                   "wave.txt raw.dat bad.dat");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, (dir / "wave.ABF").string() + "\n" + (dir / "raw.ABF").string() + "\n");
  EXPECT_TRUE(HasLine(run.err, UnknownLine("raw.dat"))) << run.err;
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
  cell.Text(
          "VER=9\r\nNBH=1024\r\nADCMAX=2047\r\nNC=1\r\nNBA=1\r\nNBD=1\r\nNR=2\r\nNP=2\r\n"
          "DT=0.001\r\nYG0=1\r\n")
      .PadTo(1024);
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

}  // namespace
}  // namespace convora::test
