#pragma once
// Texts between the core (UTF-8 strings and paths) and Qt.

#include <filesystem>
#include <string>
#include <string_view>

#include <QString>

namespace convora::gui {

inline QString ToQString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

inline QString PathText(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return QString::fromUtf8(reinterpret_cast<const char*>(text.data()),
                           static_cast<qsizetype>(text.size()));
}

inline std::string ToUtf8(const QString& text) { return text.toStdString(); }

inline std::filesystem::path ToPath(const QString& text) {
  const QByteArray utf8 = text.toUtf8();
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

}  // namespace convora::gui
