#include "MainWindow.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QSplitter>
#include <QStatusBar>
#include <QVBoxLayout>

#include "Text.h"
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

}  // namespace

MainWindow::MainWindow(const AbfHeader& templateHeader, Prompter& prompter,
                       const QString& startFolder, Workbench::Clock clock, QWidget* parent)
    : QMainWindow(parent), bench_(templateHeader, prompter, std::move(clock)),
      browser_(new FileBrowser), binarySet_(new BinarySetWindow(this)),
      asciiSet_(new AsciiSetWindow(this)), preview_(new PreviewWidget) {
  setObjectName("Convora");
  setWindowTitle(ToQString(kProductCaption));

  auto* top = new QWidget;
  auto* columns = new QHBoxLayout(top);
  columns->addWidget(browser_, 3);
  columns->addWidget(BuildButtons(), 2);
  columns->addWidget(BuildLists(), 4);
  auto* split = new QSplitter(Qt::Vertical);
  split->addWidget(top);
  split->addWidget(preview_);
  split->setStretchFactor(0, 3);
  split->setStretchFactor(1, 2);
  setCentralWidget(split);
  resize(1180, 800);

  bench_.List1.Observe([this](const std::filesystem::path& written) {
    auto* item = new QListWidgetItem(PathText(written), written_);
    item->setData(kPathRole, PathText(written));
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

QPushButton* MainWindow::AddButton(int number, const char* caption) {
  auto* button = new QPushButton(caption);
  button->setObjectName(QString("Command%1").arg(number));
  return button;
}

QWidget* MainWindow::BuildButtons() {
  auto* panel = new QWidget;
  auto* layout = new QVBoxLayout(panel);
  layout->addWidget(WrappedLabel(
      "Label1", "Highlight a file or multiple files, then press a Convert button.", panel));
  const auto add = [&](int number, const char* caption, auto handler) {
    QPushButton* button = AddButton(number, caption);
    connect(button, &QPushButton::clicked, this, handler);
    layout->addWidget(button);
  };
  add(1, "Convert Known File to ABF", [this] { ConvertKnownFiles(); });
  add(4, "Convert Unknown Binary to ABF", [this] { OpenBinarySettings(); });
  add(5, "Convert Any ASCII to ABF", [this] { asciiSet_->Describe(browser_->SelectedPaths()); });
  add(3, "Convert PTI ASCII to ABF", [this] { ConvertPtiFiles(); });
  add(6, "Convert AIW ASCII to ABF",
      [this] { ForEachSelectedFile(GoingOn(ConvertAxonText)); });
  add(7, "Convert Dataq ASCII to ABF",
      [this] { ForEachSelectedFile(GoingOn(ConvertDataqAscii)); });
  layout->addSpacing(12);
  add(8, "Change Unit of ABF File",
      [this] { ForEachSelectedFile(GoingOn(ChangeUnitAndScaleFactor)); });
  add(9, "Gaussian Filter", [this] { ForEachSelectedFile(FilterAbfFile); });
  add(10, "Down-scale ABF File",
      [this] { ForEachSelectedFile(GoingOn(DownscaleAbfFile)); });
  add(11, "Change Sample Interval",
      [this] { ForEachSelectedFile(GoingOn(ChangeSampleInterval)); });
  layout->addSpacing(12);
  add(12, "Refresh Directory", [this] { browser_->Refresh(); });
  auto* fresh = new QCheckBox("Start every file from the template", panel);
  fresh->setObjectName("EachFromTemplate");
  fresh->setToolTip("Nothing set by one conversion carries over to the next");
  connect(fresh, &QCheckBox::toggled, this, [this](bool on) { bench_.EachFromTemplate = on; });
  layout->addWidget(fresh);
  auto* skip = new QCheckBox("Leave out rejected records", panel);
  skip->setObjectName("SkipRejected");
  skip->setToolTip("WinWCP records marked REJECTED are not converted");
  connect(skip, &QCheckBox::toggled, this, [this](bool on) { bench_.SkipRejected = on; });
  layout->addWidget(skip);
  layout->addStretch();
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
  layout->addWidget(formats_, 3);

  layout->addWidget(WrappedLabel("Label2", "Successful Conversion", panel));
  written_ = new QListWidget(panel);
  written_->setObjectName("List1");
  layout->addWidget(written_, 2);

  layout->addWidget(WrappedLabel(
      "Label4", "Drag and drop files from the left list in the order and  press Merge button.",
      panel));
  merge_ = new MergeList(panel);
  merge_->setObjectName("List2");
  layout->addWidget(merge_, 2);
  QPushButton* mergeButton = AddButton(2, "Merge Files");
  connect(mergeButton, &QPushButton::clicked, this, [this] { MergeFiles(); });
  layout->addWidget(mergeButton);
  return panel;
}

void MainWindow::ForEachSelectedFile(const FileRunner::Action& action) {
  FileRunner(bench_).RunOnEach(browser_->SelectedPaths(), action);
}

void MainWindow::ConvertKnownFiles() {
  ForEachSelectedFile(GoingOn([this](Workbench& bench) {
    // A file of no known format goes to the settings window, which then
    // describes it; with several such files it ends up describing the last.
    ConvertKnownFile(bench, [this](Workbench& b) { binarySet_->Describe(b.SelectedFilePath); });
  }));
}

void MainWindow::OpenBinarySettings() {
  // The window does not block, so with several files selected it ends up
  // describing the last one, which is the one converted.
  const ArrowAtEnd arrow(bench_.Prompt());
  for (const std::filesystem::path& path : browser_->SelectedPaths()) {
    bench_.SelectedFilePath = path;
    binarySet_->Describe(path);
  }
}

void MainWindow::ConvertWithBinarySettings(bool toWav) {
  if (binarySet_->DescribedFile().empty()) return;
  // The file converted is the one the settings window names, even if another
  // button has processed other files since it was opened.
  const BinarySettings settings = binarySet_->Settings();
  const std::size_t listedBefore = bench_.List1.Entries().size();
  FileRunner(bench_).RunOn(binarySet_->DescribedFile(), GoingOn([&](Workbench& bench) {
    toWav ? ConvertToWav(bench, settings) : ConvertUnknownBinary(bench, settings);
  }));
  if (bench_.List1.Entries().size() > listedBefore) binarySet_->hide();
}

void MainWindow::DropOnMergeList() {
  ForEachSelectedFile(GoingOn(
      [this](Workbench& bench) { AddToMergeList(bench, mergeList_, bench.SelectedFilePath); }));
  ShowMergeList();
}

void MainWindow::MergeFiles() {
  const ArrowAtEnd arrow(bench_.Prompt());
  const std::filesystem::path folder = ToPath(browser_->Folder());
  FileRunner(bench_).Guarded(folder, [&] { MergeAbfFiles(bench_, mergeList_, folder); });
  ShowMergeList();
}

void MainWindow::ShowMergeList() {
  merge_->clear();
  for (const std::filesystem::path& path : mergeList_) merge_->addItem(PathText(path));
}

void MainWindow::ConvertWithAsciiSettings() {
  const AsciiSettings settings = asciiSet_->Settings();
  const std::size_t listedBefore = bench_.List1.Entries().size();
  FileRunner(bench_).RunOnEach(asciiSet_->DescribedFiles(), GoingOn([&](Workbench& bench) {
    ConvertAnyAscii(bench, settings);
  }));
  if (bench_.List1.Entries().size() > listedBefore) asciiSet_->hide();
}

void MainWindow::ConvertPtiFiles() {
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
  ForEachSelectedFile(GoingOn([&](Workbench& b) { ConvertPtiAscii(b, *traces); }));
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
