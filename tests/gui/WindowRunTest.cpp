// The window while operations run: the worker thread keeps the event loop
// going, the progress bar and Cancel, the menus, Escape on the settings
// windows, and a size that fits the screen (also run with QT_SCALE_FACTOR=2).
// The log panel is tested with the runs and the merge list that write to it.

#include <functional>
#include <utility>

#include <QAction>
#include <QMenuBar>
#include <QProgressBar>
#include <QScreen>
#include <QScrollArea>
#include <QStatusBar>
#include <QTextBrowser>
#include <QtTest>

#include "GuiTestSupport.h"
#include "LoggedPrompter.h"

namespace convora::test {

namespace {

// Passes everything on, calling `first` (from the interface thread, as a
// person's click would come) when the first input box comes up.
class OnFirstInput : public gui::LoggedPrompter {
 public:
  OnFirstInput(Prompter& inner, std::function<void()> first)
      : LoggedPrompter(inner, [](const std::string&) {}), first_(std::move(first)) {}

  std::optional<std::string> AskInput(const InputRequest& request) override {
    if (first_) gui::OnInterfaceThread(std::exchange(first_, nullptr));
    return LoggedPrompter::AskInput(request);
  }

 private:
  std::function<void()> first_;
};

}  // namespace

class WindowRunTest : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<WindowFixture> f;

  QPushButton* CancelButton() const {
    return f->window->statusBar()->findChild<QPushButton*>("Cancel");
  }

  QAction* Action(const char* name) {
    auto* action = f->window->menuBar()->findChild<QAction*>(name);
    if (action == nullptr) qFatal("no menu entry %s", name);
    return action;
  }

 private slots:
  void init() { f = std::make_unique<WindowFixture>(); }
  void cleanup() { f.reset(); }

  void aLongFilterRunKeepsTheWindowLiveAndMovesTheProgressBar() {
    // 128 Mi samples of 0 in a sparse file of 256 MiB.
    constexpr std::int32_t kSamples = 128 << 20;
    AbfHeader header = PlainAbfHeader();
    header.Set(abf::lActualAcqLength, kSamples);
    const auto path = f->dir / "long.abf";
    WriteFile(path, AbfBytes(header, {}));
    std::filesystem::resize_file(path, std::filesystem::file_size(path) + 2 * kSamples);
    f->Open();
    f->prompter.AnswerInput("pre", "5");
    f->prompter.AnswerInput("new", "1");
    int ticks = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, [&] { ++ticks; });
    timer.start(10);
    QStringList shown;  // the bar's text each time it is full
    auto* progress = f->window->statusBar()->findChild<QProgressBar*>("Progress");
    connect(progress, &QProgressBar::valueChanged, [&](int value) {
      if (value > 0 && value == progress->maximum()) shown << progress->text();
    });
    f->Select({"long.abf"});
    f->Click("Command9");
    QVERIFY2(ticks > 5, qPrintable(QString("the timer fired %1 times").arg(ticks)));
    QCOMPARE(shown, QStringList{"file 1 of 1, 256.0 MiB of 256.0 MiB"});
    QCOMPARE(progress->value(), 0);  // at rest again
    QVERIFY(!CancelButton()->isEnabled());
  }

  void cancelStopsABatchAfterTheFileInHand() {
    for (const char* name : {"a.abf", "b.abf", "c.abf"}) WriteFile(f->dir / name, AbfBytes({1, 2}));
    OnFirstInput cancelling(f->prompter, [this] { CancelButton()->click(); });
    f->Open(&cancelling);
    f->Select({"a.abf", "b.abf", "c.abf"});
    f->prompter.AnswerInput("interval", "50");
    f->Click("Command11");
    QCOMPARE(f->Items("List1"), QStringList{f->PathText("a.abf")});
    QCOMPARE(f->Transcript().filter("Sample Interval").size(), 1);
    QCOMPARE(f->Transcript().last(), "notice: " + f->PathText("b.abf") + ", " +
                                         f->PathText("c.abf") +
                                         ": not processed, the run was cancelled");

    // The next runs start afresh. Started one after the other, without
    // waiting, they take the selection of their start and run in that order.
    for (const char* name : {"c.abf", "a.abf"}) {
      f->Select({name});
      f->Find<QPushButton>("Command11")->click();
    }
    f->WaitIdle();
    QCOMPARE(f->Items("List1").mid(1), (QStringList{f->PathText("c.abf"), f->PathText("a.abf")}));
  }

  void theMenusAndEscape() {
    std::filesystem::create_directory(f->dir / "sub");
    WriteFile(f->dir / "sub" / "raw.dat", Bytes(64, 0));
    f->Open();
    const std::pair<const char*, QKeySequence> entries[] = {
        {"OpenFolder", QKeySequence("Ctrl+O")},
        {"Quit", QKeySequence("Ctrl+Q")},
        {"Usage", QKeySequence("F1")},
        {"About", QKeySequence()}};
    for (const auto& [name, keys] : entries) QCOMPARE(Action(name)->shortcut(), keys);

    f->window->SetFolderChooser([&](QWidget*, const QString&) { return f->PathText("sub"); });
    Action("OpenFolder")->trigger();
    QCOMPARE(f->Items("FListBoxFETCH"), QStringList{"raw.dat"});
    Action("Usage")->trigger();
    auto* usage = f->window->findChild<QTextBrowser*>("Usage");
    QVERIFY(usage->isVisible() && usage->toPlainText().contains("Successful Conversion"));
    Action("About")->trigger();
    QVERIFY(f->Transcript().last().startsWith("About Convora: Convora v"));
    QVERIFY(f->Transcript().last().contains("Qt 6 (LGPL-3.0)"));

    // Escape closes either settings window without converting.
    f->Select({"raw.dat"});
    f->Click("Command4");
    f->Click("Command5");
    for (QWidget* settings : {static_cast<QWidget*>(f->window->BinarySet()),
                              static_cast<QWidget*>(f->window->AsciiSet())}) {
      QVERIFY(settings->isVisible());
      QTest::keyClick(settings, Qt::Key_Escape);
      QVERIFY(!settings->isVisible());
    }
    f->WaitIdle();
    QVERIFY(f->Items("List1").isEmpty());
  }

  void theWindowFitsTheScreenWithEveryButtonShown() {
    f->Open();
    QVERIFY(QTest::qWaitForWindowExposed(f->window.get()));
    const QRect available = f->window->screen()->availableGeometry();
    QVERIFY(available.contains(f->window->frameGeometry()));
    const QRect inside = f->window->rect();
    for (QPushButton* button : f->window->findChildren<QPushButton*>()) {
      if (button->window() != f->window.get()) continue;  // the settings windows
      QVERIFY2(button->isVisible(), qPrintable(button->text()));
      const QRect at(button->mapTo(f->window.get(), QPoint(0, 0)), button->size());
      QVERIFY2(inside.contains(at), qPrintable(button->text()));
      // Not scrolled out of sight either.
      for (QWidget* up = button->parentWidget(); up != nullptr; up = up->parentWidget()) {
        if (auto* scroll = qobject_cast<QScrollArea*>(up)) {
          const QRect shown(scroll->viewport()->mapTo(f->window.get(), QPoint(0, 0)),
                            scroll->viewport()->size());
          QVERIFY2(shown.contains(at), qPrintable(button->text()));
        }
      }
    }
    // The preview keeps the larger share of the lower part beside the log.
    QVERIFY(f->window->Preview()->width() > f->window->findChild<QWidget*>("Log")->width());
  }
};

}  // namespace convora::test

QTEST_MAIN(convora::test::WindowRunTest)
#include "WindowRunTest.moc"
