#include "generic/DataBlock.h"

#include <cmath>
#include <string>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"

namespace convora {

DataBlock LocateDataBlock(const SourceFile& source, std::string_view byteLocationText) {
  const double location = LeadingNumber(byteLocationText);
  const auto length = static_cast<double>(source.Length());
  if (location < 0) {
    throw ConvoraError("the byte location " + std::string(byteLocationText) +
                       " is negative; it counts bytes from the start of the file");
  }
  if (location > length) {
    throw ConvoraError("the byte location " + std::string(byteLocationText) +
                       " lies past the end of the file (" +
                       std::to_string(source.Length()) + " bytes)");
  }
  // Reading starts at the 1-based position location + 1, rounded half to even
  // to a whole position, so a fractional location reads from where that lands.
  const auto offset = static_cast<std::int64_t>(std::nearbyint(location + 1.0)) - 1;
  return {location, offset, length - location};
}

}  // namespace convora
