// `formats`: the list of known formats, and the instruction of the one entry
// that has one. Needs no template.

#include <iomanip>
#include <ostream>

#include "Commands.h"
#include "app/KnownFormats.h"

namespace convora::cli {

void AddFormatsCommand(CLI::App& app, CommandContext& context) {
  CLI::App* command = app.add_subcommand(
      "formats", "Print the list of known formats, with its instruction texts");
  command->callback([&context] {
    std::ostream& out = context.Out();
    for (std::size_t i = 0; i < KnownFormats().size(); ++i) {
      out << std::setw(2) << i << "  " << KnownFormats()[i] << '\n';
    }
    for (std::size_t i = 0; i < KnownFormats().size(); ++i) {
      if (auto instruction = InstructionFor(i)) {
        out << '\n' << kInstructionTitle << " (" << i << ", " << KnownFormats()[i] << "):\n"
            << *instruction << '\n';
      }
    }
  });
}

}  // namespace convora::cli
