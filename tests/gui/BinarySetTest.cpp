// The binary settings window, opened by either of the main window's buttons:
// its fields and their first values, the float check box, and the two
// conversions it starts for the file it describes.

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

#include "GuiTestSupport.h"

namespace convora::test {

class BinarySetTest : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<WindowFixture> f;

  QWidget* Settings() const { return f->window->BinarySet(); }

  // Opens the settings window from the main window for `names`.
  void OpenSettingsFor(const QStringList& names) {
    f->Select(names);
    f->Click("Command4");
  }

  QString Text(const char* name) {
    if (auto* edit = Settings()->findChild<QLineEdit*>(name)) return edit->text();
    return f->Find<QComboBox>(name, Settings())->currentText();
  }

  void Type(const char* name, const QString& text) {
    auto* edit = f->Find<QLineEdit>(name, Settings());
    edit->clear();
    QTest::keyClicks(edit, text);
  }

  // A file of `bytes` bytes: 0, 1, 2, ... modulo 256.
  void WriteCountingFile(const std::string& name, int bytes) {
    Bytes data;
    for (int i = 0; i < bytes; ++i) data.push_back(static_cast<std::uint8_t>(i));
    WriteFile(f->dir / name, data);
  }

 private slots:
  void init() { f = std::make_unique<WindowFixture>(); }
  void cleanup() { f.reset(); }

  void opensWithItsFirstValues() {
    WriteCountingFile("raw.dat", 1000);
    WriteCountingFile("a.dat", 4);
    f->Open();
    QVERIFY(!Settings()->isVisible());
    // Of several files selected, it ends up describing the last in list order.
    OpenSettingsFor({"raw.dat", "a.dat"});
    QVERIFY(Settings()->isVisible());
    QVERIFY(!Settings()->isModal());
    QCOMPARE(Settings()->windowTitle(), QString("Binary File Conversion Setup"));
    QCOMPARE(f->Find<QLabel>("Label2", Settings())->text(), QString("raw.dat"));
    QCOMPARE(f->Find<QLabel>("Label4", Settings())->text(), QString("1000"));
    const std::pair<const char*, const char*> firstValues[] = {
        {"ByteLoc", "0"}, {"SampleInt", "200"},     {"ADCRange", "10"}, {"ADCREsolution", "32768"},
        {"Unit", "pA"},   {"ScaleFactor", "0.001"}, {"Combo1", "1"}};
    for (const auto& [name, value] : firstValues) QCOMPARE(Text(name), QString(value));
    const std::pair<const char*, const char*> buttons[] = {
        {"Check1", "Needs byte swapping for Mac files and Labview files."},
        {"Check2", "Floating-point (32 bit) data array"},
        {"Command1", "Convert to ABF"},
        {"Command2", "Reserved for Vanta"},
        {"Command3", "Convert to Wav"}};
    for (const auto& [name, text] : buttons) {
      auto* button = f->Find<QAbstractButton>(name, Settings());
      QCOMPARE(button->text(), QString(text));
      QCOMPARE(button->isEnabled(), QString(name) != "Command2");
    }
  }

  void floatDataGreysOutTheIntegerOnlyFields() {
    WriteCountingFile("raw.dat", 8);
    f->Open();
    OpenSettingsFor({"raw.dat"});
    // Whether each field, and the label of each greyed one, is greyed out by the box.
    const std::pair<const char*, bool> fields[] = {
        {"Combo1", true},        {"Combo1Label", true},      {"ADCRange", true},
        {"ADCRangeLabel", true}, {"ADCREsolution", true},    {"ADCREsolutionLabel", true},
        {"ScaleFactor", true},   {"ScaleFactorLabel", true}, {"Unit", false},
        {"ByteLoc", false},      {"SampleInt", false},       {"Check1", false}};
    auto* check2 = f->Find<QCheckBox>("Check2", Settings());
    for (const bool checked : {true, false}) {
      QTest::mouseClick(check2, Qt::LeftButton, {}, QPoint(4, check2->height() / 2));
      QCOMPARE(check2->isChecked(), checked);
      for (const auto& [name, greyed] : fields) {
        QCOMPARE(f->Find(name, Settings())->isEnabled(), !(checked && greyed));
      }
    }
  }

  // The window converts the file it describes with the fields as typed and
  // then closes; a conversion that fails is reported and leaves it open.
  // Opened again for another file, it keeps what was typed.
  void convertsTheDescribedFileWithTheFieldsTyped() {
    WriteCountingFile("raw.dat", 1000);
    WriteCountingFile("next.dat", 48);
    f->Open();
    // Convert Known File hands a file of no known format to this window on Yes.
    f->prompter.AnswerYesNo("unknown", true);
    f->Select({"raw.dat"});
    f->Click("Command1");
    Type("SampleInt", "50");
    Type("ByteLoc", "1001");  // past the end
    f->Click("Command1", Settings());
    QCOMPARE(f->Transcript().filter("error: " + f->PathText("raw.dat") + ": ").size(), 1);
    QVERIFY(Settings()->isVisible());

    Type("ByteLoc", "2");
    f->Click("Command1", Settings());
    QCOMPARE(f->Items("List1"), QStringList{f->PathText("raw.ABF")});
    QVERIFY(!Settings()->isVisible());
    const Bytes written = ReadFile(f->dir / "raw.ABF");
    QCOMPARE(HeaderOf(written).Get(abf::fADCSampleInterval), 50.0f);
    // From byte 2 on, unswapped: bytes 2, 3 form the first sample, 0x0302.
    QCOMPARE(SamplesOf(written, 2), (std::vector<std::int16_t>{0x0302, 0x0504}));

    OpenSettingsFor({"next.dat"});
    f->Click("Command3", Settings());
    QCOMPARE(f->Items("List1").value(1), f->PathText("next.wav"));
    QVERIFY(!Settings()->isVisible());
    // A 44-byte header, then the block from the kept byte 2 on, at the kept 50 us.
    const Bytes wav = ReadFile(f->dir / "next.wav");
    QCOMPARE(wav[44], std::uint8_t{2});
    QCOMPARE(LoadLittleEndian<std::int32_t>(&wav[24]), 20000);  // 1 / 50 us
  }
};

}  // namespace convora::test

QTEST_MAIN(convora::test::BinarySetTest)
#include "BinarySetTest.moc"
