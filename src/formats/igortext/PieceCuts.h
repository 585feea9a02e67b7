#pragma once
// Where the pieces of a Macintosh Igor text wave start: after every cut, a
// carriage return followed by a tab. Finding them is a tenth of the work of
// reading such a wave, so the search runs on the widest vectors the
// processor has.

#include <cstddef>
#include <cstdint>

namespace convora {

// Bytes past the searched stretch that a search reads.
inline constexpr std::size_t kPieceCutLookAhead = 64;
// Entries past the last start found that a search may overwrite.
inline constexpr std::size_t kPieceStartsSlack = 8;

// Fills `starts` with the offset from `text` of every piece whose cut lies in
// the `length` bytes from `text + from`, in order, and returns how many there
// are.
using PieceStartsSearch = std::size_t (*)(const char* text, std::size_t from, std::size_t length,
                                          std::uint32_t* starts);

// A search every processor can run.
std::size_t PortablePieceStarts(const char* text, std::size_t from, std::size_t length,
                                std::uint32_t* starts);

// The fastest search this processor can run.
PieceStartsSearch FastestPieceStarts();

}  // namespace convora
