#pragma once
// Draws an ABF file's channels against time: per pixel column the range the
// samples span there, in physical units, one band per channel.

#include <cstdint>
#include <filesystem>

#include <QString>
#include <QTimer>
#include <QWidget>

#include "tools/PreviewEnvelope.h"

namespace convora::gui {

class PreviewWidget : public QWidget {
  Q_OBJECT

 public:
  explicit PreviewWidget(QWidget* parent = nullptr);

  // Reads `file` for the current width; a file it cannot draw leaves a line
  // saying why.
  void ShowFile(const std::filesystem::path& file);

  const PreviewEnvelope& Envelope() const { return envelope_; }
  // Recordings with more data bytes than this draw first from spread windows
  // and are then read whole in the background.
  void SetFullReadBytes(std::int64_t bytes) { fullReadBytes_ = bytes; }
  const QString& Message() const { return message_; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  int PlotWidth() const;
  void Recompute();
  // Reads every sample on a worker thread and shows the exact envelope once
  // it is ready, unless another file or width has been asked for since.
  void RefineInBackground();

  std::filesystem::path file_;
  PreviewEnvelope envelope_;
  QString message_;
  int computedWidth_ = 0;
  QTimer reread_;
  std::int64_t fullReadBytes_ = kPreviewFullReadBytes;
  unsigned generation_ = 0;  // which Recompute a background result belongs to
};

}  // namespace convora::gui
