#include "formats/matlab/VariableCheck.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "formats/SourceValues.h"

// Version 5 layout: a 128-byte header whose last four bytes are the version
// (0x0100) and the letters "IM" as the writer's byte order sees them, then
// one element per variable: a tag of two 32-bit words (type, byte count) and
// that many bytes. Type 14 is a matrix, type 15 a matrix compressed as one
// zlib stream. A matrix opens with three subelements: array flags,
// dimensions, name. A subelement's tag is either the same two words, its
// data padded to 8 bytes, or, where the first word's upper half is not
// zero, one word (type below, byte count above) and up to 4 bytes of data.

namespace convora {
namespace {

constexpr std::int64_t kHeaderBytes = 128;
constexpr std::uint32_t kMatrix = 14;
constexpr std::uint32_t kCompressed = 15;
constexpr std::size_t kChunk = 1 << 16;
// Enough of a matrix for the three opening subelements of any sensible variable.
constexpr std::size_t kOpening = 4096;

// Inflates `bytes` bytes from `at`, keeping the first kOpening bytes of what
// they inflate to and counting all; true when the stream ends cleanly within them.
bool Inflates(SourceFile& source, std::int64_t at, std::int64_t bytes,
              std::vector<std::uint8_t>& opening, std::int64_t& inflated) {
  z_stream z{};
  if (inflateInit(&z) != Z_OK) throw ConvoraError("cannot start zlib to check the file");
  std::vector<std::uint8_t> in(kChunk);
  std::vector<std::uint8_t> out(kChunk);
  opening.clear();
  int state = Z_OK;
  for (std::int64_t done = 0; state == Z_OK && done < bytes;) {
    const auto take = static_cast<std::size_t>(std::min<std::int64_t>(kChunk, bytes - done));
    source.ReadPadded(at + done, {in.data(), take});
    done += static_cast<std::int64_t>(take);
    z.next_in = in.data();
    z.avail_in = static_cast<uInt>(take);
    do {
      z.next_out = out.data();
      z.avail_out = static_cast<uInt>(out.size());
      state = inflate(&z, Z_NO_FLUSH);
      const std::size_t made = out.size() - z.avail_out;
      inflated += static_cast<std::int64_t>(made);
      const std::size_t keep = std::min(made, kOpening - opening.size());
      opening.insert(opening.end(), out.begin(), out.begin() + static_cast<std::ptrdiff_t>(keep));
    } while (state == Z_OK && z.avail_out == 0);
    if (state == Z_BUF_ERROR) state = Z_OK;  // no progress: the next chunk is needed
  }
  inflateEnd(&z);
  return state == Z_STREAM_END;
}

// Whether the three opening subelements of a matrix whose data are `bytes`
// long lie within it; `opening` holds its first bytes, and past them nothing
// more can be told.
bool OpeningFits(std::span<const std::uint8_t> opening, std::int64_t bytes, ByteOrder order) {
  const FieldReader in(opening, order);
  std::int64_t at = 0;
  for (int k = 0; k < 3; ++k) {
    if (at + 8 > bytes) return false;
    if (at + 8 > static_cast<std::int64_t>(opening.size())) return true;
    const std::uint32_t first = in.UInt32(static_cast<std::size_t>(at), "subelement type");
    const std::int64_t size = in.UInt32(static_cast<std::size_t>(at) + 4, "subelement size");
    at += (first >> 16) != 0 ? 8 : 8 + size + (-size & 7);
  }
  return at <= bytes;
}

}  // namespace

void CheckVariables(SourceFile& source) {
  const std::vector<std::uint8_t> header = ReadBytes(source, 0, kHeaderBytes);
  if (header.size() < kHeaderBytes) return;  // libmatio names what is missing
  const bool little = header[126] == 'I' && header[127] == 'M';
  const ByteOrder order = little ? ByteOrder::LittleEndian : ByteOrder::BigEndian;
  if (FieldReader(header, order).UInt16(124, "version") != 0x0100) return;
  std::vector<std::uint8_t> opening;
  for (std::int64_t at = kHeaderBytes; at + 8 <= source.Length();) {
    const std::vector<std::uint8_t> tag = ReadBytes(source, at, 8);
    const FieldReader element(tag, order);
    const std::uint32_t type = element.UInt32(0, "variable type");
    const std::int64_t bytes =
        std::min<std::int64_t>(element.UInt32(4, "variable size"), source.Length() - at - 8);
    const std::string where = "the variable at byte " + std::to_string(at);
    if (type == kCompressed) {
      std::int64_t inflated = 0;
      if (!Inflates(source, at + 8, bytes, opening, inflated)) {
        throw ConvoraError(where + " does not inflate cleanly: the file is damaged");
      }
      // The stream holds one matrix element: its tag, then the subelements.
      const std::int64_t inner =
          opening.size() < 8
              ? 0
              : std::min<std::int64_t>(FieldReader(opening, order).UInt32(4, "matrix size"),
                                       inflated - 8);
      if (opening.size() >= 8 &&
          !OpeningFits(std::span<const std::uint8_t>(opening).subspan(8), inner, order)) {
        throw ConvoraError(where + " names a size past its own end: the file is damaged");
      }
    } else if (type == kMatrix) {
      opening = ReadBytes(source, at + 8,
                          static_cast<std::size_t>(
                              std::min<std::int64_t>(bytes, static_cast<std::int64_t>(kOpening))));
      if (!OpeningFits(opening, bytes, order)) {
        throw ConvoraError(where + " names a size past its own end: the file is damaged");
      }
    }
    at += 8 + element.UInt32(4, "variable size");
  }
}

}  // namespace convora
