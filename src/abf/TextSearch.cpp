#include "abf/TextSearch.h"

namespace convora {

std::int32_t InStrNth(std::string_view text, std::string_view sought, std::int16_t n) {
  if (n < 1) return 0;
  std::size_t position = 0;  // 1-based; 0 before the first search
  for (std::int16_t i = 0; i < n; ++i) {
    if (position >= text.size()) return 0;  // the next search would start past the end
    const std::size_t found = text.find(sought, position);
    if (found == std::string_view::npos) return 0;
    position = found + 1;
  }
  return static_cast<std::int32_t>(position);
}

}  // namespace convora
