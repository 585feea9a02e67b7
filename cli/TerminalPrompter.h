#pragma once
// The command line's Prompter: answers come from options; a question without
// one is asked on the terminal, or, with no terminal, gets its default (input
// boxes) or No / Cancel. Every message box becomes one line "TITLE: TEXT".

#include <functional>
#include <iosfwd>
#include <map>
#include <string>

#include "workbench/Prompter.h"

namespace convora::cli {

class TerminalPrompter : public Prompter {
 public:
  TerminalPrompter(std::istream& in, std::ostream& err, bool interactive)
      : in_(in), err_(err), interactive_(interactive) {}

  void SetInputAnswers(std::map<std::string, std::string> answers) { inputs_ = std::move(answers); }
  void SetChoice(const std::string& key, bool yes) { choices_[key] = yes; }
  // Called before anything is written, so that a progress line can make room.
  void BeforeWriting(std::function<void()> hook) { beforeWriting_ = std::move(hook); }
  // Lets that hook make room before a line is written elsewhere on the terminal.
  void MakeRoom() {
    if (beforeWriting_) beforeWriting_();
  }

  void ShowMessage(std::string_view title, std::string_view text) override;
  bool AskYesNo(const Question& question) override;
  bool AskOkCancel(const Question& question) override;
  std::optional<std::string> AskInput(const InputRequest& request) override;
  void Notice(std::string_view text) override;
  void ReportError(const std::filesystem::path& subject, std::string_view why) override;
  void SetBusy(bool) override {}

 private:
  bool AskChoice(const Question& question, std::string_view hint, char yesLetter);
  std::optional<std::string> ReadLine();
  std::ostream& Err();

  std::istream& in_;
  std::ostream& err_;
  bool interactive_;
  std::map<std::string, std::string> inputs_;
  std::map<std::string, bool> choices_;
  std::function<void()> beforeWriting_;
};

// `text` fit for one line of stderr: line breaks and other control
// characters, which messages can quote from a file's own bytes, are written
// as escapes (\r, \n, \xNN); tabs stay.
std::string OneLine(std::string_view text);

// True when standard input is a terminal a person can answer on.
bool StdinIsTerminal();
// True when standard error is a terminal a person reads.
bool StderrIsTerminal();

}  // namespace convora::cli
