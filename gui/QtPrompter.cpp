#include "QtPrompter.h"

#include <QApplication>
#include <QInputDialog>
#include <QMessageBox>

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
  const ArrowWhileAsking arrow(busy_);
  QMessageBox box(QMessageBox::NoIcon, ToQString(title), ToQString(text), QMessageBox::Ok, parent_);
  box.exec();
}

bool QtPrompter::AskYesNo(const Question& question) {
  return Ask(parent_, busy_, question, QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
}

bool QtPrompter::AskOkCancel(const Question& question) {
  return Ask(parent_, busy_, question, QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Ok);
}

std::optional<std::string> QtPrompter::AskInput(const InputRequest& request) {
  const ArrowWhileAsking arrow(busy_);
  QInputDialog dialog(parent_);
  dialog.setWindowTitle(ToQString(request.title));
  dialog.setLabelText(ToQString(request.prompt));
  dialog.setTextValue(ToQString(request.defaultValue));
  if (dialog.exec() != QDialog::Accepted) return std::nullopt;
  return ToUtf8(dialog.textValue());
}

void QtPrompter::ReportError(const std::filesystem::path& subject, std::string_view why) {
  ShowMessage(kApplicationTitle, ToUtf8(PathText(subject)) + ": " + std::string(why));
}

void QtPrompter::Notice(std::string_view text) {
  if (notice_) notice_(ToQString(text));
}

void QtPrompter::SetBusy(bool busy) {
  if (busy == busy_) return;
  busy_ = busy;
  if (busy) {
    QApplication::setOverrideCursor(Qt::WaitCursor);
  } else {
    QApplication::restoreOverrideCursor();
  }
}

}  // namespace convora::gui
