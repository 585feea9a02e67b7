#pragma once
// The real main window on a scratch folder, its dialogs answered by a
// ScriptedPrompter, with helpers to find its controls and select files.

#include <memory>
#include <string>
#include <vector>

#include <QAbstractButton>
#include <QApplication>
#include <QListWidget>
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
  // or press "Refresh Directory").
  void Open() {
    window = std::make_unique<gui::MainWindow>(BuildDefaultTemplate(), prompter,
                                               gui::PathText(dir.Path()), [] { return kFixedNow; });
    window->show();
  }

  // A control of the main window itself; the settings window, a child
  // window of its own, reuses some names (Command1, Label2, ...).
  template <typename T = QWidget>
  T* Find(const char* name) const {
    T* found = window->centralWidget()->findChild<T*>(name);
    if (found == nullptr) qFatal("no control named %s", name);
    return found;
  }

  template <typename T = QWidget>
  T* FindInSettings(const char* name) const {
    T* found = window->BinarySet()->findChild<T*>(name);
    if (found == nullptr) qFatal("no settings control named %s", name);
    return found;
  }

  void Click(const char* button) const { Find<QAbstractButton>(button)->click(); }

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

  QStringList Items(const char* list) const {
    QStringList items;
    auto* widget = Find<QListWidget>(list);
    for (int row = 0; row < widget->count(); ++row) items << widget->item(row)->text();
    return items;
  }

  QString PathText(const std::string& name) const { return gui::PathText(dir / name); }

  std::vector<std::string> Transcript() const { return prompter.Transcript(); }
};

inline QStringList ToList(const std::vector<std::string>& lines) {
  QStringList list;
  for (const std::string& line : lines) list << QString::fromStdString(line);
  return list;
}

}  // namespace convora::test
