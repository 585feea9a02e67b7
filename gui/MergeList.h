#pragma once
// The merge list: a drop target for files dragged from the file list. What
// was dragged is not read; the window takes the file list's selection.

#include <QListWidget>

namespace convora::gui {

class MergeList : public QListWidget {
  Q_OBJECT

 public:
  explicit MergeList(QWidget* parent = nullptr);

 signals:
  void FilesDropped();

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dropEvent(QDropEvent* event) override;
};

}  // namespace convora::gui
