#pragma once
// Where the user's data block lies in a source file: from the byte location
// typed in the settings to the end of the file.

#include <cstdint>
#include <string_view>

#include "abf/FileIo.h"

namespace convora {

struct DataBlock {
  double byteLocation;  // as typed, read leniently
  std::int64_t offset;  // the first byte read
  double bytes;         // file length - byte location
};

// Throws ConvoraError for a negative location or one past the end of the file.
DataBlock LocateDataBlock(const SourceFile& source, std::string_view byteLocationText);

}  // namespace convora
