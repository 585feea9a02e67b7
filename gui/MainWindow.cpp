#include "MainWindow.h"

#include <QCheckBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QKeySequence>
#include <QLocale>
#include <QMenuBar>
#include <QScreen>
#include <QScrollArea>
#include <QSplitter>
#include <QStatusBar>
#include <QTextBrowser>
#include <QVBoxLayout>

#include "Text.h"
#include "WindowUsage.h"
#include "app/KnownFileDispatch.h"
#include "app/KnownFormats.h"
#include "app/Version.h"
#include "ascii/AnyAscii.h"
#include "ascii/AxonText.h"
#include "ascii/DataqAscii.h"
#include "ascii/PtiAscii.h"
#include "generic/UnknownBinary.h"
#include "generic/WavExport.h"

namespace convora::gui {
namespace {

constexpr int kPathRole = Qt::UserRole;

QLabel* WrappedLabel(const char* name, const char* text, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  label->setObjectName(name);
  label->setWordWrap(true);
  return label;
}

// On a small screen a column scrolls rather than push the window past it.
QScrollArea* Scrolling(QWidget* column) {
  auto* area = new QScrollArea;
  area->setWidget(column);
  area->setWidgetResizable(true);
  area->setFrameShape(QFrame::NoFrame);
  return area;
}

// A list that shares the column's height by its stretch, down to three lines,
// instead of asking for its usual height: the wrapped labels above it make the
// scrolling column ask for the lists' preferred heights.
QListWidget* Shrinking(QListWidget* list) {
  list->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Ignored);
  list->setMinimumHeight(list->fontMetrics().height() * 3 + 2 * list->frameWidth());
  return list;
}

}  // namespace

MainWindow::MainWindow(const AbfHeader& templateHeader, Prompter& prompter,
                       const QString& startFolder, Workbench::Clock clock, QWidget* parent)
    : QMainWindow(parent),
      logged_(prompter, [this](const std::string& line) { AddToLog(ToQString(line)); }),
      bench_(templateHeader, logged_, std::move(clock)), browser_(new FileBrowser),
      binarySet_(new BinarySetWindow(this)), asciiSet_(new AsciiSetWindow(this)),
      preview_(new PreviewWidget),
      chooseFolder_([](QWidget* parent, const QString& start) {
        return QFileDialog::getExistingDirectory(parent, "Open folder", start);
      }) {
  setObjectName("Convora");
  setWindowTitle(ToQString(kProductCaption));

  auto* top = new QWidget;
  auto* columns = new QHBoxLayout(top);
  // The buttons take the width they need when there is room; the browser and
  // the lists share the rest.
  columns->addWidget(browser_, 1);
  columns->addWidget(Scrolling(BuildButtons()));
  columns->addWidget(BuildLists(), 1);
  log_ = new QListWidget;
  log_->setObjectName("Log");
  log_->setToolTip("Notices and failures of the operations, one line each");
  // The preview and, under the lists, the log share the lower part.
  auto* bottom = new QSplitter(Qt::Horizontal);
  bottom->addWidget(preview_);
  bottom->addWidget(log_);
  bottom->setStretchFactor(0, 5);
  bottom->setStretchFactor(1, 3);
  // The preview's own size hint is small (its title shrinks to anything), so
  // the first sizes are given outright; the splitter scales them to its width.
  bottom->setSizes({5000, 3000});
  auto* split = new QSplitter(Qt::Vertical);
  split->addWidget(top);
  split->addWidget(bottom);
  split->setStretchFactor(0, 3);
  split->setStretchFactor(1, 2);
  setCentralWidget(split);
  BuildStatusArea();
  BuildMenus();
  FitToScreen();

  // The worker adds written files; the list is changed on the interface thread.
  bench_.List1.Observe([this](const std::filesystem::path& written) {
    OnInterfaceThread([this, &written] {
      auto* item = new QListWidgetItem(PathText(written), written_);
      item->setData(kPathRole, PathText(written));
    });
  });
  connect(browser_, &FileBrowser::FileClicked, preview_, &PreviewWidget::ShowFile);
  connect(written_, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) {
    preview_->ShowFile(ToPath(item->data(kPathRole).toString()));
  });
  connect(merge_, &MergeList::FilesDropped, this, &MainWindow::DropOnMergeList);
  connect(binarySet_, &BinarySetWindow::ConvertToAbfRequested, this,
          [this] { ConvertWithBinarySettings(false); });
  connect(binarySet_, &BinarySetWindow::ConvertToWavRequested, this,
          [this] { ConvertWithBinarySettings(true); });
  connect(asciiSet_, &AsciiSetWindow::ConvertRequested, this,
          &MainWindow::ConvertWithAsciiSettings);

  if (!browser_->OpenFolder(startFolder)) browser_->OpenFolder(QDir::rootPath());
}

