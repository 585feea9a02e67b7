#pragma once
// The numbers of a Macintosh Igor text wave, read from shares of its text so
// that several cores can read one file at once.
//
// The text is cut at each carriage return + tab. What comes before the first
// cut is the heading and is skipped; each later piece gives one value, the
// number it starts with (LeadingNumber), read from at most its first
// kMaxNumberText characters so that a piece of any length costs a bounded
// amount of memory.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "abf/FileIo.h"
#include "abf/Numbers.h"
#include "abf/Parallel.h"

namespace convora {

inline constexpr std::size_t kMaxNumberText = 4096;
// Cuts are looked for in windows of this many bytes, each read with enough
// after it for the tab and the longest number that follow its last cut.
inline constexpr std::int64_t kPieceWindowBytes = 1 << 18;

// Calls onNumber(number) for the pieces whose cut (its carriage return) lies
// in the bytes of `share`, in order; returns how many there were. Every piece
// belongs to exactly one share, wherever the text is split.
template <typename OnNumber>
std::int64_t ForEachPieceNumber(SourceFile& source, Stretch share, OnNumber&& onNumber) {
  std::vector<std::uint8_t> window(kPieceWindowBytes + 1 + kMaxNumberText);
  std::int64_t pieces = 0;
  for (std::int64_t start = share.from; start < share.to; start += kPieceWindowBytes) {
    const std::size_t got = source.ReadPadded(start, window);
    const char* const text = reinterpret_cast<const char*>(window.data());
    const char* const filled = text + got;
    const char* const cutsEnd =
        text + std::min<std::int64_t>({kPieceWindowBytes, share.to - start,
                                       static_cast<std::int64_t>(got)});
    const char* p = text;
    while (p < cutsEnd) {
      const void* found = std::memchr(p, '\r', static_cast<std::size_t>(cutsEnd - p));
      if (found == nullptr) break;
      // Past `filled` the window holds zeros, never a tab.
      p = static_cast<const char*>(found) + 1;
      if (*p != '\t') continue;
      ++p;
      const auto room = std::min(kMaxNumberText, static_cast<std::size_t>(filled - p));
      onNumber(LeadingNumber({p, room}));
      ++pieces;
    }
  }
  return pieces;
}

}  // namespace convora
