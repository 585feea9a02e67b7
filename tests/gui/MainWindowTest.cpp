// The main window: its controls, the known-formats list, the buttons run over
// the file list's selection with scripted answers, the preview of a clicked
// file, and the merge list (files dropped from the file list, checked at the
// drop, edited there, merged into the folder shown).

#include <QAction>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMimeData>
#include <QPushButton>
#include <QtTest>

#include "GuiTestSupport.h"
#include "app/KnownFormats.h"
#include "app/Version.h"

namespace convora::test {

class MainWindowTest : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<WindowFixture> f;

  void ClickItem(const char* list, int row) {
    auto* widget = f->Find<QListWidget>(list);
    QTest::mouseClick(widget->viewport(), Qt::LeftButton, {},
                      widget->visualItemRect(widget->item(row)).center());
  }

  void ClickFile(const QString& name) {
    ClickItem("FListBoxFETCH", f->Items("FListBoxFETCH").indexOf(name));
  }

 private slots:
  void init() { f = std::make_unique<WindowFixture>(); }
  void cleanup() { f.reset(); }

  void controlsFormatsTheInstructionAndTheOptions() {
    f->Open();
    const std::pair<const char*, const char*> controls[] = {
        {"Command1", "Convert Known File to ABF"},
        {"Command2", "Merge Files"},
        {"Command3", "Convert PTI ASCII to ABF"},
        {"Command4", "Convert Unknown Binary to ABF"},
        {"Command5", "Convert Any ASCII to ABF"},
        {"Command6", "Convert AIW ASCII to ABF"},
        {"Command7", "Convert Dataq ASCII to ABF"},
        {"Command8", "Change Unit of ABF File"},
        {"Command9", "Gaussian Filter"},
        {"Command10", "Down-scale ABF File"},
        {"Command11", "Change Sample Interval"},
        {"Command12", "Refresh Directory"},
        {"Label1", "Highlight a file or multiple files, then press a Convert button."},
        {"Label2", "Successful Conversion"},
        {"Label3",
         "This program converts the following \"known\" data file formats. (Click on a file "
         "format to see instructions."},
        {"Label4", "Drag and drop files from the left list in the order and  press Merge button."}};
    for (const auto& [name, text] : controls) {
      QWidget* control = f->Find(name);
      const auto* button = qobject_cast<QPushButton*>(control);
      QCOMPARE(button != nullptr ? button->text() : qobject_cast<QLabel*>(control)->text(),
               QString(text));
    }
    QCOMPARE(f->Find("DrListBoxFETCH")->toolTip(), QString("Change Drive"));
    QCOMPARE(f->Find("DirListBoxFETCH")->toolTip(), QString("Change folder"));
    QCOMPARE(f->Find("FListBoxFETCH")->toolTip(),
             QString("Click on a data file or event file to open and display"));
    QCOMPARE(
        f->window->windowTitle(),
        QString("Convora v%1.%2.%3").arg(kVersionMajor).arg(kVersionMinor).arg(kVersionRevision));

    const QStringList formats = f->Items("List3");
    QCOMPARE(formats.size(), 30);
    QCOMPARE(formats.first(), QString("Pulse IGB (Mac) ITX (PC) file"));
    QCOMPARE(formats.at(22), QString("General 16 bit Integer Binary File"));
    QCOMPARE(formats.last(), QString("Contact Quenvale to add your own data format."));
    // Only the first entry has an instruction to show.
    ClickItem("List3", 3);
    ClickItem("List3", 1);
    ClickItem("List3", 0);
    QCOMPARE(f->Transcript(), QStringList{"Instruction: " + gui::ToQString(kPulseInstruction)});

    // The option boxes set the bench's options.
    const std::pair<const char*, bool Workbench::*> boxes[] = {
        {"EachFromTemplate", &Workbench::EachFromTemplate},
        {"SkipRejected", &Workbench::SkipRejected}};
    for (const auto& [name, setting] : boxes) {
      auto* box = f->Find<QCheckBox>(name);
      QVERIFY(!box->isChecked() && !(f->window->Bench().*setting));
      box->click();
      f->WaitIdle();
      QVERIFY(f->window->Bench().*setting);
    }
  }

