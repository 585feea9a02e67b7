#pragma once
// Runs the real convora program for the command-line tests.

#include <string>

#include "support/TestSupport.h"

namespace convora::test {

struct Outcome {
  int status;  // -1 when the program did not end by itself
  std::string out;
  std::string err;
};

// Runs convora in `folder` with no input (no terminal). `arguments` are split
// as a POSIX shell splits them: blanks part words, single quotes keep blanks.
Outcome Convora(const TempDir& folder, const std::string& arguments);

// Whether a line of `text` starts with `start`; end `start` with "\n" to match a whole line.
inline bool HasLine(const std::string& text, const std::string& start) {
  return ("\n" + text).find("\n" + start) != std::string::npos;
}

}  // namespace convora::test
