#pragma once
// Paths as text. Text in this program is UTF-8 on every system; the standard
// library's own narrow conversions would read and write it in the ANSI code
// page on Windows, and throw on a letter that page lacks.

#include <filesystem>
#include <string>
#include <string_view>

namespace convora {

inline std::string PathText(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

inline std::filesystem::path PathOfText(std::string_view text) {
  return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

}  // namespace convora
