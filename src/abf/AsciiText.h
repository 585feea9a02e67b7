#pragma once
// Text for the header's fixed ASCII fields.

#include <string>
#include <string_view>

namespace convora {

// `text` in ASCII, as ABF readers expect: a micro sign becomes "u", any other
// character outside ASCII "?". Takes UTF-8 and single-byte (Latin-1) text.
std::string AsciiText(std::string_view text);

}  // namespace convora
