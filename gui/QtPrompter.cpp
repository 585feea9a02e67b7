#include "QtPrompter.h"

#include <QApplication>
#include <QInputDialog>
#include <QMessageBox>

#include "OperationQueue.h"
#include "Text.h"

namespace convora::gui {

namespace {

// A dialog shown while an operation is busy gets the arrow back until it closes.
class ArrowWhileAsking {
 public:
  explicit ArrowWhileAsking(bool busy) : busy_(busy) {
    if (busy_) QApplication::setOverrideCursor(Qt::ArrowCursor);
  }
  ~ArrowWhileAsking() {
    if (busy_) QApplication::restoreOverrideCursor();
  }
  ArrowWhileAsking(const ArrowWhileAsking&) = delete;
  ArrowWhileAsking& operator=(const ArrowWhileAsking&) = delete;

 private:
  bool busy_;
};

bool Ask(QWidget* parent, bool busy, const Question& question, QMessageBox::StandardButtons buttons,
         QMessageBox::StandardButton yes) {
  const ArrowWhileAsking arrow(busy);
  QMessageBox box(QMessageBox::Question, ToQString(question.title), ToQString(question.text),
                  buttons, parent);
  return box.exec() == yes;
}

}  // namespace

void QtPrompter::ShowMessage(std::string_view title, std::string_view text) {
  OnInterfaceThread([&] {
    const ArrowWhileAsking arrow(busy_);
    QMessageBox box(QMessageBox::NoIcon, ToQString(title), ToQString(text), QMessageBox::Ok,
                    parent_);
    box.exec();
  });
}

bool QtPrompter::AskYesNo(const Question& question) {
  bool yes = false;
  OnInterfaceThread([&] {
    yes = Ask(parent_, busy_, question, QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
  });
  return yes;
}

bool QtPrompter::AskOkCancel(const Question& question) {
  bool ok = false;
  OnInterfaceThread([&] {
    ok = Ask(parent_, busy_, question, QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Ok);
  });
  return ok;
}

std::optional<std::string> QtPrompter::AskInput(const InputRequest& request) {
  std::optional<std::string> answer;
  OnInterfaceThread([&] {
    const ArrowWhileAsking arrow(busy_);
    QInputDialog dialog(parent_);
    dialog.setWindowTitle(ToQString(request.title));
    dialog.setLabelText(ToQString(request.prompt));
    dialog.setTextValue(ToQString(request.defaultValue));
    if (dialog.exec() == QDialog::Accepted) answer = ToUtf8(dialog.textValue());
  });
  return answer;
}

void QtPrompter::ReportError(const std::filesystem::path& subject, std::string_view why) {
  ShowMessage(kApplicationTitle, ToUtf8(PathText(subject)) + ": " + std::string(why));
}

// The main window keeps notices in its log panel, where they stay readable.
void QtPrompter::Notice(std::string_view /*text*/) {}

void QtPrompter::SetBusy(bool busy) {
  OnInterfaceThread([&] {
    if (busy == busy_) return;
    busy_ = busy;
    if (busy) {
      QApplication::setOverrideCursor(Qt::WaitCursor);
    } else {
      QApplication::restoreOverrideCursor();
    }
  });
}

}  // namespace convora::gui