  // A file that fails is reported, in the log as well, and the run goes on to
  // the next. The filter instead ends its run at a frequency it cannot use.
  void toolsRunPerFileAndTheFilterStopsAtAFrequencyItCannotUse() {
    WriteFile(f->dir / "a.abf", AbfBytes({1, 2, 3, 4}, 2));
    WriteFile(f->dir / "c.abf", AbfBytes({1, 2, 3, 4}));
    WriteFile(f->dir / "d.abf", AbfBytes({1, 2, 3, 4}));
    f->Open();
    f->prompter.AnswerInput("channel", "17");  // there are 16 at most
    f->Select({"a.abf", "c.abf"});
    f->Click("Command8");
    QCOMPARE(f->Items("List1"), QStringList{f->PathText("c.abf")});
    ClickItem("List1", 0);  // a written file is previewed from the list
    QCOMPARE(f->window->Preview()->Message(), QString("c.abf"));
    const QStringList error = f->Transcript().filter("error: " + f->PathText("a.abf") + ": ");
    QCOMPARE(error.size(), 1);
    QCOMPARE(f->Items("Log"), error);

    f->prompter.AnswerInput("new", "0");
    f->Select({"c.abf", "d.abf"});
    f->Click("Command9");
    QCOMPARE(f->Transcript().filter("New Filter Frequency").size(), 1);
  }

  // Each ASCII button runs its own converter: another one would refuse the
  // file. The PTI button asks which traces to convert.
  void asciiButtonsConvertTheSelection() {
    WriteFile(f->dir / "fura.txt", TextBytes("Time\tRatio 340/380\tTime\tD1 340 nm\n"
                                             "0.5\t1\t0.5\t2\n1.0\t0.5\t1.0\t1\n"));
    WriteFile(f->dir / "cell.atf",
              TextBytes("ATF 1.0\n0 3\n\"Time (s)\"\t\"Ia (pA)\"\t\"Vm (mV)\"\n"
                        "0\t1\t-60\n0.0001\t2\t-59\n"));
    WriteFile(f->dir / "run.csv",
              TextBytes("\"Sample rate: 200 Hz\"\nCH1 (V),CH2 (mV),CH3 (mV)\n1,2,3\n4,5,6\n"));
    f->prompter.AnswerInput("traces", "ratio");
    f->Open();
    const std::pair<const char*, const char*> runs[] = {
        {"Command3", "fura.txt"}, {"Command6", "cell.atf"}, {"Command7", "run.csv"}};
    for (const auto& [button, name] : runs) {
      f->Select({name});
      f->Click(button);
    }
    QCOMPARE(f->Items("List1"), (QStringList{f->PathText("fura.ABF"), f->PathText("cell.ABF"),
                                             f->PathText("run.ABF")}));
    QCOMPARE(HeaderOf(ReadFile(f->dir / "fura.ABF")).Get(abf::nADCNumChannels), 1);  // ratio only
  }

  void anyAsciiOpensItsSettingsAndConvertsWithThem() {
    WriteFile(f->dir / "table.txt", TextBytes("1\t5\n2\t-5\n"));
    f->Open();
    f->Select({"table.txt"});
    f->Click("Command5");
    gui::AsciiSetWindow* settings = f->window->AsciiSet();
    QVERIFY(settings->isVisible());
    auto* columns = settings->findChild<QLineEdit*>("columns");
    QCOMPARE(columns->text(), QString("1"));
    columns->setText("1-2");
    settings->findChild<QLineEdit*>("unit")->setText("mV");
    QTest::mouseClick(settings->findChild<QPushButton*>("Convert"), Qt::LeftButton);
    f->WaitIdle();
    QCOMPARE(f->Items("List1"), QStringList{f->PathText("table.ABF")});
    const AbfHeader written = HeaderOf(ReadFile(f->dir / "table.ABF"));
    QCOMPARE(written.Get(abf::nADCNumChannels), std::int16_t{2});
    QCOMPARE(QString::fromStdString(written.Get(abf::sADCUnits, 1)), QString("mV      "));
    QVERIFY(!settings->isVisible());
    f->Click("Command5");  // what was typed is kept for the next files
    QCOMPARE(columns->text(), QString("1-2"));
  }

