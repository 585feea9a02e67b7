#include "PreviewWidget.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QPointer>
#include <QThreadPool>
#include <QVBoxLayout>
#include <algorithm>
#include <exception>
#include <limits>
#include <optional>

#include "Text.h"

namespace convora::gui {
namespace {

constexpr std::int64_t kMinSpanScans = 4;  // the deepest zoom

}  // namespace

PreviewWidget::PreviewWidget(QWidget* parent)
    : QWidget(parent),
      title_(new QLabel),
      readOut_(new QLabel),
      sweepChoice_(new QSpinBox),
      strips_(new PreviewStrips) {
  setObjectName("Preview");
  setMinimumHeight(160);
  setAutoFillBackground(true);
  setBackgroundRole(QPalette::Base);
  // A long file name must not widen the window.
  title_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  readOut_->setObjectName("PreviewReadOut");
  readOut_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  sweepChoice_->setObjectName("SweepChoice");
  sweepChoice_->setSpecialValueText("All sweeps");
  sweepChoice_->setPrefix("Sweep ");
  sweepChoice_->hide();
  auto* bar = new QHBoxLayout;
  bar->setContentsMargins(4, 2, 4, 0);
  bar->addWidget(title_, 1);
  bar->addWidget(readOut_);
  bar->addWidget(sweepChoice_);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(2);
  column->addLayout(bar);
  column->addWidget(strips_, 1);
  SetMessage("Click an ABF file to see its channels.");

  connect(sweepChoice_, &QSpinBox::valueChanged, this, &PreviewWidget::SelectSweep);
  connect(strips_, &PreviewStrips::SpanRequested, this, &PreviewWidget::ShowSpan);
  connect(strips_, &PreviewStrips::ResetRequested, this, [this] { ShowSpan(0, envelope_.scans); });
  connect(strips_, &PreviewStrips::ReadOutChanged, readOut_, &QLabel::setText);
  connect(strips_, &PreviewStrips::SweepPicked, this, [this](std::size_t t) {
    emphasised_ = envelope_.sweeps.at(t);
    ShowEnvelope();
  });
  // While a splitter is dragged the old columns are stretched; the file is
  // read again for the new width once the dragging pauses.
  reread_.setSingleShot(true);
  reread_.setInterval(150);
  connect(&reread_, &QTimer::timeout, this, &PreviewWidget::Recompute);
  connect(strips_, &PreviewStrips::PlotWidthChanged, this, [this] {
    if (!file_.empty() && strips_->PlotWidth() != computedWidth_) reread_.start();
  });
}

PreviewWidget::~PreviewWidget() { refining_.request_stop(); }

void PreviewWidget::ShowFile(const std::filesystem::path& file) {
  file_ = file;
  range_ = {};
  emphasised_ = 0;
  const QSignalBlocker quiet(sweepChoice_);
  sweepChoice_->setValue(0);
  Recompute();
}

void PreviewWidget::ShowSpan(std::int64_t first, std::int64_t count) {
  const std::int64_t scans = envelope_.scans;
  if (scans == 0) return;
  count = std::clamp(count, std::min(scans, kMinSpanScans), scans);
  first = std::clamp<std::int64_t>(first, 0, scans - count);
  const PreviewRange wanted{first, count == scans ? 0 : count, range_.sweep};
  if (wanted.firstScan == range_.firstScan && wanted.scanCount == range_.scanCount) return;
  range_ = wanted;
  Recompute();
}

void PreviewWidget::SelectSweep(int choice) {
  range_.sweep = choice - 1;
  if (choice > 0) emphasised_ = choice - 1;
  Recompute();
}

void PreviewWidget::SetMessage(const QString& text) {
  message_ = text;
  title_->setText(text);
}

void PreviewWidget::Recompute() {
  refining_.request_stop();
  refining_ = std::stop_source();
  envelope_ = PreviewEnvelope{};
  computedWidth_ = strips_->PlotWidth();
  try {
    envelope_ = ComputePreviewEnvelope(file_, static_cast<std::size_t>(computedWidth_), range_);
    if (envelope_.sampled) RefineInBackground();
  } catch (const std::exception& e) {  // ConvoraError says why; anything else too
    envelope_ = PreviewEnvelope{};
    SetMessage(PathText(file_.filename()) + ": no preview, " +
               ToQString(std::string_view(e.what())));
  }
  ShowEnvelope();
}

void PreviewWidget::ShowEnvelope() {
  std::size_t emphasised = 0;
  const auto& sweeps = envelope_.sweeps;
  if (!envelope_.channels.empty()) {  // read, if perhaps without a sample
    // Among thinned sweeps the one drawn strongly is the nearest below.
    const auto after = std::upper_bound(sweeps.begin(), sweeps.end(), emphasised_);
    emphasised = static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, after - sweeps.begin() - 1));
    QString text = PathText(file_.filename());
    const auto count = QString::number(envelope_.sweepCount);
    if (envelope_.Episodic() && range_.sweep >= 0) {
      text += "  (sweep " + QString::number(range_.sweep + 1) + " of " + count + ")";
    } else if (envelope_.Episodic()) {
      text += sweeps.size() == static_cast<std::size_t>(envelope_.sweepCount)
                  ? "  (" + count + " sweeps overlaid, sweep " +
                        QString::number(sweeps[emphasised] + 1) + " emphasised)"
                  : "  (" + QString::number(sweeps.size()) + " of " + count +
                        " sweeps overlaid, evenly spread)";
    }
    if (envelope_.sampled) {
      text += "  (drawn from evenly spread parts of the recording; reading all of it...)";
    }
    SetMessage(text);
  }
  {
    const QSignalBlocker quiet(sweepChoice_);
    sweepChoice_->setMaximum(envelope_.sweepCount);
  }
  sweepChoice_->setVisible(envelope_.Episodic());
  readOut_->clear();
  strips_->Show(envelope_, emphasised);
}

void PreviewWidget::RefineInBackground() {
  const std::stop_token stop = refining_.get_token();
  const std::filesystem::path file = file_;
  const PreviewRange range = range_;
  const auto columns = static_cast<std::size_t>(computedWidth_);
  const QPointer<PreviewWidget> self(this);
  // The global pool is waited for when the application ends, so the worker
  // never outlives the program; the widget may go, hence the guarded pointer.
  QThreadPool::globalInstance()->start([self, stop, file, range, columns] {
    std::optional<PreviewEnvelope> exact;
    try {
      exact = ComputePreviewEnvelope(file, columns, range, std::numeric_limits<std::int64_t>::max(),
                                     stop);
    } catch (const std::exception&) {
      return;  // stopped, or the spread windows stay on screen with their note
    }
    QMetaObject::invokeMethod(qApp, [self, stop, exact = std::move(exact)]() mutable {
      if (!self || stop.stop_requested()) return;
      self->envelope_ = std::move(*exact);
      self->ShowEnvelope();
    });
  });
}

}  // namespace convora::gui
