#include "MergeList.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>

namespace convora::gui {
namespace {

// What a list view puts on a drag of its items.
const QString kListItemsFormat = "application/x-qabstractitemmodeldatalist";

bool FromFileList(const QDropEvent* event) {
  return event->mimeData() != nullptr && event->mimeData()->hasFormat(kListItemsFormat);
}

}  // namespace

MergeList::MergeList(QWidget* parent) : QListWidget(parent) {
  setAcceptDrops(true);
  setDragDropMode(QAbstractItemView::DropOnly);
  setSelectionMode(QAbstractItemView::NoSelection);
}

void MergeList::dragEnterEvent(QDragEnterEvent* event) {
  if (FromFileList(event)) event->acceptProposedAction();
}

void MergeList::dragMoveEvent(QDragMoveEvent* event) {
  if (FromFileList(event)) event->acceptProposedAction();
}

void MergeList::dropEvent(QDropEvent* event) {
  if (!FromFileList(event)) return;
  event->acceptProposedAction();
  emit FilesDropped();
}

}  // namespace convora::gui
