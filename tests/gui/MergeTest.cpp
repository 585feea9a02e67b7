// The merge list: files dropped from the file list, checked at the drop, and
// "Merge Files" writing into the folder the file list shows.

#include <QDropEvent>
#include <QMimeData>
#include <QtTest>

#include "GuiTestSupport.h"

namespace convora::test {

class MergeTest : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<WindowFixture> f;

  // Drags the file list's selection onto the merge list, as a mouse drag
  // delivers it. Returns whether the drop was accepted.
  bool DropSelection(QMimeData* data = nullptr) {
    auto* files = f->Find<QListWidget>("FListBoxFETCH");
    std::unique_ptr<QMimeData> dragged(
        data != nullptr ? data
                        : files->model()->mimeData(files->selectionModel()->selectedIndexes()));
    QWidget* target = f->Find<QListWidget>("List2")->viewport();
    const QPoint at = target->rect().center();
    QDragEnterEvent enter(at, Qt::CopyAction, dragged.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &enter);
    if (!enter.isAccepted()) return false;
    QDropEvent drop(at, Qt::CopyAction, dragged.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &drop);
    return drop.isAccepted();
  }

 private slots:
  void init() { f = std::make_unique<WindowFixture>(); }
  void cleanup() { f.reset(); }

  void aDropListsAbfFilesAndRefusesOthers() {
    WriteFile(f->dir / "a.abf", AbfBytes({1}));
    WriteFile(f->dir / "b.txt", Bytes{'A', 'B', 'F'});
    WriteFile(f->dir / "c.abf", AbfBytes({2}));
    f->Open();
    f->Select({"c.abf", "b.txt", "a.abf"});
    QVERIFY(DropSelection());
    // In list order, whatever the order of clicking.
    QCOMPARE(f->Items("List2"), (QStringList{f->PathText("a.abf"), f->PathText("c.abf")}));
    QCOMPARE(ToList(f->Transcript()),
             QStringList{"Not an ABF File: " + f->PathText("b.txt") +
                         " is NOT an Axon Binary File.  You can only merge ABF files."});

    // The same file dropped again is listed again.
    f->Select({"a.abf"});
    QVERIFY(DropSelection());
    QCOMPARE(f->Items("List2").size(), 3);
  }

  void dropsOfOtherDataAreNotTaken() {
    WriteFile(f->dir / "a.abf", AbfBytes({1}));
    f->Open();
    f->Select({"a.abf"});
    auto* text = new QMimeData;
    text->setText("a.abf");
    QVERIFY(!DropSelection(text));
    QVERIFY(f->Items("List2").isEmpty());
  }

  void mergingWritesIntoTheFolderShownAndEmptiesTheList() {
    std::filesystem::create_directory(f->dir / "out");
    // 300 + 256 samples: the second file is appended as one whole 512-byte
    // block, so the merged samples are simply the two runs one after the other.
    std::vector<std::int16_t> first = Ramp(300), second = Ramp(256, -1, -1);
    WriteFile(f->dir / "a.abf", AbfBytes(first));
    WriteFile(f->dir / "b.abf", AbfBytes(second));
    f->Open();
    f->Select({"a.abf", "b.abf"});
    QVERIFY(DropSelection());

    f->Click("Command2");  // "Warning!" answered Cancel: nothing happens
    QCOMPARE(f->Items("List2").size(), 2);
    QVERIFY(f->Items("List1").isEmpty());

    f->window->Browser()->OpenFolder(f->PathText("out"));
    f->prompter.AnswerOkCancel("proceed", true);
    f->prompter.AnswerInput("name", "joined");
    f->Click("Command2");
    const auto merged = f->dir / "out" / "joined.ABF";
    QCOMPARE(f->Items("List1"), QStringList{gui::PathText(merged)});
    QVERIFY(f->Items("List2").isEmpty());
    const Bytes bytes = ReadFile(merged);
    QCOMPARE(HeaderOf(bytes).Get(abf::lActualAcqLength), 556);
    first.insert(first.end(), second.begin(), second.end());
    QCOMPARE(SamplesOf(bytes, 556), first);
    QVERIFY(!f->prompter.Busy());
  }
};

}  // namespace convora::test

QTEST_MAIN(convora::test::MergeTest)
#include "MergeTest.moc"
