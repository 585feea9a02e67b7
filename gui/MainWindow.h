#pragma once
// The main window: the file browser, the twelve command buttons, the list of
// known formats, the merge list, the list of written files, a log of notices
// and failures, and a preview. Every dialog goes through the Prompter it is
// given. The operations run one at a time on a worker thread, with their
// progress and a Cancel button in the status bar.

#include <filesystem>
#include <functional>
#include <vector>

#include <QDir>
#include <QLabel>
#include <QListWidget>
#include <QMainWindow>
#include <QProgressBar>
#include <QPushButton>

#include "AsciiSetWindow.h"
#include "BinarySetWindow.h"
#include "FileBrowser.h"
#include "LoggedPrompter.h"
#include "MergeList.h"
#include "OperationQueue.h"
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
  // Stops the worker while everything it may still reach is whole.
  ~MainWindow() override { queue_.Stop(); }

  // How a folder is chosen ("Open folder..."): a folder dialog unless a test
  // scripts it; an empty answer means none was chosen.
  using FolderChooser = std::function<QString(QWidget* parent, const QString& start)>;
  void SetFolderChooser(FolderChooser choose) { chooseFolder_ = std::move(choose); }

  Workbench& Bench() { return bench_; }
  OperationQueue& Operations() { return queue_; }
  FileBrowser* Browser() const { return browser_; }
  BinarySetWindow* BinarySet() const { return binarySet_; }
  AsciiSetWindow* AsciiSet() const { return asciiSet_; }
  PreviewWidget* Preview() const { return preview_; }

 private:
  QWidget* BuildButtons();
  QWidget* BuildLists();
  void BuildStatusArea();
  void BuildMenus();
  void FitToScreen();
  QPushButton* AddButton(int number, const char* caption);

  // A runner for the worker thread: it reports each file to the progress bar
  // and stops at Cancel.
  FileRunner Runner();
  // Runs `action` on the worker for every file selected now, in list order.
  void ForEachSelectedFile(FileRunner::Action action);
  void AddToLog(const QString& line);
  void ShowStep(const FileStep& step);

  void ConvertKnownFiles();
  void OpenBinarySettings();
  void ConvertWithBinarySettings(bool toWav);
  void DropOnMergeList();
  void MergeFiles();
  void ConvertWithAsciiSettings();
  void ConvertPtiFiles();
  void ShowInstruction();
  void OpenChosenFolder();
  void ShowUsage();

  LoggedPrompter logged_;
  Workbench bench_;
  FileBrowser* browser_;
  BinarySetWindow* binarySet_;
  AsciiSetWindow* asciiSet_;
  PreviewWidget* preview_;
  QListWidget* written_ = nullptr;
  MergeList* merge_ = nullptr;
  QListWidget* formats_ = nullptr;
  QListWidget* log_ = nullptr;
  QProgressBar* progress_ = nullptr;
  QPushButton* cancel_ = nullptr;
  FolderChooser chooseFolder_;
  // Last, so that it stops the worker before anything the worker uses goes.
  OperationQueue queue_;
};

}  // namespace convora::gui
