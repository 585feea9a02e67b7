#include "abf/AbfHeader.h"

#include <algorithm>

namespace convora {

AbfHeader::AbfHeader(std::span<const std::uint8_t> bytes) {
  std::copy_n(bytes.begin(), std::min(bytes.size(), image_.size()), image_.begin());
}

std::string AbfHeader::Get(TextField field) const {
  return std::string(reinterpret_cast<const char*>(&image_[field.offset]), field.width);
}

void AbfHeader::Set(TextField field, std::string_view text) {
  const std::size_t kept = std::min(text.size(), field.width);
  std::copy_n(text.begin(), kept, &image_[field.offset]);
  std::fill_n(&image_[field.offset + kept], field.width - kept, std::uint8_t{' '});
}

std::string AbfHeader::Get(TextArrayField field, std::size_t index) const {
  if (index >= field.count) throw std::out_of_range("ABF header text index out of range");
  return Get(TextField{field.offset + index * field.width, field.width});
}

void AbfHeader::Set(TextArrayField field, std::size_t index, std::string_view text) {
  if (index >= field.count) throw std::out_of_range("ABF header text index out of range");
  Set(TextField{field.offset + index * field.width, field.width}, text);
}

bool IsAbfFile(const AbfHeader& header) { return header.Get(abf::lFileSignature) == "ABF "; }

}  // namespace convora
