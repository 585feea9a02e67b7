#include "PreviewStrips.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPolygon>
#include <QResizeEvent>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

#include "Text.h"

namespace convora::gui {
namespace {

constexpr int kLeft = 96;  // room for the channel's name and scale
constexpr int kRight = 8;
constexpr int kBottom = 18;  // the time axis
constexpr int kGap = 6;
constexpr int kDragPixels = 4;      // a shorter drag is a click
constexpr double kWheelStep = 0.8;  // span kept per notch of the wheel

QString Number(double value) { return QString::number(value, 'g', 5); }

// The range of every sweep drawn of a channel; a flat trace sits mid-strip.
std::pair<double, double> ScaleOf(const PreviewChannel& channel) {
  const double low = *std::min_element(channel.minimum.begin(), channel.minimum.end());
  const double high = *std::max_element(channel.maximum.begin(), channel.maximum.end());
  if (high <= low) return {low - 1, high + 1};
  return {low, high};
}

}  // namespace

PreviewStrips::PreviewStrips(QWidget* parent) : QWidget(parent) {
  setObjectName("PreviewStrips");
  setMouseTracking(true);  // the read-out follows the mouse without a button held
  setToolTip(
      "Wheel: zoom in time about the mouse. Drag: zoom to the span dragged. Double-click: the "
      "whole recording or sweep. Click among overlaid sweeps: emphasise the nearest.");
}

void PreviewStrips::Show(const PreviewEnvelope& envelope, std::size_t emphasised) {
  envelope_ = &envelope;
  emphasised_ = emphasised;
  update();
}

int PreviewStrips::PlotWidth() const { return std::max(1, width() - kLeft - kRight); }

int PreviewStrips::ColumnCentre(std::size_t column) const {
  const auto plot = static_cast<std::size_t>(PlotWidth());
  return kLeft + static_cast<int>((2 * column + 1) * plot / (2 * envelope_->columns));
}

bool PreviewStrips::HasColumns() const {
  return envelope_ != nullptr && envelope_->columns > 0 && !envelope_->channels.empty();
}

int PreviewStrips::StripHeight() const {
  const int count = static_cast<int>(envelope_->channels.size());
  return std::max(8, (height() - kBottom) / count - kGap);
}

int PreviewStrips::StripTop(std::size_t channel) const {
  return kGap / 2 + static_cast<int>(channel) * (StripHeight() + kGap);
}

std::optional<std::size_t> PreviewStrips::ColumnAt(int x) const {
  const int dx = x - kLeft;
  const int plot = PlotWidth();
  if (!HasColumns() || dx < 0 || dx >= plot) return std::nullopt;
  // Column c owns the pixels from c x plot / columns on; its centre is among them.
  const std::size_t columns = envelope_->columns;
  auto column = static_cast<std::size_t>(dx) * columns / static_cast<std::size_t>(plot);
  while (column + 1 < columns && (column + 1) * plot / columns <= static_cast<std::size_t>(dx)) {
    ++column;
  }
  return column;
}

double PreviewStrips::ScanAt(int x) const {
  const double fraction = std::clamp(double(x - kLeft) / PlotWidth(), 0.0, 1.0);
  return static_cast<double>(envelope_->firstScan) +
         fraction * static_cast<double>(envelope_->scanCount);
}

QString PreviewStrips::TimeText(double scan) const {
  const double perScan = envelope_->secondsPerScan;
  if (perScan <= 0) return "scan " + QString::number(std::llround(scan));
  // Milliseconds while the stretch shown is shorter than a second.
  if (static_cast<double>(envelope_->scanCount) * perScan < 1) {
    return Number(scan * perScan * 1e3) + " ms";
  }
  return Number(scan * perScan) + " s";
}

std::optional<std::size_t> PreviewStrips::StripAt(int y) const {
  if (!HasColumns()) return std::nullopt;
  for (std::size_t k = 0; k < envelope_->channels.size(); ++k) {
    if (y >= StripTop(k) && y < StripTop(k) + StripHeight()) return k;
  }
  return std::nullopt;
}

std::optional<std::size_t> PreviewStrips::SweepAt(QPoint position) const {
  const std::optional<std::size_t> column = ColumnAt(position.x());
  const std::optional<std::size_t> k = StripAt(position.y());
  if (!column || !k || envelope_->sweeps.size() < 2) return std::nullopt;
  const auto [low, high] = ScaleOf(envelope_->channels[*k]);
  const double value =
      high - (position.y() - StripTop(*k)) * (high - low) / std::max(1, StripHeight() - 1);
  // How far the value lies outside a sweep's range in that column.
  const auto distance = [&](std::size_t t) {
    return std::max({0.0, envelope_->Minimum(*k, t)[*column] - value,
                     value - envelope_->Maximum(*k, t)[*column]});
  };
  std::size_t nearest = 0;
  for (std::size_t t = 1; t < envelope_->sweeps.size(); ++t) {
    if (distance(t) < distance(nearest)) nearest = t;
  }
  return nearest;
}

QString PreviewStrips::ReadOutAt(QPoint position) const {
  const std::optional<std::size_t> column = ColumnAt(position.x());
  const std::optional<std::size_t> k = StripAt(position.y());
  if (!column || !k) return {};
  const PreviewChannel& channel = envelope_->channels[*k];
  const double low = envelope_->Minimum(*k, emphasised_)[*column];
  const double high = envelope_->Maximum(*k, emphasised_)[*column];
  QString text = TimeText(static_cast<double>(envelope_->ColumnStart(*column))) + "   " +
                 ToQString(channel.name) + ": " + Number(low);
  if (high != low) text += ".." + Number(high);
  text += " " + ToQString(channel.unit);
  if (envelope_->Episodic()) {
    text += "   sweep " + QString::number(envelope_->sweeps[emphasised_] + 1);
  }
  return text;
}

void PreviewStrips::paintEvent(QPaintEvent*) {
  if (!HasColumns()) return;
  QPainter painter(this);
  for (std::size_t k = 0; k < envelope_->channels.size(); ++k) PaintStrip(painter, k);
  PaintTimeAxis(painter);
  if (dragFrom_) {
    const int left = std::min(*dragFrom_, dragTo_);
    const QRect band(left, 0, std::abs(dragTo_ - *dragFrom_), height() - kBottom);
    QColor fill = palette().color(QPalette::Highlight);
    fill.setAlpha(50);
    painter.fillRect(band, fill);
  }
}

void PreviewStrips::PaintStrip(QPainter& painter, std::size_t k) const {
  const PreviewChannel& channel = envelope_->channels[k];
  const int top = StripTop(k);
  const int height = StripHeight();
  const auto [low, high] = ScaleOf(channel);
  const QString unit = ToQString(channel.unit);
  painter.setPen(palette().color(QPalette::Text));
  painter.drawText(QRect(0, top, kLeft - 6, 16), Qt::AlignRight, Number(high) + " " + unit);
  painter.drawText(QRect(0, top + height - 16, kLeft - 6, 16), Qt::AlignRight,
                   Number(low) + " " + unit);
  const int plot = PlotWidth();
  painter.setPen(palette().color(QPalette::Mid));
  painter.drawRect(kLeft - 1, top - 1, plot + 1, height + 1);

  // Each column is a vertical stroke from its largest to its smallest value,
  // joined to the next, so that a column of one sample becomes a point on a line.
  const std::size_t columns = envelope_->columns;
  const auto y = [&](double value) {
    return top + static_cast<int>((high - value) / (high - low) * (height - 1));
  };
  const auto paintTrace = [&](std::size_t t) {
    const std::span<const double> minimum = envelope_->Minimum(k, t);
    const std::span<const double> maximum = envelope_->Maximum(k, t);
    QPolygon line;
    line.reserve(static_cast<int>(2 * columns));
    for (std::size_t c = 0; c < columns; ++c) {
      const int x = ColumnCentre(c);
      line << QPoint(x, y(maximum[c])) << QPoint(x, y(minimum[c]));
    }
    painter.drawPolyline(line);
  };
  painter.setClipRect(kLeft, top, plot, height);
  const std::size_t traces = envelope_->sweeps.size();
  QColor light = palette().color(QPalette::Highlight);
  light.setAlpha(traces > 1 ? 70 : 255);
  painter.setPen(light);
  for (std::size_t t = 0; t < traces; ++t) {
    if (t != emphasised_) paintTrace(t);
  }
  painter.setPen(QPen(palette().color(QPalette::Highlight), traces > 1 ? 2 : 1));
  paintTrace(emphasised_);
  // The name goes over the trace's corner, where a strip of any height has room.
  painter.setPen(palette().color(QPalette::Text));
  painter.drawText(QRect(kLeft + 4, top + 1, plot - 8, 16), Qt::AlignLeft,
                   ToQString(channel.name) + " (" + unit + ")");
  painter.setClipping(false);
}

void PreviewStrips::PaintTimeAxis(QPainter& painter) const {
  const int plot = PlotWidth();
  const int axis = height() - kBottom;
  const auto first = static_cast<double>(envelope_->firstScan);
  painter.setPen(palette().color(QPalette::Text));
  painter.drawText(QRect(kLeft, axis, plot / 2, kBottom), Qt::AlignLeft | Qt::AlignVCenter,
                   TimeText(first));
  painter.drawText(QRect(kLeft + plot / 2, axis, plot - plot / 2, kBottom),
                   Qt::AlignRight | Qt::AlignVCenter,
                   TimeText(first + static_cast<double>(envelope_->scanCount)));
}

void PreviewStrips::resizeEvent(QResizeEvent* event) {
  if (event->size().width() != event->oldSize().width()) emit PlotWidthChanged();
}

void PreviewStrips::wheelEvent(QWheelEvent* event) {
  const int x = event->position().toPoint().x();
  if (!HasColumns() || !ColumnAt(x) || event->angleDelta().y() == 0) return;
  // The scan under the cursor stays under it.
  const double anchor = ScanAt(x);
  const double count = static_cast<double>(envelope_->scanCount);
  const double kept = count * std::pow(kWheelStep, event->angleDelta().y() / 120.0);
  const double first = anchor - (anchor - static_cast<double>(envelope_->firstScan)) * kept / count;
  emit SpanRequested(std::llround(first), std::max<std::int64_t>(1, std::llround(kept)));
  event->accept();
}

void PreviewStrips::mousePressEvent(QMouseEvent* event) {
  const int x = event->position().toPoint().x();
  if (event->button() != Qt::LeftButton || !ColumnAt(x)) return;
  dragFrom_ = x;
  dragTo_ = x;
}

void PreviewStrips::mouseMoveEvent(QMouseEvent* event) {
  const QPoint at = event->position().toPoint();
  emit ReadOutChanged(ReadOutAt(at));
  if (dragFrom_) {
    dragTo_ = std::clamp(at.x(), kLeft, kLeft + PlotWidth());
    update();
  }
}

void PreviewStrips::mouseReleaseEvent(QMouseEvent* event) {
  if (!dragFrom_ || event->button() != Qt::LeftButton) return;
  const int from = *dragFrom_;
  const int to = std::clamp(event->position().toPoint().x(), kLeft, kLeft + PlotWidth());
  dragFrom_.reset();
  update();
  if (std::abs(to - from) < kDragPixels) {
    if (const auto sweep = SweepAt(event->position().toPoint())) emit SweepPicked(*sweep);
    return;
  }
  const auto first = static_cast<std::int64_t>(std::floor(ScanAt(std::min(from, to))));
  const auto end = static_cast<std::int64_t>(std::ceil(ScanAt(std::max(from, to))));
  emit SpanRequested(first, std::max<std::int64_t>(1, end - first));
}

void PreviewStrips::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) emit ResetRequested();
}

void PreviewStrips::leaveEvent(QEvent*) { emit ReadOutChanged({}); }

}  // namespace convora::gui
