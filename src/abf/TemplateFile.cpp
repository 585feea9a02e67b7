#include "abf/TemplateFile.h"

#include <string>
#include <system_error>

#include "abf/FileIo.h"

namespace convora {

std::filesystem::path TemplatePathFor(const std::filesystem::path& programFolder) {
  const std::filesystem::path beside = programFolder / std::string(kTemplateFileName);
#ifdef CONVORA_DATA_FROM_PROGRAM
  std::error_code ec;
  const std::filesystem::path installed =
      (programFolder / CONVORA_DATA_FROM_PROGRAM / std::string(kTemplateFileName)).lexically_normal();
  if (!std::filesystem::exists(beside, ec) && std::filesystem::exists(installed, ec)) {
    return installed;
  }
#endif
  return beside;
}

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
