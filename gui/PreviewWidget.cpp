#include "PreviewWidget.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <optional>

#include <QApplication>
#include <QPainter>
#include <QPointer>
#include <QThreadPool>

#include "Text.h"

namespace convora::gui {
namespace {

constexpr int kLeft = 96;  // room for the value labels
constexpr int kRight = 8;
constexpr int kTop = 20;     // the title line
constexpr int kBottom = 18;  // the time axis
constexpr int kGap = 6;

QString Number(double value) { return QString::number(value, 'g', 4); }

}  // namespace

PreviewWidget::PreviewWidget(QWidget* parent) : QWidget(parent) {
  setObjectName("Preview");
  setMinimumHeight(160);
  setAutoFillBackground(true);
  setBackgroundRole(QPalette::Base);
  message_ = "Click an ABF file to see its channels.";
  // While a splitter is dragged the old columns are stretched; the file is
  // read again for the new width once the dragging pauses.
  reread_.setSingleShot(true);
  reread_.setInterval(150);
  connect(&reread_, &QTimer::timeout, this, &PreviewWidget::Recompute);
}

int PreviewWidget::PlotWidth() const { return std::max(1, width() - kLeft - kRight); }

void PreviewWidget::ShowFile(const std::filesystem::path& file) {
  file_ = file;
  Recompute();
}

void PreviewWidget::Recompute() {
  ++generation_;
  envelope_ = PreviewEnvelope{};
  computedWidth_ = PlotWidth();
  const QString name = PathText(file_.filename());
  try {
    envelope_ = ComputePreviewEnvelope(file_, static_cast<std::size_t>(computedWidth_),
                                       fullReadBytes_);
    message_ = name;
    if (envelope_.sampled) {
      message_ += "  (drawn from evenly spread parts of the recording; reading all of it...)";
      RefineInBackground();
    }
  } catch (const std::exception& e) {  // ConvoraError says why; anything else too
    message_ = name + ": no preview, " + ToQString(std::string_view(e.what()));
  }
  update();
}

void PreviewWidget::RefineInBackground() {
  const unsigned generation = generation_;
  const std::filesystem::path file = file_;
  const auto columns = static_cast<std::size_t>(computedWidth_);
  const QPointer<PreviewWidget> self(this);
  // The global pool is waited for when the application ends, so the worker
  // never outlives the program; the widget may go, hence the guarded pointer.
  QThreadPool::globalInstance()->start([self, generation, file, columns] {
    std::optional<PreviewEnvelope> exact;
    try {
      exact = ComputePreviewEnvelope(file, columns, std::numeric_limits<std::int64_t>::max());
    } catch (const std::exception&) {
      return;  // the spread windows stay on screen, with their note
    }
    QMetaObject::invokeMethod(qApp, [self, generation, exact = std::move(exact)] {
      if (!self || self->generation_ != generation) return;
      self->envelope_ = *exact;
      self->message_ = PathText(self->file_.filename());
      self->update();
    });
  });
}

void PreviewWidget::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  if (!file_.empty() && PlotWidth() != computedWidth_) reread_.start();
}

void PreviewWidget::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setPen(palette().color(QPalette::Text));
  painter.drawText(QRect(4, 2, width() - 8, kTop - 4), Qt::AlignLeft | Qt::AlignVCenter, message_);
  const std::size_t channelCount = envelope_.channels.size();
  if (channelCount == 0 || envelope_.columns == 0) return;

  const int plotWidth = PlotWidth();
  const int bandHeight =
      std::max(8, (height() - kTop - kBottom) / static_cast<int>(channelCount) - kGap);
  const QColor trace = palette().color(QPalette::Highlight);
  for (std::size_t k = 0; k < channelCount; ++k) {
    const PreviewChannel& channel = envelope_.channels[k];
    const int top = kTop + static_cast<int>(k) * (bandHeight + kGap);
    double low = *std::min_element(channel.minimum.begin(), channel.minimum.end());
    double high = *std::max_element(channel.maximum.begin(), channel.maximum.end());
    if (high <= low) {  // a flat trace sits in the middle of its band
      low -= 1;
      high += 1;
    }
    const auto y = [&](double value) {
      return top + static_cast<int>((high - value) / (high - low) * (bandHeight - 1));
    };
    const QString unit = ToQString(channel.unit);
    painter.setPen(palette().color(QPalette::Text));
    painter.drawText(QRect(0, top, kLeft - 6, 16), Qt::AlignRight, Number(high) + " " + unit);
    painter.drawText(QRect(0, top + bandHeight - 16, kLeft - 6, 16), Qt::AlignRight,
                     Number(low) + " " + unit);
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(kLeft - 1, top - 1, plotWidth + 1, bandHeight + 1);
    painter.setPen(trace);
    for (std::size_t c = 0; c < envelope_.columns; ++c) {
      const int x0 = kLeft + static_cast<int>(c * plotWidth / envelope_.columns);
      const int x1 = kLeft + static_cast<int>((c + 1) * plotWidth / envelope_.columns);
      const int yHigh = y(channel.maximum[c]);
      const int yLow = y(channel.minimum[c]);
      for (int x = x0; x < std::max(x0 + 1, x1); ++x) painter.drawLine(x, yHigh, x, yLow);
    }
  }

  painter.setPen(palette().color(QPalette::Text));
  const int axis = height() - kBottom;
  painter.drawText(QRect(kLeft, axis, plotWidth / 2, kBottom), Qt::AlignLeft | Qt::AlignVCenter,
                   envelope_.secondsPerScan > 0 ? "0 s" : "0");
  const QString end =
      envelope_.secondsPerScan > 0
          ? Number(static_cast<double>(envelope_.scans) * envelope_.secondsPerScan) + " s"
          : QString::number(envelope_.scans) + " samples per channel";
  painter.drawText(QRect(kLeft + plotWidth / 2, axis, plotWidth - plotWidth / 2, kBottom),
                   Qt::AlignRight | Qt::AlignVCenter, end);
}

}  // namespace convora::gui
