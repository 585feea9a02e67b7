#include "AsciiSetWindow.h"

#include <QFormLayout>
#include <QKeyEvent>
#include <QGroupBox>
#include <QPushButton>
#include <QVBoxLayout>

#include "Text.h"

namespace convora::gui {
namespace {

// In the order of AsciiSeparator.
const char* const kSeparators[] = {"Detect", "Tab", "Comma", "Semicolon", "Space"};

}  // namespace

AsciiSetWindow::AsciiSetWindow(QWidget* parent)
    : QWidget(parent, Qt::Window), fileNames_(new QLabel(this)) {
  setObjectName("AsciiSet");
  setWindowTitle(ToQString(kAsciiSettingsTitle));
  setWindowModality(Qt::NonModal);
  setAttribute(Qt::WA_QuitOnClose, false);
  fileNames_->setObjectName("FileNames");
  fileNames_->setWordWrap(true);

  auto* frame = new QGroupBox("Settings", this);
  auto* form = new QFormLayout(frame);
  const AsciiSettings defaults;
  for (const AsciiSettingsField& field : kAsciiSettingsFields) {
    auto* text = new QLineEdit(ToQString(defaults.*field.member), frame);
    text->setObjectName(ToQString(field.key));
    form->addRow(ToQString(field.caption), text);
    texts_.push_back(text);
  }
  separator_ = new QComboBox(frame);
  separator_->setObjectName("separator");
  for (const char* name : kSeparators) separator_->addItem(name);
  form->addRow("Column separator", separator_);
  matlab_ = new QCheckBox("MATLAB ASCII file (columns separated by blanks)", frame);
  matlab_->setObjectName("matlab");
  form->addRow(matlab_);

  auto* convert = new QPushButton("Convert to ABF", this);
  convert->setObjectName("Convert");
  connect(convert, &QPushButton::clicked, this, &AsciiSetWindow::ConvertRequested);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(fileNames_);
  layout->addWidget(frame);
  layout->addWidget(convert);
}

void AsciiSetWindow::Describe(std::vector<std::filesystem::path> files) {
  files_ = std::move(files);
  QStringList names;
  for (const auto& file : files_) names << PathText(file.filename());
  fileNames_->setText(names.join(", "));
  show();
  raise();
  activateWindow();
}

AsciiSettings AsciiSetWindow::Settings() const {
  AsciiSettings settings;
  for (std::size_t k = 0; k < texts_.size(); ++k) {
    settings.*kAsciiSettingsFields[k].member = ToUtf8(texts_[k]->text());
  }
  settings.separator = static_cast<AsciiSeparator>(separator_->currentIndex());
  settings.matlab = matlab_->isChecked();
  return settings;
}

void AsciiSetWindow::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    close();
    return;
  }
  QWidget::keyPressEvent(event);
}

}  // namespace convora::gui
