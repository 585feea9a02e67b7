#include "MergeList.h"

#include <QAction>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMimeData>

#include "Text.h"

namespace convora::gui {
namespace {

constexpr int kPathRole = Qt::UserRole;

// What a list view puts on a drag of its items.
const QString kListItemsFormat = "application/x-qabstractitemmodeldatalist";

bool FromAList(const QDropEvent* event) {
  return event->mimeData() != nullptr && event->mimeData()->hasFormat(kListItemsFormat);
}

}  // namespace

MergeList::MergeList(QWidget* parent) : QListWidget(parent) {
  setAcceptDrops(true);
  setDragEnabled(true);
  setDragDropMode(QAbstractItemView::DragDrop);
  setDefaultDropAction(Qt::MoveAction);
  setSelectionMode(QAbstractItemView::ExtendedSelection);
  setContextMenuPolicy(Qt::ActionsContextMenu);
  auto* remove = new QAction("Remove", this);
  remove->setObjectName("Remove");
  connect(remove, &QAction::triggered, this, &MergeList::RemoveSelected);
  auto* clearAll = new QAction("Clear", this);
  clearAll->setObjectName("Clear");
  connect(clearAll, &QAction::triggered, this, &QListWidget::clear);
  addActions({remove, clearAll});
}

std::vector<std::filesystem::path> MergeList::Paths() const {
  std::vector<std::filesystem::path> paths;
  for (int row = 0; row < count(); ++row) {
    paths.push_back(ToPath(item(row)->data(kPathRole).toString()));
  }
  return paths;
}

void MergeList::SetPaths(const std::vector<std::filesystem::path>& paths) {
  clear();
  AddPaths(paths);
}

void MergeList::AddPaths(const std::vector<std::filesystem::path>& paths) {
  for (const std::filesystem::path& path : paths) {
    auto* entry = new QListWidgetItem(PathText(path), this);
    entry->setData(kPathRole, PathText(path));
  }
}

void MergeList::RemoveSelected() { qDeleteAll(selectedItems()); }

void MergeList::dragEnterEvent(QDragEnterEvent* event) {
  if (FromAList(event)) event->acceptProposedAction();
}

void MergeList::dragMoveEvent(QDragMoveEvent* event) {
  if (event->source() == this) {
    QListWidget::dragMoveEvent(event);
  } else if (FromAList(event)) {
    event->acceptProposedAction();
  }
}

void MergeList::dropEvent(QDropEvent* event) {
  // Entries dragged within the list move; a drop from elsewhere adds the
  // file list's selection.
  if (event->source() == this) {
    QListWidget::dropEvent(event);
    return;
  }
  if (!FromAList(event)) return;
  event->acceptProposedAction();
  emit FilesDropped();
}

void MergeList::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace) {
    RemoveSelected();
    return;
  }
  QListWidget::keyPressEvent(event);
}


}  // namespace convora::gui
