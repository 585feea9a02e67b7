// convora-gui: the desktop window. Loads SamplABF.dat from beside the program
// and shows the main window until it is closed.
//
//   convora-gui [--screenshot FILE.png [--preview ABF] [--settings]]
// draws the window (previewing ABF when given), or with --settings the binary
// settings window describing ABF, into FILE.png and ends, for the
// documentation.

#include <exception>
#include <optional>
#include <string>

#include <QApplication>
#include <QCommandLineParser>
#include <QTimer>

#include "MainWindow.h"
#include "QtPrompter.h"
#include "Text.h"
#include "abf/ConvoraError.h"
#include "abf/TemplateFile.h"

int main(int argc, char* argv[]) {
  QApplication app(argc, argv);
  QCommandLineParser options;
  const QCommandLineOption screenshot("screenshot", "Draw the window into FILE and end.", "FILE");
  const QCommandLineOption preview("preview", "Preview ABF in the screenshot.", "ABF");
  const QCommandLineOption settings("settings", "Draw the binary settings window, describing ABF, instead.");
  options.addOptions({screenshot, preview, settings});
  options.process(app);
  convora::gui::QtPrompter prompter;

  const std::filesystem::path templatePath =
      convora::TemplatePathFor(convora::gui::ToPath(QCoreApplication::applicationDirPath()));
  std::optional<convora::AbfHeader> templateHeader;
  try {
    templateHeader = convora::LoadTemplateHeader(templatePath);
  } catch (const convora::ConvoraError& e) {
    prompter.ShowMessage(
        convora::kApplicationTitle,
        convora::gui::ToUtf8(convora::gui::PathText(templatePath)) + ": " + e.what());
    return 3;
  }
  if (!templateHeader) {
    prompter.ShowMessage(convora::kTemplateMissingTitle, convora::kTemplateMissingMessage);
    return 3;
  }

  convora::gui::MainWindow window(*templateHeader, prompter);
  prompter.SetParent(&window);
  window.show();
  if (options.isSet(screenshot)) {
    QWidget* drawn = &window;
    if (options.isSet(preview)) {
      const std::filesystem::path shown = convora::gui::ToPath(options.value(preview));
      window.Preview()->ShowFile(shown);
      if (options.isSet(settings)) {
        window.BinarySet()->Describe(shown);
        drawn = window.BinarySet();
      }
    }
    QTimer::singleShot(500, &window, [&] {
      QApplication::exit(drawn->grab().save(options.value(screenshot)) ? 0 : 1);
    });
  }
  return QApplication::exec();
}
