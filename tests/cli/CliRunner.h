#pragma once
// Runs the real convora program for the command-line tests.

#include <cstdlib>
#include <string>

#include "support/TestSupport.h"

namespace convora::test {

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

// Runs convora in `folder` with stdin from /dev/null (no terminal).
inline Outcome Convora(const TempDir& folder, const std::string& arguments) {
  const auto out = folder / ".stdout";
  const auto err = folder / ".stderr";
  const std::string command = "cd '" + folder.Path().string() + "' && '" CONVORA_EXE "' " +
                              arguments + " </dev/null >'" + out.string() + "' 2>'" +
                              err.string() + "'";
  const int raw = std::system(command.c_str());
  const auto text = [](const Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); };
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, text(ReadFile(out)), text(ReadFile(err))};
}

// Whether a line of `text` starts with `start`; end `start` with "\n" to match a whole line.
inline bool HasLine(const std::string& text, const std::string& start) {
  return ("\n" + text).find("\n" + start) != std::string::npos;
}

}  // namespace convora::test
