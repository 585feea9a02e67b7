// The preview: overlaid sweeps, zoom by wheel, drag and double-click, the
// read-out, and a 1 GiB file drawn first from spread windows, then from every
// sample, in bounded memory.

#include <QSpinBox>
#include <QTest>
#include <QWheelEvent>
#include <fstream>
#include <string>

#include "GuiTestSupport.h"
#include "PreviewWidget.h"

namespace convora::test {
namespace {

// A line of /proc/self/status in KiB ("VmRSS", "VmHWM").
long StatusKib(const std::string& field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(field + ":", 0) == 0) return std::stol(line.substr(field.size() + 1));
  }
  return -1;
}

// Sets the peak resident size back to the present one, where Linux allows it.
bool ResetPeak() {
  std::ofstream("/proc/self/clear_refs") << "5";
  return StatusKib("VmHWM") <= StatusKib("VmRSS") + 256;
}

// A preview of one channel of counts read as pA, 100 us apart; episodic when
// sweepScans > 0.
struct Shown {
  TempDir dir;
  gui::PreviewWidget preview;
  gui::PreviewStrips* strips = preview.findChild<gui::PreviewStrips*>();

  explicit Shown(const std::vector<std::int16_t>& samples, std::int32_t sweepScans = 0) {
    const auto count = static_cast<std::int32_t>(samples.size());
    AbfHeader h = sweepScans > 0 ? EpisodicAbfHeader(1, sweepScans, count / sweepScans)
                                 : PlainAbfHeader(1);
    h.Set(abf::lActualAcqLength, count);
    WriteFile(dir / "rec.abf", AbfBytes(h, samples));
    preview.resize(600, 300);
    preview.show();
    QVERIFY(QTest::qWaitForWindowExposed(&preview));
    preview.ShowFile(dir / "rec.abf");
  }
  QPoint Middle(int x) const { return {x, strips->height() / 2}; }
  void Wheel(int x, int notches) const {
    QWheelEvent wheel(Middle(x), strips->mapToGlobal(Middle(x)), {}, {0, 120 * notches},
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(strips, &wheel);
  }
  // Sent straight to the strips: QTest's mouse state from an earlier double
  // click would swallow a first plain move.
  QString Hover(int x) const {
    QMouseEvent move(QEvent::MouseMove, Middle(x), strips->mapToGlobal(Middle(x)), Qt::NoButton,
                     Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(strips, &move);
    return preview.ReadOut();
  }
};

}  // namespace

class PreviewWidgetTest : public QObject {
  Q_OBJECT

 private slots:
  void sweepsAreOverlaidOrShownOneAtATime() {
    Shown shown(Ramp(3000), 1000);  // 3 sweeps of 1000
    auto* choice = shown.preview.findChild<QSpinBox*>("SweepChoice");
    QVERIFY(choice->isVisible());
    QCOMPARE(shown.preview.Envelope().sweeps.size(), std::size_t{3});

    choice->setValue(2);
    QCOMPARE(shown.preview.Envelope().sweeps, std::vector<std::int32_t>{1});
    QVERIFY(shown.preview.Message().contains("sweep 2 of 3"));
    choice->setValue(0);  // all overlaid again, the one chosen emphasised
    QVERIFY(shown.preview.Message().contains("sweep 2 emphasised"));
    // Near the strip's top the highest sweep, 3, passes nearest.
    QTest::mouseClick(shown.strips, Qt::LeftButton, {}, {shown.strips->ColumnCentre(100), 8});
    QVERIFY2(shown.preview.Message().contains("sweep 3 emphasised"),
             qPrintable(shown.preview.Message()));
  }