void MainWindow::BuildMenus() {
  const auto add = [this](QMenu* menu, const char* name, const char* text, QKeySequence keys,
                          auto handler) {
    QAction* action = menu->addAction(text, keys, this, handler);
    action->setObjectName(name);
  };
  QMenu* file = menuBar()->addMenu("&File");
  add(file, "OpenFolder", "&Open folder...", QKeySequence(Qt::CTRL | Qt::Key_O),
      [this] { OpenChosenFolder(); });
  file->addSeparator();
  add(file, "Quit", "&Quit", QKeySequence(Qt::CTRL | Qt::Key_Q), [this] { close(); });
  QMenu* help = menuBar()->addMenu("&Help");
  add(help, "Usage", "&Usage", QKeySequence(Qt::Key_F1), [this] { ShowUsage(); });
  add(help, "About", "&About", QKeySequence(), [this] {
    bench_.Prompt().ShowMessage(
        "About Convora",
        std::string(kProductCaption) +
            "\nConverts electrophysiology recordings to ABF 1.x files.\n\nIt uses Qt 6 "
            "(LGPL-3.0)" +
            (kUsesMatio ? ", libmatio (BSD-2-Clause) and zlib (Zlib licence)." : "."));
  });
}

void MainWindow::OpenChosenFolder() {
  const QString folder = chooseFolder_(this, browser_->Folder());
  if (!folder.isEmpty() && !browser_->OpenFolder(folder)) {
    AddToLog(folder + ": cannot be read, the folder shown stays");
  }
}

void MainWindow::ShowUsage() {
  auto* usage = findChild<QTextBrowser*>("Usage");
  if (usage == nullptr) {
    usage = new QTextBrowser(this);
    usage->setObjectName("Usage");
    usage->setWindowFlag(Qt::Window);
    usage->setAttribute(Qt::WA_QuitOnClose, false);
    usage->setWindowTitle("Convora: using the window");
    usage->setOpenLinks(false);  // they name pictures beside the README
    usage->setMarkdown(kWindowUsage);
    usage->resize(size() * 0.6);
  }
  usage->show();
  usage->raise();
}

void MainWindow::FitToScreen() {
  // Most of the screen, and never more than it, whatever its scaling.
  const QRect available = screen()->availableGeometry();
  const QSize fitted = (available.size() * 0.85).boundedTo(available.size());
  resize(fitted);
  move(available.center() - QPoint(fitted.width() / 2, fitted.height() / 2));
}

QPushButton* MainWindow::AddButton(int number, const char* caption) {
  auto* button = new QPushButton(caption);
  button->setObjectName(QString("Command%1").arg(number));
  return button;
}

QWidget* MainWindow::BuildButtons() {
  // Two buttons a row, in groups, so that they all show in a short window.
  auto* panel = new QWidget;
  auto* layout = new QGridLayout(panel);
  layout->addWidget(
      WrappedLabel("Label1", "Highlight a file or multiple files, then press a Convert button.",
                   panel),
      0, 0, 1, 2);
  int slot = 2;  // row * 2 + column
  const auto add = [&](int number, const char* caption, auto handler) {
    QPushButton* button = AddButton(number, caption);
    connect(button, &QPushButton::clicked, this, handler);
    layout->addWidget(button, slot / 2, slot % 2);
    ++slot;
  };
  const auto gap = [&] {
    slot = (slot + 1) / 2 * 2 + 2;
    layout->setRowMinimumHeight(slot / 2 - 1, 6);
  };
  const auto addWide = [&](QWidget* widget) {
    slot = (slot + 1) / 2 * 2;
    layout->addWidget(widget, slot / 2, 0, 1, 2);
    slot += 2;
  };
  add(1, "Convert Known File to ABF", [this] { ConvertKnownFiles(); });
  add(4, "Convert Unknown Binary to ABF", [this] { OpenBinarySettings(); });
  add(5, "Convert Any ASCII to ABF", [this] { asciiSet_->Describe(browser_->SelectedPaths()); });
  add(3, "Convert PTI ASCII to ABF", [this] { ConvertPtiFiles(); });
  add(6, "Convert AIW ASCII to ABF",
      [this] { ForEachSelectedFile(GoingOn(ConvertAxonText)); });
  add(7, "Convert Dataq ASCII to ABF",
      [this] { ForEachSelectedFile(GoingOn(ConvertDataqAscii)); });
  gap();
  add(8, "Change Unit of ABF File",
      [this] { ForEachSelectedFile(GoingOn(ChangeUnitAndScaleFactor)); });
  add(9, "Gaussian Filter", [this] { ForEachSelectedFile(FilterAbfFile); });
  add(10, "Down-scale ABF File",
      [this] { ForEachSelectedFile(GoingOn(DownscaleAbfFile)); });
  add(11, "Change Sample Interval",
      [this] { ForEachSelectedFile(GoingOn(ChangeSampleInterval)); });
  gap();
  add(12, "Refresh Directory", [this] { browser_->Refresh(); });
  const auto option = [&](const char* name, const char* caption, const char* tip,
                          bool Workbench::*setting) {
    auto* box = new QCheckBox(caption, panel);
    box->setObjectName(name);
    box->setToolTip(tip);
    // Queued like the operations: a box ticked while one runs counts from the next.
    connect(box, &QCheckBox::toggled, this, [this, setting](bool on) {
      queue_.Enqueue([this, setting, on] { bench_.*setting = on; });
    });
    addWide(box);
  };
  option("EachFromTemplate", "Start every file from the template",
         "Nothing set by one conversion carries over to the next", &Workbench::EachFromTemplate);
  option("SkipRejected", "Leave out rejected records",
         "WinWCP records marked REJECTED are not converted", &Workbench::SkipRejected);
  layout->setRowStretch(slot / 2, 1);
  return panel;
}

