#include "workbench/FolderPath.h"

#include <string>

#include "abf/PathText.h"

namespace convora {
namespace {

bool EndsInSeparator(std::string_view folder) {
  if (folder.empty()) return false;
  const char last = folder.back();
#ifdef _WIN32
  return last == '\\' || last == '/';
#else
  return last == '/';
#endif
}

}  // namespace

std::filesystem::path JoinFolderAndName(std::string_view folder, std::string_view name) {
  std::string joined(folder);
  if (!folder.empty() && !EndsInSeparator(folder)) {
    joined += static_cast<char>(std::filesystem::path::preferred_separator);
  }
  joined += name;
  return PathOfText(joined);
}

}  // namespace convora
