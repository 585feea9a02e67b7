#include "formats/IgorTextPieces.h"

namespace convora {

std::vector<TextShare> ShareText(std::int64_t length, std::size_t parts) {
  const auto count = static_cast<std::int64_t>(std::max<std::size_t>(parts, 1));
  std::vector<TextShare> shares;
  for (std::int64_t k = 0; k < count; ++k) {
    // Computed from the share's number so that the last one ends exactly at `length`.
    shares.push_back({length / count * k + length % count * k / count,
                      length / count * (k + 1) + length % count * (k + 1) / count});
  }
  return shares;
}

}  // namespace convora
