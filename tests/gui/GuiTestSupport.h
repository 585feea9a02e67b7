#pragma once
// The real main window on a scratch folder, its dialogs answered by a
// ScriptedPrompter, with helpers to find its controls and select files.

#include <memory>
#include <string>
#include <vector>

#include <QAbstractButton>
#include <QApplication>
#include <QDropEvent>
#include <QListWidget>
#include <QMimeData>
#include <QStringList>
#include <QTest>

#include "MainWindow.h"
#include "Text.h"
#include "abf/TemplateFile.h"
#include "support/TestSupport.h"

namespace convora::test {

struct WindowFixture {
  TempDir dir;
  ScriptedPrompter prompter;
  std::unique_ptr<gui::MainWindow> window;

  // Opens a fresh window on the scratch folder (after the files are written,
  // or press "Refresh Directory"), asking through `through` when given.
  void Open(Prompter* through = nullptr) {
    window = std::make_unique<gui::MainWindow>(BuildDefaultTemplate(),
                                               through != nullptr ? *through : prompter,
                                               gui::PathText(dir.Path()), [] { return kFixedNow; });
    window->show();
  }

  // A control of the main window itself, or of `in`: the settings window, a
  // child window of its own, reuses some names (Command1, Label2, ...).
  template <typename T = QWidget>
  T* Find(const char* name, QWidget* in = nullptr) const {
    T* found = (in != nullptr ? in : window->centralWidget())->findChild<T*>(name);
    if (found == nullptr) qFatal("no control named %s", name);
    return found;
  }

  // Waits until the operations started so far have run and everything they
  // changed in the window is shown.
  void WaitIdle() const {
    if (!QTest::qWaitFor([this] { return !window->Operations().Running(); }, 60000)) {
      qFatal("the window's operations did not end");
    }
  }

  void Click(const char* button, QWidget* in = nullptr) const {
    Find<QAbstractButton>(button, in)->click();
    WaitIdle();
  }

  // Selects exactly the named entries of the file list.
  void Select(const QStringList& names) const {
    auto* files = Find<QListWidget>("FListBoxFETCH");
    files->clearSelection();
    for (const QString& name : names) {
      const auto found = files->findItems(name, Qt::MatchExactly);
      if (found.size() != 1) qFatal("no file %s in the list", qPrintable(name));
      found.front()->setSelected(true);
    }
  }

  // Drags the file list's selection onto the merge list, as a mouse drag
  // delivers it. Returns whether the drop was accepted.
  bool DropSelection(QMimeData* data = nullptr) const {
    auto* files = Find<QListWidget>("FListBoxFETCH");
    std::unique_ptr<QMimeData> dragged(
        data != nullptr ? data
                        : files->model()->mimeData(files->selectionModel()->selectedIndexes()));
    QWidget* target = Find<QListWidget>("List2")->viewport();
    const QPoint at = target->rect().center();
    QDragEnterEvent enter(at, Qt::CopyAction, dragged.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &enter);
    if (!enter.isAccepted()) return false;
    QDropEvent drop(at, Qt::CopyAction, dragged.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &drop);
    WaitIdle();
    return drop.isAccepted();
  }

  QStringList Items(const char* list) const {
    QStringList items;
    auto* widget = Find<QListWidget>(list);
    for (int row = 0; row < widget->count(); ++row) items << widget->item(row)->text();
    return items;
  }

  QString PathText(const std::string& name) const { return gui::PathText(dir / name); }

  QStringList Transcript() const {
    QStringList lines;
    for (const std::string& line : prompter.Transcript()) lines << QString::fromStdString(line);
    return lines;
  }
};

}  // namespace convora::test