  // The stretch shown is the envelope's: the wheel, a drag and a double-click
  // change what is read. The read-out gives a ramp's value under the mouse.
  void zoomByWheelAndDragDoubleClickShowsItAllAndTheReadOutFollows() {
    Shown shown(Ramp(20000, -100));
    const PreviewEnvelope& e = shown.preview.Envelope();
    // Whole: a column of several scans reads as its range.
    const auto lastOfFirst = QString::number(e.ColumnStart(1) - 1 - 100);
    QCOMPARE(shown.Hover(shown.strips->ColumnCentre(0)),
             "0 s   IN 0: -100.." + lastOfFirst + " pA");

    const int middle = shown.strips->ColumnCentre(e.columns / 2);
    shown.Wheel(middle, 2);  // 0.8 x 0.8 of the span, the middle staying put
    QCOMPARE(e.scanCount, 12800);
    QCOMPARE(e.firstScan, 3600);
    shown.Wheel(middle, -2);
    QCOMPARE(e.scanCount, 20000);

    // Dragging across the middle quarter of the plot.
    const int from = shown.strips->ColumnCentre(e.columns * 3 / 8);
    const int to = shown.strips->ColumnCentre(e.columns * 5 / 8);
    QTest::mousePress(shown.strips, Qt::LeftButton, {}, shown.Middle(from));
    QTest::mouseMove(shown.strips, shown.Middle(to));
    QTest::mouseRelease(shown.strips, Qt::LeftButton, {}, shown.Middle(to));
    QVERIFY2(std::abs(e.firstScan - 7500) < 100, qPrintable(QString::number(e.firstScan)));
    QVERIFY2(std::abs(e.scanCount - 5000) < 200, qPrintable(QString::number(e.scanCount)));

    QTest::mouseDClick(shown.strips, Qt::LeftButton, {}, shown.Middle(middle));
    QCOMPARE(e.firstScan, 0);
    QCOMPARE(e.scanCount, 20000);

    // Zoomed to 40 scans from 100: a column per scan, 10 ms + 0.1 ms x column.
    shown.preview.ShowSpan(100, 40);
    QCOMPARE(e.columns, std::size_t{40});
    QCOMPARE(shown.Hover(shown.strips->ColumnCentre(25)), QString("12.5 ms   IN 0: 25 pA"));
    QCOMPARE(shown.Hover(20), QString());  // left of the plot
  }

  // A sparse 1 GiB file of two channels is drawn from spread windows, then
  // read whole in the background; a short zoom is read whole at once. With
  // the default windows all of it must stay within 64 MiB of resident memory
  // above what the process held before.
  void aGibibyteFileIsPreviewedInBoundedMemory() {
    TempDir dir;
    const auto path = dir / "big.abf";
    constexpr std::int64_t kBytes = std::int64_t{1} << 30;
    AbfHeader h = PlainAbfHeader(2);
    h.Set(abf::lActualAcqLength, static_cast<std::int32_t>((kBytes - 6144) / 2));
    WriteFile(path, AbfBytes(h, {}));
    std::filesystem::resize_file(path, kBytes);

    gui::PreviewWidget preview;
    preview.resize(1600, 400);
    preview.show();
    QVERIFY(QTest::qWaitForWindowExposed(&preview));
    const bool measured = ResetPeak();
    const long before = StatusKib("VmRSS");
    preview.ShowFile(path);
    QVERIFY(preview.Envelope().sampled);
    QVERIFY(preview.Message().contains("evenly spread"));
    preview.ShowSpan(1000, 10);  // 1 ms: read whole at once
    QVERIFY(!preview.Envelope().sampled);
    QCOMPARE(preview.Envelope().scanCount, 10);
    preview.ShowSpan(0, preview.Envelope().scans);
    QVERIFY(preview.Envelope().sampled);
    QTRY_VERIFY_WITH_TIMEOUT(!preview.Envelope().sampled, 60000);
    QCOMPARE(preview.Message(), QString("big.abf"));
    if (!measured) QSKIP("the peak resident size cannot be reset here");
    const long grown = StatusKib("VmHWM") - before;
    qInfo("peak resident growth %ld KiB", grown);
    QVERIFY2(grown < 64 * 1024, qPrintable(QString::number(grown) + " KiB"));
  }
};

}  // namespace convora::test

QTEST_MAIN(convora::test::PreviewWidgetTest)
#include "PreviewWidgetTest.moc"
