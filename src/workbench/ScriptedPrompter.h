#pragma once
// A Prompter that answers from a script and keeps a transcript of everything
// it was shown: for tests, and for driving the core without a person.

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "workbench/Prompter.h"

namespace convora {

class ScriptedPrompter : public Prompter {
 public:
  // Queues answers for a question key; unanswered Yes/No and OK/Cancel
  // questions get No / Cancel, unanswered input boxes their default.
  void AnswerYesNo(const std::string& key, bool yes) { choices_[key].push_back(yes); }
  void AnswerOkCancel(const std::string& key, bool ok) { choices_[key].push_back(ok); }
  void AnswerInput(const std::string& key, std::optional<std::string> text) {
    inputs_[key].push_back(std::move(text));
  }

  void ShowMessage(std::string_view title, std::string_view text) override;
  bool AskYesNo(const Question& question) override;
  bool AskOkCancel(const Question& question) override;
  std::optional<std::string> AskInput(const InputRequest& request) override;
  void Notice(std::string_view text) override;
  void ReportError(const std::filesystem::path& subject, std::string_view why) override;
  void SetBusy(bool busy) override { busy_ = busy; }

  // One line per dialog, "TITLE: TEXT" (notices as "notice: TEXT", errors as
  // "error: PATH: WHY").
  const std::vector<std::string>& Transcript() const { return transcript_; }
  bool Busy() const { return busy_; }

 private:
  bool NextChoice(const Question& question);

  std::map<std::string, std::deque<bool>> choices_;
  std::map<std::string, std::deque<std::optional<std::string>>> inputs_;
  std::vector<std::string> transcript_;
  bool busy_ = false;
};

}  // namespace convora
