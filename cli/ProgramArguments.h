#pragma once
// The command line as UTF-8 text, which is what the program's paths are made
// from (abf/PathText.h), on every system.

#include <string>
#include <vector>

namespace convora::cli {

class ProgramArguments {
 public:
  // POSIX: the arguments as given. Windows: the wide-character command line,
  // since `argv` holds it in the ANSI code page, which lacks most letters.
  ProgramArguments(int argc, char** argv);
  int Count() const { return static_cast<int>(values_.size()); }
  const char* const* Values() const { return values_.data(); }

 private:
  std::vector<std::string> texts_;
  std::vector<const char*> values_;
};

// Makes a Windows console show the UTF-8 the program writes; elsewhere the
// terminal does already.
void ShowUtf8OnConsole();

}  // namespace convora::cli
