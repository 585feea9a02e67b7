#pragma once
// The numbers of a Macintosh Igor text wave, read from shares of its text so
// that several cores can read one file at once.
//
// The text is cut at each carriage return + tab. What comes before the first
// cut is the heading and is skipped; each later piece gives one value, the
// number it starts with (LeadingNumber), read from at most its first
// kMaxNumberText characters so that a piece of any length costs a bounded
// amount of memory.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>

#include "abf/FileIo.h"
#include "abf/Parallel.h"

namespace convora {

inline constexpr std::size_t kMaxNumberText = 4096;
// Cuts are looked for in windows of this many bytes, each read with enough
// after it for the tab and the longest number that follow its last cut. Small
// enough for the window and the numbers read from it to stay in a core's own
// cache: windows of 256 KiB made the reading take a fifth longer.
inline constexpr std::int64_t kPieceWindowBytes = 1 << 16;
// Numbers are handed on in blocks of at most this many: 256 KiB, large
// enough for a block to be written in one call that costs little, small
// enough to stay in a core's own cache with the text it came from.
inline constexpr std::size_t kPieceNumbersPerBlock = 1 << 15;

// The text is searched a span at a time, and the numbers of a span are read
// at once.
inline constexpr std::size_t kPieceSpanBytes = 1 << 13;

// A span of a share's text: `text` holds the window it lies in, from the
// file's byte `windowStart` up to the file's end or kPieceWindowBytes, with
// kPieceCutLookAhead + kMaxNumberText readable bytes after it (zeros past the
// file's end); the span is its `length` bytes from `from`.
struct TextSpan {
  std::string_view text;
  std::int64_t windowStart;
  std::size_t from;
  std::size_t length;
};

// Calls onSpan with the spans that cover `share`, in order, until it returns
// false; throws ConvoraError when the file has become shorter than when it
// was opened.
void ForEachSpan(SourceFile& source, Stretch share, const std::function<bool(const TextSpan&)>& onSpan);

// Calls onNumbers with the numbers of the pieces whose cut (its carriage
// return) lies in the bytes of `share`, in order, a block at a time; returns
// how many there were. Every piece belongs to exactly one share, wherever the
// text is split.
std::int64_t ForEachPieceNumber(SourceFile& source, Stretch share,
                                const std::function<void(std::span<const double>)>& onNumbers);

}  // namespace convora