  void theBrowserOpensFoldersRefreshesAndPreviewsAClickedFile() {
    std::filesystem::create_directory(f->dir / "sub");
    WriteFile(f->dir / "sub" / "inner.abf", AbfBytes({1}));
    WriteFile(f->dir / "outer.dat", Bytes{1, 2});
    f->Open();
    auto* folders = f->Find<QListWidget>("DirListBoxFETCH");
    const auto found = folders->findItems("sub", Qt::MatchEndsWith);
    QCOMPARE(found.size(), 1);
    folders->setCurrentItem(found.front());
    QCOMPARE(f->Items("FListBoxFETCH"), QStringList{"outer.dat"});  // highlighted, not open
    QFocusEvent leave(QEvent::FocusOut);
    QApplication::sendEvent(folders, &leave);
    QCOMPARE(f->window->Browser()->Folder(), f->PathText("sub"));

    WriteFile(f->dir / "sub" / "late.dat", Bytes{1});
    QCOMPARE(f->Items("FListBoxFETCH"), QStringList{"inner.abf"});
    f->Click("Command12");
    QCOMPARE(f->Items("FListBoxFETCH"), (QStringList{"inner.abf", "late.dat"}));

    // A file of the folder now shown is previewed when clicked, and selected
    // for the buttons to work on.
    const gui::PreviewWidget* preview = f->window->Preview();
    ClickFile("inner.abf");
    QCOMPARE(preview->Message(), QString("inner.abf"));
    ClickFile("late.dat");
    QVERIFY(preview->Envelope().channels.empty());
    QVERIFY(preview->Message().contains("not an ABF file"));
    QCOMPARE(f->window->Browser()->SelectedPaths(),
             std::vector<std::filesystem::path>{f->dir / "sub" / "late.dat"});

    // A double click opens a folder at once: here the parent, one row up.
    const int parentRow = folders->row(folders->findItems("sub", Qt::MatchEndsWith).front()) - 1;
    const QPoint parent = folders->visualItemRect(folders->item(parentRow)).center();
    QTest::mouseClick(folders->viewport(), Qt::LeftButton, {}, parent);
    QTest::mouseDClick(folders->viewport(), Qt::LeftButton, {}, parent);
    QTRY_COMPARE(f->Items("FListBoxFETCH"), QStringList{"outer.dat"});
  }

  // A drop lists the ABF files of the selection and refuses the others; the
  // entries go by Delete or the context menu and move by dragging; the merge
  // takes the list as it stands and writes into the folder shown.
  void theMergeListTakesDropsIsEditedAndMergedIntoTheFolderShown() {
    std::filesystem::create_directory(f->dir / "out");
    WriteFile(f->dir / "a.abf", AbfBytes(Ramp(256, 256)));
    WriteFile(f->dir / "b.abf", AbfBytes(Ramp(256)));
    WriteFile(f->dir / "c.abf", AbfBytes({5}));
    WriteFile(f->dir / "n.txt", Bytes{'A', 'B', 'F'});
    f->Open();
    auto* merge = f->Find<gui::MergeList>("List2");
    f->Select({"c.abf", "n.txt", "b.abf", "a.abf"});
    QVERIFY(f->DropSelection());
    // In list order, whatever the order of clicking.
    QCOMPARE(f->Items("List2"),
             (QStringList{f->PathText("a.abf"), f->PathText("b.abf"), f->PathText("c.abf")}));
    QCOMPARE(f->Transcript(),
             QStringList{"Not an ABF File: " + f->PathText("n.txt") +
                         " is NOT an Axon Binary File.  You can only merge ABF files."});
    merge->item(1)->setSelected(true);
    QTest::keyClick(merge, Qt::Key_Delete);
    QCOMPARE(f->Items("List2"), (QStringList{f->PathText("a.abf"), f->PathText("c.abf")}));
    merge->item(1)->setSelected(true);
    merge->findChild<QAction*>("Remove")->trigger();
    f->Click("Command2");  // one file is no merge: a notice in the log, the list kept
    QCOMPARE(f->Items("Log").filter("the merge list holds one file").size(), 1);
    QCOMPARE(f->Items("List2"), QStringList{f->PathText("a.abf")});

    // The same file dropped again is listed again; dragged text is not taken.
    f->Select({"a.abf"});
    QVERIFY(f->DropSelection());
    auto* text = new QMimeData;
    text->setText("a.abf");
    QVERIFY(!f->DropSelection(text));
    QCOMPARE(f->Items("List2").size(), 2);
    merge->findChild<QAction*>("Clear")->trigger();
    QVERIFY(f->Items("List2").isEmpty());

    f->Select({"a.abf", "b.abf"});
    QVERIFY(f->DropSelection());
    // Dragging an entry within the list moves it, as the model moves rows.
    QCOMPARE(merge->dragDropMode(), QAbstractItemView::DragDrop);
    QVERIFY(merge->model()->moveRow({}, 1, {}, 0));
    // "Warning!" answered Cancel: nothing is written and the list stays, as the
    // merge below shows.
    f->Click("Command2");

    f->window->Browser()->OpenFolder(f->PathText("out"));
    f->prompter.AnswerOkCancel("proceed", true);
    f->prompter.AnswerInput("name", "ba");
    f->Click("Command2");
    const auto merged = f->dir / "out" / "ba.ABF";
    QCOMPARE(f->Items("List1"), QStringList{gui::PathText(merged)});
    QVERIFY(f->Items("List2").isEmpty());
    QCOMPARE(SamplesOf(ReadFile(merged), 512), Ramp(512));  // b, then a
    QVERIFY(!f->prompter.Busy());
  }
};

}  // namespace convora::test

QTEST_MAIN(convora::test::MainWindowTest)
#include "MainWindowTest.moc"
