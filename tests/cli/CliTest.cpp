// The command-line contract, tested on the real program.

#include <gtest/gtest.h>

#include <cstdio>
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

TEST(Cli, VersionPrintsTheProductCaption) {
  TempDir dir;
  const Outcome run = Convora(dir, "--version");
  EXPECT_EQ(run.status, 0);
  EXPECT_TRUE(run.out.starts_with("Convora v")) << run.out;
}

}  // namespace
}  // namespace convora::test
