#pragma once
#include <cstdint>
#include <string_view>

namespace convora {

// 1-based position of the n-th occurrence of `sought` in `text`, or 0 (also
// for n < 1). Each search starts one character after the previous hit, so
// overlapping occurrences count: the 2nd "aa" in "aaaa" is at 2.
std::int32_t InStrNth(std::string_view text, std::string_view sought, std::int16_t n);

}  // namespace convora
