// The preview of a long recording: spread windows at once, then every sample.

#include <algorithm>

#include <QTest>

#include "GuiTestSupport.h"
#include "PreviewWidget.h"

namespace convora::test {

class PreviewWidgetTest : public QObject {
  Q_OBJECT

 private slots:
  void aSampledPreviewIsReplacedByTheExactOneFromEverySample() {
    // 20000 samples of 0 with one spike of 999 that the spread windows
    // (64 bytes in all here) cannot all see.
    std::vector<std::int16_t> samples(20000, 0);
    samples[12345] = 999;
    TempDir dir;
    WriteFile(dir / "long.abf", AbfBytes(samples));
    gui::PreviewWidget preview;
    preview.SetFullReadBytes(64);
    preview.resize(400, 200);
    preview.show();
    preview.ShowFile(dir / "long.abf");
    QVERIFY(preview.Envelope().sampled);
    QVERIFY(preview.Message().contains("evenly spread"));

    QTRY_VERIFY_WITH_TIMEOUT(!preview.Envelope().sampled, 10000);
    const auto& high = preview.Envelope().channels.at(0).maximum;
    QCOMPARE(*std::max_element(high.begin(), high.end()), 999.0);
    QCOMPARE(preview.Message(), QString("long.abf"));
  }
};

}  // namespace convora::test

QTEST_MAIN(convora::test::PreviewWidgetTest)
#include "PreviewWidgetTest.moc"
