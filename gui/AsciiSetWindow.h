#pragma once
// The ASCII table settings window: which columns become channels, how the
// table starts, its interval and unit. Shown without blocking the main window;
// it converts the files that were selected when it was opened and keeps what
// was typed for the next ones.

#include <filesystem>
#include <vector>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QWidget>

#include "ascii/AsciiSettings.h"

namespace convora::gui {

class AsciiSetWindow : public QWidget {
  Q_OBJECT

 public:
  explicit AsciiSetWindow(QWidget* parent = nullptr);

  // Shows the window for `files`, in list order.
  void Describe(std::vector<std::filesystem::path> files);
  const std::vector<std::filesystem::path>& DescribedFiles() const { return files_; }

  AsciiSettings Settings() const;

 signals:
  void ConvertRequested();

 protected:
  // Escape closes the window without converting.
  void keyPressEvent(QKeyEvent* event) override;

 private:
  std::vector<std::filesystem::path> files_;
  QLabel* fileNames_;
  std::vector<QLineEdit*> texts_;  // one per kAsciiSettingsFields entry
  QComboBox* separator_;
  QCheckBox* matlab_;
};

}  // namespace convora::gui
