#pragma once
#include <filesystem>

namespace convora::cli {

// The folder that holds the running program, where its template lives.
std::filesystem::path ProgramFolder(const char* argv0);

}  // namespace convora::cli