QWidget* MainWindow::BuildLists() {
  auto* panel = new QWidget;
  auto* layout = new QVBoxLayout(panel);
  layout->addWidget(WrappedLabel("Label3",
                                 "This program converts the following \"known\" data file "
                                 "formats. (Click on a file format to see instructions.",
                                 panel));
  formats_ = new QListWidget(panel);
  formats_->setObjectName("List3");
  for (const std::string_view format : KnownFormats()) formats_->addItem(ToQString(format));
  connect(formats_, &QListWidget::itemClicked, this, [this] { ShowInstruction(); });
  layout->addWidget(Shrinking(formats_), 3);

  layout->addWidget(WrappedLabel("Label2", "Successful Conversion", panel));
  written_ = new QListWidget(panel);
  written_->setObjectName("List1");
  layout->addWidget(Shrinking(written_), 2);

  layout->addWidget(WrappedLabel(
      "Label4", "Drag and drop files from the left list in the order and  press Merge button.",
      panel));
  merge_ = new MergeList(panel);
  merge_->setObjectName("List2");
  layout->addWidget(Shrinking(merge_), 2);
  // The lists scroll when the window is short; the Merge button stays in sight.
  auto* column = new QWidget;
  auto* outer = new QVBoxLayout(column);
  outer->setContentsMargins({});
  outer->addWidget(Scrolling(panel), 1);
  QPushButton* mergeButton = AddButton(2, "Merge Files");
  connect(mergeButton, &QPushButton::clicked, this, [this] { MergeFiles(); });
  outer->addWidget(mergeButton);
  return column;
}

void MainWindow::BuildStatusArea() {
  progress_ = new QProgressBar;
  progress_->setObjectName("Progress");
  progress_->setTextVisible(true);
  progress_->setRange(0, 1);
  progress_->setFormat("");
  cancel_ = new QPushButton("Cancel");
  cancel_->setObjectName("Cancel");
  cancel_->setToolTip("Stop after the file being written");
  cancel_->setEnabled(false);
  statusBar()->addPermanentWidget(progress_, 1);
  statusBar()->addPermanentWidget(cancel_);
  connect(cancel_, &QPushButton::clicked, this, [this] { queue_.Cancel(); });
  connect(&queue_, &OperationQueue::Started, this, [this] {
    setCursor(Qt::BusyCursor);
    cancel_->setEnabled(true);
    progress_->setRange(0, 0);  // moving to and fro until a file is reported
  });
  connect(&queue_, &OperationQueue::Idle, this, [this] {
    unsetCursor();
    cancel_->setEnabled(false);
    progress_->setRange(0, 1);
    progress_->setValue(0);
    progress_->setFormat("");
  });
}

FileRunner MainWindow::Runner() {
  return FileRunner(
      bench_, [this](const FileStep& step) { ShowStep(step); }, &queue_.CancelFlag());
}

void MainWindow::ShowStep(const FileStep& step) {
  // Measured in bytes, so that a large file weighs as much as it takes; in
  // files when the selection holds no bytes at all.
  constexpr int kSteps = 1000;
  const std::size_t ended = step.ended ? step.number : step.number - 1;
  const double share =
      step.bytesTotal > 0 ? static_cast<double>(step.bytesDone) / step.bytesTotal
                          : static_cast<double>(ended) / static_cast<double>(step.count);
  const QLocale locale;
  const auto size = [&](std::uintmax_t bytes) {
    return locale.formattedDataSize(static_cast<qint64>(bytes), 1);
  };
  const QString text = QString("file %1 of %2, %3 of %4")
                           .arg(step.number)
                           .arg(step.count)
                           .arg(size(step.bytesDone), size(step.bytesTotal));
  QMetaObject::invokeMethod(this, [this, text, value = static_cast<int>(share * kSteps)] {
    progress_->setFormat(text);
    progress_->setRange(0, kSteps);
    progress_->setValue(value);
  });
}

