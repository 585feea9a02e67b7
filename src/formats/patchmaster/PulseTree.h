#pragma once
// The recordings of a PatchMaster bundle: the bundle header's item table
// points to the pulsed tree (.pul), whose records (root, group, series,
// sweep, trace) say where each trace's samples lie in the raw data (.dat).
// Every offset, length and count is checked against the file while the tree
// is read, so a series handed on can be read without further checks.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "abf/FileIo.h"
#include "abf/StartDateTime.h"
#include "formats/SourceValues.h"

namespace convora::patchmaster {

inline constexpr std::size_t kBundleHeaderBytes = 256;

// One trace of a sweep, as compact as the tree of a long recording needs.
struct Trace {
  std::int64_t dataOffset;  // from the start of the file
  std::int64_t points;
  double scale;  // value = stored x scale, in the channel's unit
  double intervalSeconds;
  StoredType type;
  ByteOrder order;
};

struct Channel {
  std::string label;
  std::string unit;
};

struct Series {
  std::string groupLabel;
  std::string label;
  // When the series started, as PatchMaster's clock read it; nothing when
  // the record has no time or one that is no date.
  std::optional<LocalDateTime> start;
  // Named after the traces of the first sweep; every sweep holds as many.
  std::vector<Channel> channels;
  std::vector<std::vector<Trace>> sweeps;  // [sweep][channel]
};

// Whether the first bytes are a bundle header: "DAT1" or "DAT2" padded with
// zeros to 8 characters, an item count of 1 to 12 in the byte order the
// header names, and that byte order flag 0 or 1.
bool IsBundleHeader(std::span<const std::uint8_t> first);

// Every series of every group, in the tree's order. Throws ConvoraError,
// naming the field, for a bundle or tree that does not fit the file.
std::vector<Series> ReadBundle(SourceFile& source);

}  // namespace convora::patchmaster
