#pragma once
// Each subcommand registers its options and its action on the application.

#include <CLI/CLI.hpp>

#include "CommandContext.h"

namespace convora::cli {

void AddBinaryCommand(CLI::App& app, CommandContext& context);
void AddWavCommand(CLI::App& app, CommandContext& context);
void AddInfoCommand(CLI::App& app, CommandContext& context);
void AddConvertCommand(CLI::App& app, CommandContext& context);
void AddFormatsCommand(CLI::App& app, CommandContext& context);
void AddMergeCommand(CLI::App& app, CommandContext& context);
// set-unit, filter, downscale, set-interval
void AddToolCommands(CLI::App& app, CommandContext& context);
// ascii, atf, pti, dataq
void AddAsciiCommands(CLI::App& app, CommandContext& context);

}  // namespace convora::cli
