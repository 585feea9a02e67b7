#pragma once
// The prompter the main window's operations talk to: it passes everything on
// to the prompter the window was given (dialogs, busy pointer) and also hands
// every notice and failure, as one line, to the window's log.

#include <functional>
#include <string>

#include "workbench/Prompter.h"

namespace convora::gui {

class LoggedPrompter : public Prompter {
 public:
  using Log = std::function<void(const std::string&)>;

  LoggedPrompter(Prompter& inner, Log log) : inner_(inner), log_(std::move(log)) {}

  void ShowMessage(std::string_view title, std::string_view text) override {
    inner_.ShowMessage(title, text);
  }
  bool AskYesNo(const Question& question) override { return inner_.AskYesNo(question); }
  bool AskOkCancel(const Question& question) override { return inner_.AskOkCancel(question); }
  std::optional<std::string> AskInput(const InputRequest& request) override {
    return inner_.AskInput(request);
  }
  void Notice(std::string_view text) override;
  void ReportError(const std::filesystem::path& subject, std::string_view why) override;
  void SetBusy(bool busy) override { inner_.SetBusy(busy); }

 private:
  Prompter& inner_;
  Log log_;
};

}  // namespace convora::gui
