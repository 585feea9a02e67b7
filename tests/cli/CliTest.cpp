// The command-line contract, tested on the real program.

#include <gtest/gtest.h>

#include "CliRunner.h"
#include "abf/AbfHeader.h"
#include "abf/PathText.h"
#include "abf/TemplateFile.h"

namespace convora::test {
namespace {

TEST(Cli, BinaryWritesWhatItCanWithTheChosenTemplateAndReportsTheRest) {
  TempDir dir;
  AbfHeader custom = BuildDefaultTemplate();
  custom.Set(abf::lDataSectionPtr, 16);
  WriteFile(dir / "t.dat", Bytes(custom.Bytes().begin(), custom.Bytes().end()));
  std::filesystem::create_directories(dir / "sub" / "folder");
  WriteFile(dir / "a.dat", Bytes(100, 1));
  WriteFile(dir / "sub" / "b.raw", Bytes(20, 2));
  const Outcome run = Convora(dir, "--template t.dat binary --byte-offset 10 --interval 50 a.dat "
                                   "missing.dat sub/folder ./sub/../sub/b.raw");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, (dir / "a.ABF").string() + "\n" + (dir / "sub" / "b.ABF").string() + "\n");
  EXPECT_TRUE(HasLine(run.err, "error: " + (dir / "missing.dat").string() +
                                   ": the file does not exist\n")) << run.err;
  EXPECT_TRUE(HasLine(run.err, "error: " + (dir / "sub" / "folder").string() + ": ")) << run.err;
  // Data from block 16 of 512 bytes: (100 - 10) / 2 = 45 samples of 2 bytes.
  const Bytes a = ReadFile(dir / "a.ABF");
  EXPECT_EQ(a.size(), 16u * 512 + 90);
  EXPECT_EQ(HeaderOf(a).Get(abf::fADCSampleInterval), 50.0f);
  EXPECT_EQ(HeaderOf(a).Get(abf::lActualAcqLength), 45);
}

// Names reach the program, its files and its messages as UTF-8 on every
// system, Windows' wide-character one included.
TEST(Cli, NamesWithLettersBeyondAsciiAndBlanksAreConvertedAndReported) {
  TempDir dir;
  const std::filesystem::path folder = dir.Path() / u8"données de cellule";
  std::filesystem::create_directories(folder);
  WriteFile(folder / u8"ré cording.dat", ByteBuilder().Int16LE(1).Int16LE(-2).Int16LE(3).Get());
  const Outcome run =
      Convora(dir, "binary 'données de cellule/ré cording.dat' 'données de cellule/Δt absent.dat'");
  EXPECT_EQ(run.status, 1);
  const std::filesystem::path output = folder / u8"ré cording.ABF";
  EXPECT_EQ(run.out, PathText(output) + "\n");
  EXPECT_EQ(SamplesOf(ReadFile(output), 4), (std::vector<std::int16_t>{1, -2, 3}));
  EXPECT_TRUE(HasLine(run.err, "error: " + PathText(folder / u8"Δt absent.dat") +
                                   ": the file does not exist\n")) << run.err;
}

TEST(Cli, ExitStatusesOfVersionUsageErrorsAndAMissingTemplate) {
  TempDir dir;
  WriteFile(dir / "a.dat", Bytes(10, 1));
  const Outcome version = Convora(dir, "--version");
  EXPECT_EQ(version.status, 0);
  EXPECT_TRUE(version.out.starts_with("Convora v")) << version.out;
  for (const char* usage :
       {"", "frobnicate a.dat", "binary", "convert", "convert --unknown maybe a.dat"}) {
    EXPECT_EQ(Convora(dir, usage).status, 2) << usage;
  }
  const Outcome run = Convora(dir, "--template nowhere/SamplABF.dat convert --unknown yes a.dat");
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "Error: The file SamplABF.dat does not exist.  The program cannot continue without "
            "this file.  Please contact technical support at Pelkaro Software.\n");
  EXPECT_FALSE(std::filesystem::exists(dir / "a.ABF"));
  // The list of formats needs no template.
  const Outcome formats = Convora(dir, "--template nowhere/SamplABF.dat formats");
  EXPECT_EQ(formats.status, 0) << formats.err;
  EXPECT_TRUE(formats.out.starts_with(" 0  Pulse IGB (Mac) ITX (PC) file\n 1  Igor Binary File v2"))
      << formats.out;
  EXPECT_TRUE(HasLine(formats.out, "29  Contact Quenvale to add your own data format.\n"));
  EXPECT_NE(formats.out.find("Full Sweep} function.  This generates a macro file with file "
                             "extension of ITX for PC or IGB for Mac.  In Convora, highlight"),
            std::string::npos);
}

