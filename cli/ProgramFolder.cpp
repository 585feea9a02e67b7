#include "ProgramFolder.h"

#include <system_error>

#ifdef _WIN32
#include <windows.h>
#endif

namespace convora::cli {

std::filesystem::path ProgramFolder(const char* argv0) {
#ifdef _WIN32
  wchar_t buffer[MAX_PATH * 4];
  const DWORD length = GetModuleFileNameW(nullptr, buffer, static_cast<DWORD>(std::size(buffer)));
  if (length > 0) return std::filesystem::path(std::wstring(buffer, length)).parent_path();
#else
  std::error_code ec;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", ec);
  if (!ec) return self.parent_path();
#endif
  return std::filesystem::absolute(std::filesystem::path(argv0)).parent_path();
}

}  // namespace convora::cli
