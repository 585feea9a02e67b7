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
constexpr std::uint32_t kSparse = 5;  // the array class of a sparse matrix
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
// Whether the dimensions at `at` (a subelement of `size` bytes) claim no more
// values than the `bytes` of their variable can hold: every value but a sparse
// array's takes at least a byte, and libmatio sizes its cells and fields by them.
bool DimensionsFit(const FieldReader& in, std::int64_t at, std::int64_t size, bool sparse,
                   std::int64_t bytes) {
  if (sparse || at + 8 + size > static_cast<std::int64_t>(in.Size())) return true;
  std::int64_t values = 1;
  for (std::int64_t d = 0; d < size / 4; ++d) {
    const std::int64_t n = in.Int32(static_cast<std::size_t>(at + 8 + 4 * d), "dimension");
    if (n < 0) return false;
    values = n == 0 ? 0 : std::min<std::int64_t>(values * n, bytes + 1);
  }
  return values <= bytes;
}

bool OpeningFits(std::span<const std::uint8_t> opening, std::int64_t bytes, ByteOrder order) {
  const FieldReader in(opening, order);
  bool sparse = false;
  std::int64_t at = 0;
  for (int k = 0; k < 3; ++k) {
    if (at + 8 > bytes) return false;
    if (at + 8 > static_cast<std::int64_t>(opening.size())) return true;
    const std::uint32_t first = in.UInt32(static_cast<std::size_t>(at), "subelement type");
    const std::int64_t size = in.UInt32(static_cast<std::size_t>(at) + 4, "subelement size");
    // libmatio reads the array flags and the dimensions as full elements
    // (flags: 8 bytes of miUINT32; dimensions: at least two miINT32), and a
    // small element holds at most 4 bytes: anything else would put it out of step.
    const bool small = (first >> 16) != 0;
    if (k == 0 && (small || first != 6 || size != 8)) return false;
    if (k == 1 && (small || first != 5 || size < 8 || size % 4 != 0)) return false;
    if (small && (first >> 16) > 4) return false;
    if (k == 1 && !DimensionsFit(in, at, size, sparse, bytes)) return false;
    if (k == 0 && at + 16 <= static_cast<std::int64_t>(opening.size())) {
      sparse = (in.UInt32(static_cast<std::size_t>(at) + 8, "array flags") & 0xFF) == kSparse;
    }
    at += small ? 8 : 8 + size + (-size & 7);
  }
  return at <= bytes;
}

}  // namespace

void CheckVariables(SourceFile& source) {
  // Only the headers of versions 5 to 7.3 are let through: on any other,
  // libmatio falls back to reading version 4, whose dimensions it trusts.
  const std::vector<std::uint8_t> header = ReadBytes(source, 0, kHeaderBytes);
  const bool marked = header.size() == kHeaderBytes;
  const bool little = marked && header[126] == 'I' && header[127] == 'M';
  if (!little && !(marked && header[126] == 'M' && header[127] == 'I')) {
    throw ConvoraError(
        "not a MAT-file of version 5 or later: its 128-byte header has no byte-order mark "
        "(IM or MI at byte 126)");
  }
  const ByteOrder order = little ? ByteOrder::LittleEndian : ByteOrder::BigEndian;
  const std::uint16_t version = FieldReader(header, order).UInt16(124, "version");
  if (version == 0x0200) return;  // 7.3: an HDF5 file, which libmatio reads through HDF5
  if (version != 0x0100) {
    throw ConvoraError("not a MAT-file of version 5, 6, 7 or 7.3: its header names version " +
                       std::to_string(version) + " (256 or 512 expected)");
  }
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
    at += 8 + std::int64_t{element.UInt32(4, "variable size")};  // 64-bit: no wrap back
  }
}

}  // namespace convora
