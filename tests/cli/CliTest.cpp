// The command-line contract, tested on the real program.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "abf/AbfHeader.h"
#include "abf/TemplateFile.h"
#include "support/TestSupport.h"

namespace convora::test {
namespace {

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

std::string Slurp(const std::filesystem::path& path) {
  const Bytes bytes = ReadFile(path);
  return std::string(bytes.begin(), bytes.end());
}

// Runs convora in `folder` with stdin from /dev/null (no terminal).
Outcome Convora(const TempDir& folder, const std::string& arguments) {
  const auto out = folder / ".stdout";
  const auto err = folder / ".stderr";
  const std::string command = "cd '" + folder.Path().string() + "' && '" CONVORA_EXE "' " +
                              arguments + " </dev/null >'" + out.string() + "' 2>'" +
                              err.string() + "'";
  const int raw = std::system(command.c_str());
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, Slurp(out), Slurp(err)};
}

TEST(Cli, VersionPrintsTheProductCaption) {
  TempDir dir;
  const Outcome run = Convora(dir, "--version");
  EXPECT_EQ(run.status, 0);
  EXPECT_TRUE(run.out.starts_with("Convora v")) << run.out;
}


TEST(Cli, BinaryPrintsEachWrittenPathAndNothingElse) {
  TempDir dir;
  std::filesystem::create_directory(dir / "sub");
  WriteFile(dir / "a.dat", Bytes(100, 1));
  WriteFile(dir / "sub" / "b.raw", Bytes(10, 2));
  const Outcome run = Convora(dir, "binary --interval 50 a.dat ./sub/../sub/b.raw");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out, (dir / "a.ABF").string() + "\n" + (dir / "sub" / "b.ABF").string() + "\n");
  const AbfHeader h = HeaderOf(ReadFile(dir / "a.ABF"));
  EXPECT_EQ(h.Get(abf::fADCSampleInterval), 50.0f);
  EXPECT_EQ(h.Get(abf::lActualAcqLength), 50);
}

TEST(Cli, BadFilesAreReportedAndTheRunGoesOn) {
  TempDir dir;
  WriteFile(dir / "ok.dat", Bytes(20, 3));
  WriteFile(dir / "short.dat", Bytes(4, 3));
  std::filesystem::create_directory(dir / "folder");
  const Outcome run =
      Convora(dir, "binary --byte-offset 10 missing.dat folder short.dat ok.dat");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, (dir / "ok.ABF").string() + "\n");
  EXPECT_NE(run.err.find("error: " + (dir / "missing.dat").string() + ": the file does not exist\n"),
            std::string::npos) << run.err;
  EXPECT_NE(run.err.find("error: " + (dir / "folder").string() + ": "), std::string::npos);
  EXPECT_NE(run.err.find("error: " + (dir / "short.dat").string() +
                         ": the byte location 10 lies past the end of the file (4 bytes)"),
            std::string::npos) << run.err;
  EXPECT_FALSE(std::filesystem::exists(dir / "short.ABF"));
}

TEST(Cli, MissingTemplateIsReportedWithExitStatusThree) {
  TempDir dir;
  WriteFile(dir / "a.dat", Bytes(10, 1));
  const Outcome run = Convora(dir, "--template nowhere/SamplABF.dat binary a.dat");
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "Error: The file SamplABF.dat does not exist.  The program cannot continue without "
            "this file.  Please contact technical support at Pelkaro Software.\n");
  EXPECT_FALSE(std::filesystem::exists(dir / "a.ABF"));
}

TEST(Cli, AnotherTemplateCanBeChosen) {
  TempDir dir;
  AbfHeader custom = BuildDefaultTemplate();
  custom.Set(abf::lDataSectionPtr, 16);
  WriteFile(dir / "t.dat", Bytes(custom.Bytes().begin(), custom.Bytes().end()));
  WriteFile(dir / "a.raw", Bytes(10, 1));
  ASSERT_EQ(Convora(dir, "--template t.dat binary a.raw").status, 0);
  EXPECT_EQ(ReadFile(dir / "a.ABF").size(), 8192u + 10u);
}

TEST(Cli, UsageErrorsExitWithTwo) {
  TempDir dir;
  EXPECT_EQ(Convora(dir, "binary").status, 2);
  EXPECT_EQ(Convora(dir, "frobnicate x").status, 2);
  EXPECT_EQ(Convora(dir, "").status, 2);
}

TEST(Cli, WavWritesBesideTheSource) {
  TempDir dir;
  WriteFile(dir / "s.raw", Bytes(48, 1));
  const Outcome run = Convora(dir, "wav --byte-offset 44 --interval 100 --channels 1 s.raw");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, (dir / "s.wav").string() + "\n");
  EXPECT_EQ(ReadFile(dir / "s.wav").size(), 48u);
}

TEST(Cli, InfoSummarisesAbfFilesAsTextOrJson) {
  TempDir dir;
  WriteFile(dir / "a.dat", Bytes(400, 1));
  ASSERT_EQ(Convora(dir, "binary --channels 2 --interval 25 --unit mV a.dat").status, 0);
  const Outcome text = Convora(dir, "info a.ABF");
  EXPECT_EQ(text.status, 0);
  EXPECT_NE(text.out.find("channels:        2\n"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("units:           mV, pA\n"), std::string::npos);
  EXPECT_NE(text.out.find("samples:         200\n"), std::string::npos);
  EXPECT_NE(text.out.find("duration:        0.005 s\n"), std::string::npos);
  EXPECT_NE(text.out.find("operation mode:  3 (gap-free)\n"), std::string::npos);
  const Outcome json = Convora(dir, "info --json a.ABF a.dat");
  EXPECT_EQ(json.status, 1);  // a.dat is not an ABF file
  EXPECT_NE(json.out.find("\"channels\": 2, \"units\": [\"mV\", \"pA\"], \"sampleIntervalUs\": 25,"),
            std::string::npos) << json.out;
  EXPECT_NE(json.err.find("not an ABF 1.x file"), std::string::npos);
}
}  // namespace
}  // namespace convora::test
