#pragma once
// Runs one reader of the core on fuzzer bytes. The readers open their source
// by path, so the bytes go to a file in a private scratch folder first; the
// output is removed again so that runs do not see each other's files. Any
// ConvoraError is an orderly refusal; anything else reaches the fuzzer.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <system_error>

#include <unistd.h>

#include "abf/ConvoraError.h"
#include "abf/TemplateFile.h"
#include "workbench/ScriptedPrompter.h"
#include "workbench/Workbench.h"

namespace convora::fuzz {

// In shared memory where the system has it: the readers open files by path,
// and this keeps those files off the disk.
inline const std::filesystem::path& ScratchFolder() {
  static const std::filesystem::path folder = [] {
    std::error_code ec;
    const bool shm = std::filesystem::is_directory("/dev/shm", ec);
    auto path = (shm ? std::filesystem::path("/dev/shm") : std::filesystem::temp_directory_path()) /
                ("convora-fuzz-" + std::to_string(::getpid()));
    std::filesystem::create_directories(path);
    return path;
  }();
  return folder;
}

// Runs one of several readers on the same bench; its refusal does not stop the next.
template <typename Read>
void Refusable(Workbench& bench, Read read) {
  try {
    read(bench);
  } catch (const ConvoraError&) {
  }
}

inline void RunOnBytes(const std::uint8_t* data, std::size_t size, const char* fileName,
                       const std::function<void(Workbench&)>& read) {
  const auto source = ScratchFolder() / fileName;
  {
    std::ofstream out(source, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  ScriptedPrompter prompter;
  Workbench bench(BuildDefaultTemplate(), prompter);
  bench.SelectedFilePath = source;
  try {
    bench.WorkHeader = ReadAbfHeader(source);
    read(bench);
  } catch (const ConvoraError&) {
  }
  std::error_code ec;
  for (const auto& written : bench.List1.Entries()) std::filesystem::remove(written, ec);
}

}  // namespace convora::fuzz
