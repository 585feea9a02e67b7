#pragma once
// Where the pieces of a Macintosh Igor text wave start: after every cut, a
// carriage return followed by a tab; and where the fields and lines of other
// Igor text start and end. Finding them is a tenth of the work of reading
// such text, so the search runs on the widest vectors the processor has.

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

// The same kind of search for text read line by line: where its fields
// start, and which of them start a line. A field starts at a byte that is
// neither a blank (space, tab) nor a line end (CR, LF) and follows one of
// them; it starts a line when a line end lies between it and the field
// before.
inline constexpr std::uint32_t kFirstOfLine = std::uint32_t{1} << 31;

// What a search carries from one stretch of text to the next.
struct FieldSearchState {
  bool afterSeparator = true;   // the byte before was a blank or line end
  std::uint64_t lineEnded = 1;  // 1: a line end has come since the last field
  std::int64_t lastLineEnd = -1;  // offset of the last line end from the text searched
  // Characters between two line ends, at most: exact from 64 on, where a
  // line spans the end of a block; shorter lines may be left out.
  std::int64_t longestLine = 0;
  std::int64_t linesStarted = 0;  // fields found so far that start a line
};

// Writes the offset from `text` of every field start in the `length` bytes
// from `text + from`, in order, with kFirstOfLine added to those that start
// a line, and returns how many there are: at most one per two bytes, plus
// one.
using FieldStartsSearch = std::size_t (*)(const char* text, std::size_t from, std::size_t length,
                                          FieldSearchState& state, std::uint32_t* starts);
FieldStartsSearch FastestFieldStarts();
// The same search without the marks: the starts alone, written in steps that
// do not hang on how many a block holds, as the piece search writes them.
// Where every field starts a line (a value a line), the marks tell nothing
// that state.linesStarted does not.
FieldStartsSearch FastestUnmarkedFieldStarts();

}  // namespace convora
