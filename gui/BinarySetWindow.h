#pragma once
// The binary settings window: describes the block of raw samples in one file
// and converts it to ABF or WAV. It is shown without blocking the main window
// and keeps what was typed for the next file.

#include <filesystem>
#include <vector>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>

#include "generic/BinarySettingsFields.h"

namespace convora::gui {

class BinarySetWindow : public QWidget {
  Q_OBJECT

 public:
  explicit BinarySetWindow(QWidget* parent = nullptr);

  // Shows the window describing `file`: its name and length in bytes.
  void Describe(const std::filesystem::path& file);
  const std::filesystem::path& DescribedFile() const { return file_; }

  // The fields as typed; numbers are read when a conversion uses them.
  BinarySettings Settings() const;

 signals:
  void ConvertToAbfRequested();
  void ConvertToWavRequested();

 protected:
  // Escape closes the window without converting.
  void keyPressEvent(QKeyEvent* event) override;

 private:
  struct Field {
    const BinarySettingsField* setting;
    QLabel* label;
    QLineEdit* text;     // a text box, or
    QComboBox* choices;  // a drop-down list
    bool disabledForFloats;
  };

  void OnFloatingPointToggled(bool checked);

  std::filesystem::path file_;
  QLabel* fileName_;
  QLabel* fileSize_;
  std::vector<Field> fields_;
  QCheckBox* swapBytes_;
  QCheckBox* floatingPoint_;
};

}  // namespace convora::gui
