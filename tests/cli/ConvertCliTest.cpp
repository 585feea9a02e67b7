// `convora convert` and `convora formats`, run as the real program.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "abf/AbfHeader.h"
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

bool Has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// 200 int16 samples 1000, 1001, ...: no signature of any known format.
Bytes RawSamples() {
  ByteBuilder b;
  for (int i = 0; i < 200; ++i) b.Int16LE(static_cast<std::int16_t>(1000 + i));
  return b.Get();
}

std::string UnknownLine(const std::string& name) {
  return "Unknown Data File: This file (" + name +
         ") has unrecognizable data file format.  Would you like to proceed with unknown binary "
         "file conversion?\n";
}

TEST(ConvertCli, AbfFileIsReportedAndNothingIsWritten) {
  TempDir dir;
  WriteFile(dir / "rec.abf", ByteBuilder().Text("ABF ").PadTo(1001).Get());
  const Outcome run = Convora(dir, "convert rec.abf");
  EXPECT_EQ(run.status, 1);  // nothing written counts as a refusal
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "ABF File: This is an Axon Binary File.  You don't need to convert.\n");
}

TEST(ConvertCli, UnknownFileWithoutAnAnswerIsDeclined) {
  TempDir dir;
  WriteFile(dir / "raw.dat", RawSamples());
  const Outcome run = Convora(dir, "convert raw.dat");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, UnknownLine("raw.dat"));
  EXPECT_FALSE(std::filesystem::exists(dir / "raw.ABF"));

  EXPECT_EQ(Convora(dir, "convert --unknown no raw.dat").status, 1);
  EXPECT_FALSE(std::filesystem::exists(dir / "raw.ABF"));
}

TEST(ConvertCli, UnknownFileAnsweredYesUsesTheBinaryOptions) {
  TempDir dir;
  WriteFile(dir / "raw.dat", RawSamples());
  const Outcome run = Convora(dir, "convert --unknown yes --interval 50 --channels 2 raw.dat");
  EXPECT_EQ(run.status, 0) << run.err;
  const auto output = std::filesystem::canonical(dir.Path()) / "raw.ABF";
  EXPECT_EQ(run.out, output.string() + "\n");
  EXPECT_EQ(run.err, UnknownLine("raw.dat"));
  const AbfHeader header = HeaderOf(ReadFile(output));
  EXPECT_EQ(header.Get(abf::fADCSampleInterval), 50.0f);
  EXPECT_EQ(header.Get(abf::nADCNumChannels), 2);
  EXPECT_EQ(header.Get(abf::lActualAcqLength), 200);  // 400 bytes of 16-bit samples
}

TEST(ConvertCli, IntervalAlsoAnswersAConvertersQuestion) {
  TempDir dir;
  WriteFile(dir / "wave.txt",
            ByteBuilder().Text("IGOR\rWAVES\twave0\rBEGIN\r\t1e-12\r\t1e-12\r").Get());
  const Outcome run = Convora(dir, "convert --interval 25 wave.txt");
  ASSERT_EQ(run.status, 0) << run.err;
  const auto output = std::filesystem::canonical(dir.Path()) / "wave.ABF";
  EXPECT_EQ(run.out, output.string() + "\n");
  EXPECT_EQ(HeaderOf(ReadFile(output)).Get(abf::fADCSampleInterval), 25.0f);
}

TEST(ConvertCli, OneFailingFileDoesNotStopTheOthers) {
  TempDir dir;
  WriteFile(dir / "a.dat", RawSamples());
  // k = -50 at offset 92 makes the long-integer test divide by zero.
  WriteFile(dir / "bad.dat", ByteBuilder().PadTo(92).Int16LE(-50).PadTo(1001).Get());
  WriteFile(dir / "b.dat", RawSamples());
  const Outcome run = Convora(dir, "convert --unknown yes a.dat bad.dat missing.dat b.dat");
  EXPECT_EQ(run.status, 1);
  const auto folder = std::filesystem::canonical(dir.Path());
  EXPECT_EQ(run.out, (folder / "a.ABF").string() + "\n" + (folder / "b.ABF").string() + "\n");
  EXPECT_TRUE(Has(run.err, "error: " + (folder / "bad.dat").string() + ": ")) << run.err;
  EXPECT_TRUE(Has(run.err, "error: " + (folder / "missing.dat").string() + ": ")) << run.err;
  EXPECT_FALSE(std::filesystem::exists(dir / "bad.ABF"));
}

TEST(ConvertCli, UsageErrors) {
  TempDir dir;
  WriteFile(dir / "raw.dat", RawSamples());
  EXPECT_EQ(Convora(dir, "convert --unknown maybe raw.dat").status, 2);
  EXPECT_EQ(Convora(dir, "convert").status, 2);
}

TEST(ConvertCli, MissingTemplate) {
  TempDir dir;
  WriteFile(dir / "raw.dat", RawSamples());
  EXPECT_EQ(Convora(dir, "--template absent.dat convert raw.dat").status, 3);
}

TEST(FormatsCli, ListsTheFormatsAndTheInstructionWithoutATemplate) {
  TempDir dir;
  const Outcome run = Convora(dir, "--template absent.dat formats");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(run.out.starts_with(" 0  Pulse IGB (Mac) ITX (PC) file\n 1  Igor Binary File v2.0\n"))
      << run.out;
  EXPECT_TRUE(Has(run.out, "\n29  Contact Quenvale to add your own data format.\n")) << run.out;
  EXPECT_TRUE(Has(run.out,
                  "Full Sweep} function.  This generates a macro file with file extension of "
                  "ITX for PC or IGB for Mac.  In Convora, highlight"))
      << run.out;
}

}  // namespace
}  // namespace convora::test
