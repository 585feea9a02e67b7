#pragma once
// Shows an ABF file's channels against time, one strip per channel: per pixel
// column the range the samples span there, in physical units. Episodic files
// show their sweeps overlaid on one sweep's time, a clicked one emphasised,
// or one sweep alone. The wheel and a dragged span zoom in time, re-reading
// just that stretch; a double-click shows the whole axis again.

#include <QLabel>
#include <QSpinBox>
#include <QString>
#include <QTimer>
#include <QWidget>
#include <cstdint>
#include <filesystem>
#include <stop_token>

#include "PreviewStrips.h"
#include "tools/PreviewEnvelope.h"

namespace convora::gui {

class PreviewWidget : public QWidget {
  Q_OBJECT

 public:
  explicit PreviewWidget(QWidget* parent = nullptr);
  ~PreviewWidget() override;

  // Reads `file` whole for the current width; a file it cannot draw leaves a
  // line saying why.
  void ShowFile(const std::filesystem::path& file);

  const PreviewEnvelope& Envelope() const { return envelope_; }
  const QString& Message() const { return message_; }
  QString ReadOut() const { return readOut_->text(); }
  // Shows scans [first, first + count) of the time axis, clipped to it.
  void ShowSpan(std::int64_t first, std::int64_t count);

 private:
  void Recompute();
  // Reads every sample of the stretch on a worker thread and shows the exact
  // envelope once it is ready, unless another view has been asked for since:
  // then the read stops, so that zooming about a long file leaves no
  // needless whole reads behind.
  void RefineInBackground();
  void SetMessage(const QString& text);
  void ShowEnvelope();
  void SelectSweep(int choice);

  std::filesystem::path file_;
  PreviewRange range_;
  std::int32_t emphasised_ = 0;  // the sweep drawn strongly when all are overlaid: the
                                 // last one clicked or chosen alone
  PreviewEnvelope envelope_;
  QString message_;
  QLabel* title_;
  QLabel* readOut_;
  QSpinBox* sweepChoice_;  // 0 for all sweeps, k for sweep k alone
  PreviewStrips* strips_;
  int computedWidth_ = 0;
  QTimer reread_;
  // Stops the background read of a view that has been left.
  std::stop_source refining_;
};

}  // namespace convora::gui
