#include "abf/TemplateFile.h"

#include <system_error>

#include "abf/FileIo.h"

namespace convora {

std::optional<AbfHeader> LoadTemplateHeader(const std::filesystem::path& templatePath) {
  std::error_code ec;
  if (!std::filesystem::is_regular_file(templatePath, ec)) return std::nullopt;
  return ReadAbfHeader(templatePath);
}

AbfHeader ReadAbfHeader(const std::filesystem::path& path) {
  SourceFile file(path);
  AbfHeader header;
  file.ReadPadded(0, header.MutableBytes());
  return header;
}

}  // namespace convora
