#include "abf/AsciiText.h"

namespace convora {

std::string AsciiText(std::string_view text) {
  std::string ascii;
  for (std::size_t i = 0; i < text.size();) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < 0x80) {
      ascii += static_cast<char>(byte);
      ++i;
      continue;
    }
    // A UTF-8 sequence: its lead byte says how many bytes follow.
    std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
    bool utf8 = length > 1 && i + length <= text.size();
    for (std::size_t k = 1; utf8 && k < length; ++k) {
      utf8 = (static_cast<unsigned char>(text[i + k]) & 0xC0) == 0x80;
    }
    if (!utf8) length = 1;  // a single-byte character, as in Latin-1
    const std::string_view character = text.substr(i, length);
    const bool micro = character == "\xC2\xB5" || character == "\xCE\xBC" || character == "\xB5";
    ascii += micro ? 'u' : '?';
    i += length;
  }
  return ascii;
}

}  // namespace convora
