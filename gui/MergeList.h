#pragma once
// The merge list: files dragged from the file list are dropped here (what was
// dragged is not read; the window takes the file list's selection), and the
// entries can be reordered by dragging them inside the list, removed with
// Delete or the context menu, or cleared. The merge takes them in list order.

#include <filesystem>
#include <vector>

#include <QListWidget>

namespace convora::gui {

class MergeList : public QListWidget {
  Q_OBJECT

 public:
  explicit MergeList(QWidget* parent = nullptr);

  std::vector<std::filesystem::path> Paths() const;
  void SetPaths(const std::vector<std::filesystem::path>& paths);
  void AddPaths(const std::vector<std::filesystem::path>& paths);
  void RemoveSelected();

 signals:
  void FilesDropped();

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
};

}  // namespace convora::gui
