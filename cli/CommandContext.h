#pragma once
// What every subcommand shares: the global options, the terminal prompter, the
// workbench of the run and the per-file loop with its error reporting.

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "TerminalPrompter.h"
#include "workbench/FileRunner.h"
#include "workbench/Workbench.h"

namespace convora::cli {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitNoTemplate = 3;

class CommandContext {
 public:
  CommandContext(std::istream& in, std::ostream& out, std::ostream& err,
                 std::filesystem::path programFolder);

  std::string templatePath;  // --template; empty for the one beside the program
  bool eachFromTemplate = false;  // --each-from-template
  bool recursive = false;         // --recursive: folders are searched through
  bool noOverwrite = false;       // --no-overwrite
  std::string outputDir;          // --output-dir; empty for beside each source
  int exitCode = kExitOk;

  TerminalPrompter& Prompter() { return prompter_; }
  std::ostream& Out() { return out_; }
  std::ostream& Err() { return err_; }

  // Loads the template into a new workbench whose List1 is printed on stdout
  // as it grows; without a template, shows the message, sets the exit status
  // and returns nothing.
  std::unique_ptr<Workbench> OpenWorkbench();

  // Runs `process` for each file, the absolute path of each argument, as the
  // selected file. A file that ends in an error, or adds nothing to List1,
  // makes the exit status 1; a file that returns kStopTool ends the run.
  void ForEachFile(Workbench& bench, const std::vector<std::string>& files,
                   const FileRunner::Action& process);

  // Reports `why` for `path` as "error: PATH: WHY" and marks the run failed.
  void ReportError(const std::filesystem::path& path, const std::string& why);

 private:
  std::ostream& out_;
  std::ostream& err_;
  std::filesystem::path programFolder_;
  TerminalPrompter prompter_;
};

// The absolute, lexically normal form of a path given on the command line.
std::filesystem::path SelectedPathFor(const std::string& argument);

// A file to process and the folder its outputs mirror under --output-dir.
struct SelectedFile {
  std::filesystem::path path;
  std::filesystem::path root;  // the folder given, or the file's own folder
};

// The files the arguments name, in order: a file as itself, a folder as the
// regular files in it in name order (with `recursive`, those of its
// subfolders too, each folder's files before its subfolders'); a folder with
// none as itself, for the error it gets.
std::vector<SelectedFile> FilesOf(const std::vector<std::string>& arguments, bool recursive);

}  // namespace convora::cli
