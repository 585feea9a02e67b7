#pragma once
// Paints a preview envelope as one strip per channel, each on its own vertical
// scale, with the sweeps of an episodic file overlaid, and turns the mouse
// into zoom requests and a read-out of the time and value under it.

#include <QString>
#include <QWidget>
#include <cstdint>
#include <optional>

#include "tools/PreviewEnvelope.h"

namespace convora::gui {

class PreviewStrips : public QWidget {
  Q_OBJECT

 public:
  explicit PreviewStrips(QWidget* parent = nullptr);

  // Draws `envelope` (kept by reference until the next call), trace
  // `emphasised` of each channel in the strong pen.
  void Show(const PreviewEnvelope& envelope, std::size_t emphasised);
  int PlotWidth() const;
  // Where column `column` of the envelope shown is drawn.
  int ColumnCentre(std::size_t column) const;

 signals:
  // Scans [first, first + count) of the time axis, unclipped.
  void SpanRequested(std::int64_t first, std::int64_t count);
  void ResetRequested();
  // What lies under the mouse; empty when it is over no strip.
  void ReadOutChanged(const QString& text);
  void PlotWidthChanged();
  // A click picked the t-th sweep drawn: the one nearest to it.
  void SweepPicked(std::size_t t);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  bool HasColumns() const;
  int StripHeight() const;
  int StripTop(std::size_t channel) const;
  // The column painted at x, or none outside the plot.
  std::optional<std::size_t> ColumnAt(int x) const;
  // The channel whose strip holds y, or none between the strips.
  std::optional<std::size_t> StripAt(int y) const;
  // Among overlaid sweeps, the one passing nearest to `position`.
  std::optional<std::size_t> SweepAt(QPoint position) const;
  // The position of x on the time axis, in scans, clipped to the stretch.
  double ScanAt(int x) const;
  QString TimeText(double scan) const;
  QString ReadOutAt(QPoint position) const;
  void PaintStrip(QPainter& painter, std::size_t channel) const;
  void PaintTimeAxis(QPainter& painter) const;

  const PreviewEnvelope* envelope_ = nullptr;
  std::size_t emphasised_ = 0;
  std::optional<int> dragFrom_;  // x where a left-button drag began
  int dragTo_ = 0;
};

}  // namespace convora::gui
