#pragma once
// The main window: the file browser, the twelve command buttons, the list of
// known formats, the merge list, the list of written files and a preview.
// Every dialog goes through the Prompter it is given.

#include <filesystem>
#include <functional>
#include <vector>

#include <QDir>
#include <QLabel>
#include <QListWidget>
#include <QMainWindow>
#include <QPushButton>

#include "AsciiSetWindow.h"
#include "BinarySetWindow.h"
#include "FileBrowser.h"
#include "MergeList.h"
#include "PreviewWidget.h"
#include "tools/AbfTools.h"
#include "workbench/FileRunner.h"
#include "workbench/Workbench.h"

namespace convora::gui {

class MainWindow : public QMainWindow {
  Q_OBJECT

 public:
  MainWindow(const AbfHeader& templateHeader, Prompter& prompter,
             const QString& startFolder = QDir::currentPath(),
             Workbench::Clock clock = CurrentLocalDateTime, QWidget* parent = nullptr);

  Workbench& Bench() { return bench_; }
  FileBrowser* Browser() const { return browser_; }
  BinarySetWindow* BinarySet() const { return binarySet_; }
  AsciiSetWindow* AsciiSet() const { return asciiSet_; }
  PreviewWidget* Preview() const { return preview_; }

 private:
  QWidget* BuildButtons();
  QWidget* BuildLists();
  QPushButton* AddButton(int number, const char* caption);

  // Runs `action` for every selected file in list order.
  void ForEachSelectedFile(const FileRunner::Action& action);

  void ConvertKnownFiles();
  void OpenBinarySettings();
  void ConvertWithBinarySettings(bool toWav);
  void DropOnMergeList();
  void MergeFiles();
  void ConvertWithAsciiSettings();
  void ConvertPtiFiles();
  void ShowInstruction();
  void ShowMergeList();

  Workbench bench_;
  std::vector<std::filesystem::path> mergeList_;
  FileBrowser* browser_;
  BinarySetWindow* binarySet_;
  AsciiSetWindow* asciiSet_;
  PreviewWidget* preview_;
  QListWidget* written_ = nullptr;
  MergeList* merge_ = nullptr;
  QListWidget* formats_ = nullptr;
};

}  // namespace convora::gui
