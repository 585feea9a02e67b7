// convora: the command-line front end. One subcommand per button of the
// window; FILEs are processed in order, each as one selected file.

#include <iostream>

#include <CLI/CLI.hpp>

#include "CommandContext.h"
#include "Commands.h"
#include "ProgramArguments.h"
#include "ProgramFolder.h"
#include "app/Version.h"

int main(int argc, char** argv) {
  using namespace convora::cli;
  const ProgramArguments arguments(argc, argv);
  ShowUtf8OnConsole();
  CommandContext context(std::cin, std::cout, std::cerr, ProgramFolder(arguments.Values()[0]));

  CLI::App app{"Convora: converts electrophysiology recordings to ABF 1.x and edits ABF files",
               "convora"};
  app.require_subcommand(0, 1);
  bool showVersion = false;
  app.add_flag("--version", showVersion, "print the version and exit");
  app.add_option("--template", context.templatePath,
                 "the template header to use instead of the SamplABF.dat beside the program");
  app.add_flag("--recursive", context.recursive,
               "a FILE that is a folder brings the files of its subfolders too");
  app.add_option("--output-dir", context.outputDir,
                 "write every output into this folder (mirroring the folders of the sources) "
                 "instead of beside its source");
  app.add_flag("--no-overwrite", context.noOverwrite,
               "refuse, file by file, to write over an existing file");
  app.add_flag("--each-from-template", context.eachFromTemplate,
               "start every file from the template as loaded, so that no field set by one "
               "conversion carries over to the next");

  AddBinaryCommand(app, context);
  AddWavCommand(app, context);
  AddInfoCommand(app, context);
  AddConvertCommand(app, context);
  AddFormatsCommand(app, context);
  AddMergeCommand(app, context);
  AddToolCommands(app, context);
  AddAsciiCommands(app, context);

  try {
    app.parse(arguments.Count(), arguments.Values());
  } catch (const CLI::Success& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    app.exit(e);
    return kExitUsage;
  }
  if (showVersion) {
    std::cout << convora::kProductCaption << '\n';
    return kExitOk;
  }
  if (app.get_subcommands().empty()) {
    std::cerr << app.help();
    return kExitUsage;
  }
  return context.exitCode;
}
