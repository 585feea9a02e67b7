#include "BinarySetWindow.h"

#include <string_view>
#include <system_error>

#include <QFormLayout>
#include <QKeyEvent>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QVBoxLayout>

#include "Text.h"

namespace convora::gui {
namespace {

struct FieldLook {
  std::string_view key;  // as in kBinarySettingsFields
  const char* objectName;
  QStringList choices;     // a drop-down list; a text box when empty
  bool disabledForFloats;  // greyed out while "Floating-point" is checked
};

const FieldLook kLooks[] = {
    {"byte-offset", "ByteLoc", {}, false},
    {"interval", "SampleInt", {}, false},
    {"range", "ADCRange", {"1", "5", "10", "20"}, true},
    {"resolution", "ADCREsolution", {"2048", "32768"}, true},
    {"unit", "Unit", {}, false},
    {"scale", "ScaleFactor", {}, true},
    {"channels", "Combo1", {"1", "2", "3", "4"}, true},
};

const FieldLook& LookOf(std::string_view key) {
  for (const FieldLook& look : kLooks) {
    if (look.key == key) return look;
  }
  return kLooks[0];
}

}  // namespace

BinarySetWindow::BinarySetWindow(QWidget* parent)
    : QWidget(parent, Qt::Window), fileName_(new QLabel(this)), fileSize_(new QLabel(this)) {
  setObjectName("BinarySet");
  setWindowTitle(ToQString(kBinarySettingsTitle));
  setWindowModality(Qt::NonModal);
  // Closing the main window ends the program even while this one is open.
  setAttribute(Qt::WA_QuitOnClose, false);
  fileName_->setObjectName("Label2");
  fileSize_->setObjectName("Label4");

  auto* about = new QFormLayout;
  about->addRow("File Name:", fileName_);
  about->addRow("File Size (in bytes):", fileSize_);

  auto* frame = new QGroupBox("Settings", this);
  auto* form = new QFormLayout(frame);
  const BinarySettings defaults;
  for (const BinarySettingsField& setting : kBinarySettingsFields) {
    const FieldLook& look = LookOf(setting.key);
    Field field{&setting, new QLabel(ToQString(setting.caption), frame), nullptr, nullptr,
                look.disabledForFloats};
    field.label->setObjectName(QString(look.objectName) + "Label");
    const QString initial = ToQString(defaults.*setting.member);
    QWidget* editor = nullptr;
    if (look.choices.isEmpty()) {
      field.text = new QLineEdit(initial, frame);
      editor = field.text;
    } else {
      field.choices = new QComboBox(frame);
      field.choices->addItems(look.choices);
      field.choices->setCurrentIndex(field.choices->findText(initial));
      editor = field.choices;
    }
    editor->setObjectName(look.objectName);
    field.label->setBuddy(editor);
    form->addRow(field.label, editor);
    fields_.push_back(field);
  }
  swapBytes_ = new QCheckBox(ToQString(kSwapBytesCaption), frame);
  swapBytes_->setObjectName("Check1");
  floatingPoint_ = new QCheckBox(ToQString(kFloatingPointCaption), frame);
  floatingPoint_->setObjectName("Check2");
  form->addRow(swapBytes_);
  form->addRow(floatingPoint_);
  connect(floatingPoint_, &QCheckBox::toggled, this, &BinarySetWindow::OnFloatingPointToggled);

  auto* toAbf = new QPushButton("Convert to ABF", this);
  toAbf->setObjectName("Command1");
  auto* reserved = new QPushButton("Reserved for Vanta", this);
  reserved->setObjectName("Command2");
  reserved->setEnabled(false);
  auto* toWav = new QPushButton("Convert to Wav", this);
  toWav->setObjectName("Command3");
  connect(toAbf, &QPushButton::clicked, this, &BinarySetWindow::ConvertToAbfRequested);
  connect(toWav, &QPushButton::clicked, this, &BinarySetWindow::ConvertToWavRequested);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(toAbf);
  buttons->addWidget(reserved);
  buttons->addWidget(toWav);

  auto* layout = new QVBoxLayout(this);
  layout->addLayout(about);
  layout->addWidget(frame);
  layout->addLayout(buttons);
}

void BinarySetWindow::OnFloatingPointToggled(bool checked) {
  for (const Field& field : fields_) {
    if (!field.disabledForFloats) continue;
    field.label->setEnabled(!checked);
    (field.text != nullptr ? static_cast<QWidget*>(field.text) : field.choices)
        ->setEnabled(!checked);
  }
}

void BinarySetWindow::Describe(const std::filesystem::path& file) {
  file_ = file;
  fileName_->setText(PathText(file.filename()));
  std::error_code ec;
  const auto length = std::filesystem::file_size(file, ec);
  fileSize_->setText(ec ? QString("?") : QString::number(length));
  show();
  raise();
  activateWindow();
}

BinarySettings BinarySetWindow::Settings() const {
  BinarySettings settings;
  for (const Field& field : fields_) {
    const QString text = field.text != nullptr ? field.text->text() : field.choices->currentText();
    settings.*field.setting->member = ToUtf8(text);
  }
  settings.swapBytes = swapBytes_->isChecked();
  settings.floatingPoint = floatingPoint_->isChecked();
  return settings;
}

void BinarySetWindow::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    close();
    return;
  }
  QWidget::keyPressEvent(event);
}

}  // namespace convora::gui