void MainWindow::AddToLog(const QString& line) {
  QMetaObject::invokeMethod(this, [this, line] {
    log_->addItem(line);
    log_->scrollToBottom();
  });
}

void MainWindow::ForEachSelectedFile(FileRunner::Action action) {
  queue_.Enqueue([this, files = browser_->SelectedPaths(), action = std::move(action)] {
    Runner().RunOnEach(files, action);
  });
}

void MainWindow::ConvertKnownFiles() {
  ForEachSelectedFile(GoingOn([this](Workbench& bench) {
    // A file of no known format goes to the settings window, which then
    // describes it; with several such files it ends up describing the last.
    ConvertKnownFile(bench, [this](Workbench& b) {
      OnInterfaceThread([&] { binarySet_->Describe(b.SelectedFilePath); });
    });
  }));
}

void MainWindow::OpenBinarySettings() {
  // The window does not block, so with several files selected it ends up
  // describing the last one, which is the one converted.
  for (const std::filesystem::path& path : browser_->SelectedPaths()) binarySet_->Describe(path);
}

void MainWindow::ConvertWithBinarySettings(bool toWav) {
  if (binarySet_->DescribedFile().empty()) return;
  // The file converted is the one the settings window names, even if another
  // button has processed other files since it was opened.
  queue_.Enqueue([this, toWav, settings = binarySet_->Settings(),
                  file = binarySet_->DescribedFile()] {
    const std::size_t listedBefore = bench_.List1.Entries().size();
    Runner().RunOnEach({file}, GoingOn([&](Workbench& bench) {
      toWav ? ConvertToWav(bench, settings) : ConvertUnknownBinary(bench, settings);
    }));
    if (bench_.List1.Entries().size() > listedBefore) {
      OnInterfaceThread([this] { binarySet_->hide(); });
    }
  });
}

void MainWindow::DropOnMergeList() {
  queue_.Enqueue([this, files = browser_->SelectedPaths()] {
    std::vector<std::filesystem::path> accepted;
    Runner().RunOnEach(files, GoingOn([&](Workbench& bench) {
      AddToMergeList(bench, accepted, bench.SelectedFilePath);
    }));
    OnInterfaceThread([&] { merge_->AddPaths(accepted); });
  });
}

void MainWindow::MergeFiles() {
  queue_.Enqueue([this, listed = merge_->Paths(), folder = ToPath(browser_->Folder())]() mutable {
    if (listed.size() < 2) {
      bench_.Prompt().Notice(listed.empty()
                                 ? "Merge Files: the merge list is empty; drop two or more ABF "
                                   "files on it first"
                                 : "Merge Files: the merge list holds one file, and a merge "
                                   "joins two or more; nothing was written");
      return;
    }
    const ArrowAtEnd arrow(bench_.Prompt());
    FileRunner(bench_).Guarded(folder, [&] { MergeAbfFiles(bench_, listed, folder); });
    // A merge that was written empties the list it was given.
    if (listed.empty()) OnInterfaceThread([this] { merge_->clear(); });
  });
}

void MainWindow::ConvertWithAsciiSettings() {
  queue_.Enqueue([this, settings = asciiSet_->Settings(), files = asciiSet_->DescribedFiles()] {
    const std::size_t listedBefore = bench_.List1.Entries().size();
    Runner().RunOnEach(files, GoingOn([&](Workbench& bench) { ConvertAnyAscii(bench, settings); }));
    if (bench_.List1.Entries().size() > listedBefore) {
      OnInterfaceThread([this] { asciiSet_->hide(); });
    }
  });
}

void MainWindow::ConvertPtiFiles() {
  queue_.Enqueue([this, files = browser_->SelectedPaths()] {
    // The traces are asked once for the whole selection.
    const auto answer = bench_.Prompt().AskInput(
        {"traces", "Which traces should be converted: all, ratio or intensity?", "PTI Traces",
         "all"});
    if (!answer) return;
    const auto traces = PtiTracesNamed(*answer);
    if (!traces) {
      bench_.Prompt().ShowMessage("PTI Traces", "\"" + *answer +
                                                    "\" is not one of all, ratio or intensity.");
      return;
    }
    Runner().RunOnEach(files, GoingOn([&](Workbench& b) { ConvertPtiAscii(b, *traces); }));
  });
}

void MainWindow::ShowInstruction() {
  // The first selected entry, none counting as the first one.
  std::size_t index = 0;
  for (int row = 0; row < formats_->count(); ++row) {
    if (formats_->item(row)->isSelected()) {
      index = static_cast<std::size_t>(row);
      break;
    }
  }
  if (const auto instruction = InstructionFor(index)) {
    bench_.Prompt().ShowMessage(kInstructionTitle, *instruction);
  }
}

}  // namespace convora::gui
