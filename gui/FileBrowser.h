#pragma once
// The drive, folder and file lists. The selection of the file list, in list
// order, is what every command button works on.

#include <filesystem>
#include <vector>

#include <QComboBox>
#include <QListWidget>
#include <QString>
#include <QWidget>

namespace convora::gui {

class FileBrowser : public QWidget {
  Q_OBJECT

 public:
  explicit FileBrowser(QWidget* parent = nullptr);

  // Opens `folder`: the folder list shows it, the file list its files, the
  // drive list its volume, and it becomes the process's current folder.
  // Returns false, changing nothing, when it cannot be read.
  bool OpenFolder(const QString& folder);
  // Re-reads the files of the folder shown.
  void Refresh();

  QString Folder() const { return folder_; }
  // Full paths of the selected files, in list order.
  std::vector<std::filesystem::path> SelectedPaths() const;
  std::filesystem::path PathOf(const QString& name) const;

  QListWidget* FileList() const { return files_; }

 signals:
  void FileClicked(const std::filesystem::path& path);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void FillDrives();
  void ShowDriveOf(const QString& folder);
  void FillFolders();
  void OnDriveChosen(int index);

  QString folder_;
  QComboBox* drives_;
  QListWidget* folders_;
  QListWidget* files_;
};

}  // namespace convora::gui
