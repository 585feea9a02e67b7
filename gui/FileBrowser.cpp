#include "FileBrowser.h"

#include <QDir>
#include <QEvent>
#include <QSignalBlocker>
#include <QStorageInfo>
#include <QStyle>
#include <QVBoxLayout>

#include "Text.h"
#include "workbench/FolderPath.h"

namespace convora::gui {
namespace {

constexpr int kPathRole = Qt::UserRole;

}  // namespace

FileBrowser::FileBrowser(QWidget* parent)
    : QWidget(parent), drives_(new QComboBox(this)), folders_(new QListWidget(this)),
      files_(new QListWidget(this)) {
  drives_->setObjectName("DrListBoxFETCH");
  drives_->setToolTip("Change Drive");
  folders_->setObjectName("DirListBoxFETCH");
  folders_->setToolTip("Change folder");
  files_->setObjectName("FListBoxFETCH");
  files_->setToolTip("Click on a data file or event file to open and display");
  files_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  files_->setDragEnabled(true);
  files_->setDragDropMode(QAbstractItemView::DragOnly);
  files_->setDefaultDropAction(Qt::CopyAction);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(drives_);
  layout->addWidget(folders_, 2);
  layout->addWidget(files_, 3);

  FillDrives();
  connect(drives_, &QComboBox::activated, this, &FileBrowser::OnDriveChosen);
  connect(folders_, &QListWidget::itemActivated, this, [this](QListWidgetItem* item) {
    // Opening rebuilds the list, so not while it is still handling the click.
    const QString path = item->data(kPathRole).toString();
    QMetaObject::invokeMethod(
        this, [this, path] { OpenFolder(path); }, Qt::QueuedConnection);
  });
  folders_->installEventFilter(this);
  connect(files_, &QListWidget::itemClicked, this,
          [this](QListWidgetItem* item) { emit FileClicked(PathOf(item->text())); });
}

bool FileBrowser::eventFilter(QObject* watched, QEvent* event) {
  // Highlighting a folder and leaving the list opens it.
  if (watched == folders_ && event->type() == QEvent::FocusOut) {
    if (const QListWidgetItem* item = folders_->currentItem()) {
      const QString highlighted = item->data(kPathRole).toString();
      if (highlighted != folder_) OpenFolder(highlighted);
    }
  }
  return QWidget::eventFilter(watched, event);
}

void FileBrowser::FillDrives() {
  const QSignalBlocker blocker(drives_);
  drives_->clear();
  for (const QStorageInfo& volume : QStorageInfo::mountedVolumes()) {
    if (!volume.isValid() || !volume.isReady()) continue;
    const QString root = QDir::toNativeSeparators(volume.rootPath());
    const QString name = volume.displayName();
    drives_->addItem(name == volume.rootPath() ? root : root + "  [" + name + "]", root);
  }
}

void FileBrowser::ShowDriveOf(const QString& folder) {
  const QString root = QDir::toNativeSeparators(QStorageInfo(folder).rootPath());
  int index = drives_->findData(root);
  if (index < 0) {
    drives_->addItem(root, root);
    index = drives_->count() - 1;
  }
  const QSignalBlocker blocker(drives_);
  drives_->setCurrentIndex(index);
}

void FileBrowser::OnDriveChosen(int index) {
  // A drive that cannot be opened (no medium) is passed over without a
  // word; the lists stay where they were.
  if (!OpenFolder(drives_->itemData(index).toString())) ShowDriveOf(folder_);
}

bool FileBrowser::OpenFolder(const QString& folder) {
  const QDir dir(folder);
  if (folder.isEmpty() || !dir.exists() || !dir.isReadable()) return false;
  folder_ = QDir::toNativeSeparators(dir.absolutePath());
  QDir::setCurrent(folder_);
  ShowDriveOf(folder_);
  FillFolders();
  Refresh();
  return true;
}

void FileBrowser::FillFolders() {
  folders_->clear();
  const QIcon open = style()->standardIcon(QStyle::SP_DirOpenIcon);
  const QIcon closed = style()->standardIcon(QStyle::SP_DirClosedIcon);
  // The open folders from the root down to the current one, then its
  // subfolders one step further in.
  QStringList chain;
  for (QDir dir(folder_);;) {
    chain.prepend(dir.absolutePath());
    if (!dir.cdUp()) break;
  }
  int depth = 0;
  for (const QString& path : chain) {
    const QString name = QDir(path).dirName();
    auto* item = new QListWidgetItem(
        open, QString(depth * 2, ' ') + (name.isEmpty() ? QDir::toNativeSeparators(path) : name));
    item->setData(kPathRole, QDir::toNativeSeparators(path));
    folders_->addItem(item);
    ++depth;
  }
  folders_->setCurrentRow(folders_->count() - 1);
  const QDir current(folder_);
  for (const QString& name :
       current.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name | QDir::IgnoreCase)) {
    auto* item = new QListWidgetItem(closed, QString(depth * 2, ' ') + name);
    item->setData(kPathRole, QDir::toNativeSeparators(current.absoluteFilePath(name)));
    folders_->addItem(item);
  }
}

void FileBrowser::Refresh() {
  files_->clear();
  files_->addItems(QDir(folder_).entryList(QDir::Files, QDir::Name | QDir::IgnoreCase));
}

std::filesystem::path FileBrowser::PathOf(const QString& name) const {
  return JoinFolderAndName(ToUtf8(folder_), ToUtf8(name));
}

std::vector<std::filesystem::path> FileBrowser::SelectedPaths() const {
  std::vector<std::filesystem::path> paths;
  for (int row = 0; row < files_->count(); ++row) {
    if (files_->item(row)->isSelected()) paths.push_back(PathOf(files_->item(row)->text()));
  }
  return paths;
}

}  // namespace convora::gui
