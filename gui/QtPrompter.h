#pragma once
// The window's way of asking: modal message, question and input boxes with
// the exact titles and texts the core gives, and the busy pointer. Operations
// run on a worker thread: every call is carried out on the interface thread,
// the worker waiting for the answer.

#include <QPointer>
#include <QString>
#include <QWidget>

#include "workbench/Prompter.h"

namespace convora::gui {

class QtPrompter : public Prompter {
 public:
  // Dialogs are centred on `parent` once it is set.
  void SetParent(QWidget* parent) { parent_ = parent; }

  void ShowMessage(std::string_view title, std::string_view text) override;
  bool AskYesNo(const Question& question) override;
  bool AskOkCancel(const Question& question) override;
  std::optional<std::string> AskInput(const InputRequest& request) override;
  void Notice(std::string_view text) override;
  void ReportError(const std::filesystem::path& subject, std::string_view why) override;
  void SetBusy(bool busy) override;

 private:
  QPointer<QWidget> parent_;
  bool busy_ = false;
};

}  // namespace convora::gui