TEST(Cli, InfoSummarisesAbfFilesAsTextOrJson) {
  TempDir dir;
  WriteFile(dir / "a.dat", Bytes(400, 1));
  ASSERT_EQ(Convora(dir, "binary --channels 2 --interval 25 --unit mV a.dat").status, 0);
  // 400 bytes are 200 samples; 200 x 25 us = 0.005 s.
  const std::string text = Convora(dir, "info a.ABF").out;
  EXPECT_TRUE(HasLine(text, "  sample interval: 50 us per channel (20000 Hz); 25 us interleaved\n"))
      << text;
  EXPECT_TRUE(HasLine(text, "  samples:         200\n  duration:        0.005 s\n")) << text;
  const Outcome json = Convora(dir, "info --json a.ABF a.dat");
  EXPECT_EQ(json.status, 1);  // a.dat is not an ABF file
  EXPECT_NE(json.out.find(R"("channels": 2, "units": ["mV", "pA"], "sampleIntervalUs": 25,)"),
            std::string::npos) << json.out;
  EXPECT_NE(json.err.find("not an ABF file"), std::string::npos);
}

// Folders as arguments, --recursive, --output-dir and --no-overwrite.
TEST(BatchCli, AFolderTreeConvertsIntoAMirroredOutputFolderAndIsNotWrittenOverTwice) {
  TempDir dir;
  std::filesystem::create_directories(dir / "in" / "sub" / "deeper");
  WriteFile(dir / "in" / "b.dat", Bytes(8, 1));
  WriteFile(dir / "in" / "a.dat", Bytes(8, 2));
  WriteFile(dir / "in" / "sub" / "deeper" / "c.dat", Bytes(8, 3));
  // An output as the program names it, with the system's separators.
  const auto out = [&](const std::string& name) {
    return (dir / "out" / name).make_preferred().string() + "\n";
  };

  EXPECT_EQ(Convora(dir, "--output-dir out binary in").out, out("a.ABF") + out("b.ABF"));
  const Outcome tree = Convora(dir, "--recursive --output-dir out binary in");
  EXPECT_EQ(tree.status, 0);
  EXPECT_EQ(tree.out, out("a.ABF") + out("b.ABF") + out("sub/deeper/c.ABF"));
  EXPECT_EQ(ReadFile(dir / "out" / "sub" / "deeper" / "c.ABF").back(), 3);

  const Bytes before = ReadFile(dir / "out" / "a.ABF");
  WriteFile(dir / "in" / "a.dat", Bytes(8, 9));
  const Outcome again = Convora(dir, "--no-overwrite --output-dir out binary in");
  EXPECT_EQ(again.status, 1);
  EXPECT_EQ(again.out, "");
  EXPECT_TRUE(HasLine(again.err, "error: " + (dir / "in" / "a.dat").string() + ": " +
                                     (dir / "out" / "a.ABF").string() +
                                     " exists already, and --no-overwrite keeps it\n"));
  EXPECT_EQ(ReadFile(dir / "out" / "a.ABF"), before);
}

TEST(BatchCli, TwoSourcesWithOneOutputNameAreToldOf) {
  TempDir dir;
  WriteFile(dir / "cell.1.dat", Bytes(8, 1));
  WriteFile(dir / "cell.2.dat", Bytes(8, 2));
  const Outcome run = Convora(dir, "binary cell.1.dat cell.2.dat");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, Notice(dir / "cell.2.dat", "its output ") +
                         (dir / "cell.ABF").string() + " was written from " +
                         (dir / "cell.1.dat").string() +
                         " earlier in this run and is now written over (the name is cut at the "
                         "first \".\")\n");
}

}  // namespace
}  // namespace convora::test
