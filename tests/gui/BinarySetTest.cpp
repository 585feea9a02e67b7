// The binary settings window: its fields and their first values, the float
// check box, and the two conversions it starts for the file it describes.

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

  // Opens the settings window from the main window for `names`.
  void OpenSettingsFor(const QStringList& names) {
    f->Select(names);
    f->Click("Command4");
  }

  QString Text(const char* name) {
    if (auto* edit = f->window->BinarySet()->findChild<QLineEdit*>(name)) return edit->text();
    return f->FindInSettings<QComboBox>(name)->currentText();
  }

  void Type(const char* name, const QString& text) {
    auto* edit = f->FindInSettings<QLineEdit>(name);
    edit->clear();
    QTest::keyClicks(edit, text);
  }

  static QStringList Choices(QComboBox* box) {
    QStringList items;
    for (int i = 0; i < box->count(); ++i) items << box->itemText(i);
    return items;
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
    f->Open();
    QVERIFY(!f->window->BinarySet()->isVisible());
    OpenSettingsFor({"raw.dat"});
    gui::BinarySetWindow* settings = f->window->BinarySet();
    QVERIFY(settings->isVisible());
    QVERIFY(!settings->isModal());
    QCOMPARE(settings->windowTitle(), QString("Binary File Conversion Setup"));
    QCOMPARE(f->FindInSettings<QLabel>("Label2")->text(), QString("raw.dat"));
    QCOMPARE(f->FindInSettings<QLabel>("Label4")->text(), QString("1000"));
    const std::pair<const char*, const char*> firstValues[] = {
        {"ByteLoc", "0"},   {"SampleInt", "200"},  {"ADCRange", "10"}, {"ADCREsolution", "32768"},
        {"Unit", "pA"},     {"ScaleFactor", "0.001"}, {"Combo1", "1"}};
    for (const auto& [name, value] : firstValues) QCOMPARE(Text(name), QString(value));
    QCOMPARE(Choices(f->FindInSettings<QComboBox>("ADCRange")),
             (QStringList{"1", "5", "10", "20"}));
    QCOMPARE(Choices(f->FindInSettings<QComboBox>("ADCREsolution")),
             (QStringList{"2048", "32768"}));
    QCOMPARE(Choices(f->FindInSettings<QComboBox>("Combo1")), (QStringList{"1", "2", "3", "4"}));
    const std::pair<const char*, const char*> buttons[] = {
        {"Check1", "Needs byte swapping for Mac files and Labview files."},
        {"Check2", "Floating-point (32 bit) data array"},
        {"Command1", "Convert to ABF"},
        {"Command2", "Reserved for Vanta"},
        {"Command3", "Convert to Wav"}};
    for (const auto& [name, text] : buttons) {
      auto* button = f->FindInSettings<QAbstractButton>(name);
      QCOMPARE(button->text(), QString(text));
      QVERIFY(!button->isChecked());
      QCOMPARE(button->isEnabled(), QString(name) != "Command2");
    }
    QStringList captions;
    for (const QLabel* label : settings->findChildren<QLabel*>()) captions << label->text();
    for (const char* caption :
         {"File Name:", "File Size (in bytes):", "Byte location of data block",
          "Sampling Interval (in micro second)", "ADC Voltage Range (Volts)",
          "ADC Resolution (12 bit=2048)", "Unit (pA or mV)", "Scaling Factor (Volts/Unit)",
          "Number of ADC channels"}) {
      QVERIFY2(captions.contains(caption), caption);
    }
  }

  void floatDataGreysOutTheIntegerOnlyFields() {
    WriteCountingFile("raw.dat", 8);
    f->Open();
    OpenSettingsFor({"raw.dat"});
    const QStringList greyed{"Combo1", "ADCRange", "ADCREsolution", "ScaleFactor"};
    const QStringList kept{"Unit", "ByteLoc", "SampleInt", "Check1"};
    auto* check2 = f->FindInSettings<QCheckBox>("Check2");
    for (const bool checked : {true, false}) {
      QTest::mouseClick(check2, Qt::LeftButton, {}, QPoint(4, check2->height() / 2));
      QCOMPARE(check2->isChecked(), checked);
      for (const QString& name : greyed) {
        const auto n = name.toLatin1();
        QCOMPARE(f->FindInSettings(n.constData())->isEnabled(), !checked);
        QCOMPARE(f->FindInSettings((n + "Label").constData())->isEnabled(), !checked);
      }
      for (const QString& name : kept) {
        QVERIFY(f->FindInSettings(name.toLatin1().constData())->isEnabled());
      }
    }
  }

  void convertsTheDescribedFileAndKeepsItsFields() {
    WriteCountingFile("raw.dat", 1000);
    WriteCountingFile("next.dat", 6);
    f->Open();
    OpenSettingsFor({"raw.dat"});
    Type("SampleInt", "50");
    Type("ByteLoc", "2");
    f->ClickInSettings("Command1");

    QCOMPARE(f->Items("List1"), QStringList{f->PathText("raw.ABF")});
    QVERIFY(!f->window->BinarySet()->isVisible());
    const Bytes written = ReadFile(f->dir / "raw.ABF");
    const AbfHeader h = HeaderOf(written);
    QCOMPARE(h.Get(abf::lActualAcqLength), 499);  // (1000 - 2) / 2
    QCOMPARE(h.Get(abf::fADCSampleInterval), 50.0f);
    // From byte 2 on: bytes 2, 3 form the first sample, 0x0302.
    const auto samples = SamplesOf(written, 2);
    QCOMPARE(samples, (std::vector<std::int16_t>{0x0302, 0x0504}));

    // Reopened for another file, the window shows what was typed before.
    OpenSettingsFor({"next.dat"});
    QCOMPARE(f->FindInSettings<QLabel>("Label2")->text(), QString("next.dat"));
    QCOMPARE(f->FindInSettings<QLabel>("Label4")->text(), QString("6"));
    QCOMPARE(Text("SampleInt"), QString("50"));
    QCOMPARE(Text("ByteLoc"), QString("2"));
  }

  void severalSelectedFilesLeaveTheLastDescribed() {
    WriteCountingFile("a.dat", 4);
    WriteCountingFile("b.dat", 6);
    f->Open();
    OpenSettingsFor({"b.dat", "a.dat"});
    QCOMPARE(f->FindInSettings<QLabel>("Label2")->text(), QString("b.dat"));
    f->ClickInSettings("Command1");
    QCOMPARE(f->Items("List1"), QStringList{f->PathText("b.ABF")});
  }

  void exportsTheBlockAsWav() {
    WriteCountingFile("tone.dat", 1044);
    f->Open();
    OpenSettingsFor({"tone.dat"});
    Type("ByteLoc", "44");
    f->ClickInSettings("Command3");
    QCOMPARE(f->Items("List1"), QStringList{f->PathText("tone.wav")});
    QVERIFY(!f->window->BinarySet()->isVisible());
    // The typed location decides the block: a 44-byte header and the 1000 bytes after it.
    const Bytes wav = ReadFile(f->dir / "tone.wav");
    QCOMPARE(wav.size(), std::size_t{44 + 1000});
    QCOMPARE(wav[44], std::uint8_t{44});
    QCOMPARE(LoadLittleEndian<std::int32_t>(&wav[24]), 5000);  // 1 / 200 us
  }

  void aConversionThatFailsIsReportedAndTheWindowStays() {
    WriteCountingFile("raw.dat", 10);
    f->Open();
    OpenSettingsFor({"raw.dat"});
    Type("ByteLoc", "11");
    f->ClickInSettings("Command1");
    QVERIFY(f->Items("List1").isEmpty());
    QVERIFY(!std::filesystem::exists(f->dir / "raw.ABF"));
    QCOMPARE(ToList(f->Transcript()).filter("error: " + f->PathText("raw.dat") + ": ").size(), 1);
    QVERIFY(f->window->BinarySet()->isVisible());
  }
};

}  // namespace convora::test

QTEST_MAIN(convora::test::BinarySetTest)
#include "BinarySetTest.moc"
