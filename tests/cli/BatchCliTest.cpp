// Folders as arguments, --recursive, --output-dir and --no-overwrite.

#include <gtest/gtest.h>

#include "CliRunner.h"

namespace convora::test {
namespace {

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
  EXPECT_EQ(Convora(dir, "--no-overwrite binary cell.1.dat").status, 1);
}

}  // namespace
}  // namespace convora::test
