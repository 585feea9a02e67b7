// The window's dialogs: titles, texts, defaults and answers as the core gave
// and expects them, and the busy pointer around them.

#include <atomic>
#include <functional>
#include <thread>

#include <QAbstractButton>
#include <QInputDialog>
#include <QMessageBox>
#include <QTimer>
#include <QtTest>

#include "QtPrompter.h"
#include "Text.h"

namespace convora::test {

class QtPrompterTest : public QObject {
  Q_OBJECT

 private:
  gui::QtPrompter prompter;
  QString title;
  QString text;
  bool arrow = false;  // over the last message box

  // Acts on the dialog that the next call opens, once it is shown.
  template <typename Dialog>
  void WhenShown(std::function<void(Dialog*)> act) {
    QTimer::singleShot(0, this, [this, act] {
      auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
      if (dialog == nullptr) {
        QApplication::activeModalWidget()->close();
        return;
      }
      title = dialog->windowTitle();
      act(dialog);
    });
  }

  void Press(QMessageBox::StandardButton which) {
    WhenShown<QMessageBox>([this, which](QMessageBox* box) {
      text = box->text();
      const QCursor* pointer = QApplication::overrideCursor();
      arrow = pointer != nullptr && pointer->shape() == Qt::ArrowCursor;
      box->button(which)->click();
    });
  }

 private slots:
  // All under the busy pointer, set twice and cleared once, which gives way
  // to the arrow while a box is up.
  void messagesAndQuestionsKeepTheirTextsAndAnswerWithTheButtonPressed() {
    prompter.SetBusy(true);
    prompter.SetBusy(true);
    QVERIFY(QApplication::overrideCursor() != nullptr);
    QCOMPARE(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    Press(QMessageBox::Ok);
    prompter.ShowMessage("Not ABF File", "This is not an Axon Binary File.  You need ABF file.");
    QCOMPARE(title, QString("Not ABF File"));
    QCOMPARE(text, QString("This is not an Axon Binary File.  You need ABF file."));
    QVERIFY(arrow);
    for (const bool yes : {true, false}) {
      Press(yes ? QMessageBox::Yes : QMessageBox::No);
      QCOMPARE(prompter.AskYesNo({"unknown", "Unknown Data File", "Proceed?"}), yes);
      QCOMPARE(title, QString("Unknown Data File"));
      Press(yes ? QMessageBox::Ok : QMessageBox::Cancel);
      QCOMPARE(prompter.AskOkCancel({"proceed", "Warning!", "Go on?"}), yes);
    }
    // A failed file is a box with the program's title that names the file.
    Press(QMessageBox::Ok);
    prompter.ReportError("/data/cell.dat", "too short");
    QCOMPARE(title, QString("Convora"));
    QCOMPARE(text, gui::PathText("/data/cell.dat") + ": too short");
    QVERIFY(arrow);
    QCOMPARE(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    prompter.SetBusy(false);
    QCOMPARE(QApplication::overrideCursor(), nullptr);
  }

  void inputBoxesOfferTheDefaultAndReturnTheAnswer() {
    QString shownDefault;
    WhenShown<QInputDialog>([&](QInputDialog* dialog) {
      text = dialog->labelText();
      shownDefault = dialog->textValue();
      dialog->setTextValue("joined");
      dialog->accept();
    });
    const auto answer = prompter.AskInput({"name", "Enter a name.", "Enter File Name", "ABFMerge"});
    QCOMPARE(title, QString("Enter File Name"));
    QCOMPARE(text, QString("Enter a name."));
    QCOMPARE(shownDefault, QString("ABFMerge"));
    QCOMPARE(answer, std::optional<std::string>("joined"));

    WhenShown<QInputDialog>([](QInputDialog* dialog) { dialog->reject(); });
    QCOMPARE(prompter.AskInput({"name", "Enter a name.", "Enter File Name", "ABFMerge"}),
             std::optional<std::string>());
  }

  // The window's operations ask from a worker thread: the box is shown by the
  // interface thread and the worker gets the answer.
  void aWorkerThreadsQuestionIsAnsweredThroughTheInterfaceThread() {
    QTimer answerer;
    connect(&answerer, &QTimer::timeout, [] {
      if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
        box->button(QMessageBox::Yes)->click();
      }
    });
    answerer.start(10);
    std::atomic<bool> done = false;
    bool yes = false;
    std::thread worker([&] {
      yes = prompter.AskYesNo({"unknown", "Unknown Data File", "Proceed?"});
      done = true;
    });
    const bool answered = QTest::qWaitFor([&] { return done.load(); }, 10000);
    worker.join();
    QVERIFY(answered && yes);
  }
};

}  // namespace convora::test

QTEST_MAIN(convora::test::QtPrompterTest)
#include "QtPrompterTest.moc"
