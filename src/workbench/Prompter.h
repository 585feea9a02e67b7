#pragma once
// The one way the core talks to a person: message boxes, questions, input
// boxes and the busy pointer. The window shows dialogs, the command line reads
// options and the terminal, tests answer from a script.

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace convora {

// Title of a message box that has none of its own.
inline constexpr std::string_view kApplicationTitle = "Convora";

// A question with a stable key, so that a front end can answer it from its
// options ("unknown", "interval", ...).
struct Question {
  std::string_view key;
  std::string_view title;
  std::string_view text;
};

struct InputRequest {
  std::string_view key;
  std::string_view prompt;
  std::string_view title;
  std::string_view defaultValue;
  // The answer is read as a number (leniently, its leading number): a person
  // typing something else on a terminal is asked again.
  bool number = false;
};

class Prompter {
 public:
  virtual ~Prompter() = default;

  // A message box with an OK button.
  virtual void ShowMessage(std::string_view title, std::string_view text) = 0;
  // Yes/No box: true for Yes.
  virtual bool AskYesNo(const Question& question) = 0;
  // OK/Cancel box: true for OK.
  virtual bool AskOkCancel(const Question& question) = 0;
  // Input box: the text entered, or nothing for Cancel.
  virtual std::optional<std::string> AskInput(const InputRequest& request) = 0;
  // A line of information that is not a dialog (the window shows it in its
  // log panel, the command line on stderr).
  virtual void Notice(std::string_view text) = 0;
  // A file (or folder) whose operation failed, and why: nothing was written
  // for it (the window shows a box, the command line "error: PATH: WHY").
  virtual void ReportError(const std::filesystem::path& subject, std::string_view why) = 0;
  virtual void SetBusy(bool busy) = 0;
};

// Sets the pointer back to the arrow when the operation that made it busy ends,
// however it ends.
class ArrowAtEnd {
 public:
  explicit ArrowAtEnd(Prompter& prompter) : prompter_(prompter) {}
  ~ArrowAtEnd() { prompter_.SetBusy(false); }
  ArrowAtEnd(const ArrowAtEnd&) = delete;
  ArrowAtEnd& operator=(const ArrowAtEnd&) = delete;

 private:
  Prompter& prompter_;
};

}  // namespace convora
