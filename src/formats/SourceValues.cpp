#include "formats/SourceValues.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "abf/ByteOrder.h"
#include "abf/ConvoraError.h"

namespace convora {
namespace {

template <typename T>
T LoadIn(const std::uint8_t* bytes, ByteOrder order) {
  T value;
  std::memcpy(&value, bytes, sizeof(T));
  const bool swap = (order == ByteOrder::BigEndian) == (std::endian::native == std::endian::little);
  if constexpr (sizeof(T) > 1) {
    if (swap) value = ReverseBytes(value);
  }
  return value;
}

template <typename T>
void Decode(std::span<const std::uint8_t> bytes, ByteOrder order, std::size_t stride,
            std::span<double> out) {
  if (stride == sizeof(T) && order == ByteOrder::LittleEndian &&
      std::endian::native == std::endian::little) {
    // Values side by side as this processor stores them: a loop the compiler
    // can lay out for vectors.
    for (std::size_t i = 0; i < out.size(); ++i) {
      T value;
      std::memcpy(&value, bytes.data() + i * sizeof(T), sizeof(T));
      out[i] = static_cast<double>(value);
    }
    return;
  }
  for (std::size_t i = 0; i < out.size(); ++i) {
    out[i] = static_cast<double>(LoadIn<T>(bytes.data() + i * stride, order));
  }
}

template <typename Value>
void Weave(std::span<const Value> columns, std::size_t width, std::span<Value> out) {
  const std::size_t scans = out.size() / width;
  if (width == 2) {
    const Value* const a = columns.data();
    const Value* const b = a + scans;
    for (std::size_t s = 0; s < scans; ++s) {
      out[2 * s] = a[s];
      out[2 * s + 1] = b[s];
    }
    return;
  }
  for (std::size_t s = 0; s < scans; ++s) {
    for (std::size_t c = 0; c < width; ++c) out[s * width + c] = columns[c * scans + s];
  }
}

}  // namespace

void WeaveColumns(std::span<const double> columns, std::size_t width, std::span<double> out) {
  Weave(columns, width, out);
}

void WeaveColumns(std::span<const std::int16_t> columns, std::size_t width,
                  std::span<std::int16_t> out) {
  Weave(columns, width, out);
}

const std::uint8_t* FieldReader::At(std::size_t offset, std::size_t width,
                                    std::string_view field) const {
  if (offset > bytes_.size() || width > bytes_.size() - offset) {
    throw ConvoraError("the file ends before its " + std::string(field) + " (byte " +
                       std::to_string(offset) + ")");
  }
  return bytes_.data() + offset;
}

template <typename T>
T FieldReader::Load(std::size_t offset, std::string_view field) const {
  return LoadIn<T>(At(offset, sizeof(T), field), order_);
}

std::int16_t FieldReader::Int16(std::size_t o, std::string_view f) const {
  return Load<std::int16_t>(o, f);
}
std::uint16_t FieldReader::UInt16(std::size_t o, std::string_view f) const {
  return Load<std::uint16_t>(o, f);
}
std::int32_t FieldReader::Int32(std::size_t o, std::string_view f) const {
  return Load<std::int32_t>(o, f);
}
std::uint32_t FieldReader::UInt32(std::size_t o, std::string_view f) const {
  return Load<std::uint32_t>(o, f);
}
std::int64_t FieldReader::Int64(std::size_t o, std::string_view f) const {
  return Load<std::int64_t>(o, f);
}
float FieldReader::Float(std::size_t o, std::string_view f) const { return Load<float>(o, f); }
double FieldReader::Double(std::size_t o, std::string_view f) const { return Load<double>(o, f); }
std::uint8_t FieldReader::Byte(std::size_t o, std::string_view f) const { return *At(o, 1, f); }

std::string FieldReader::Text(std::size_t offset, std::size_t width, std::string_view field) const {
  const char* text = reinterpret_cast<const char*>(At(offset, width, field));
  std::string value(text, std::find(text, text + width, '\0'));
  while (!value.empty() && value.back() == ' ') value.pop_back();
  return value;
}

std::string FieldReader::CountedText(std::size_t offset, std::size_t width,
                                     std::string_view field) const {
  const std::size_t length = std::min<std::size_t>(Byte(offset, field), width - 1);
  return Text(offset + 1, length, field);
}

std::vector<std::uint8_t> ReadBytes(SourceFile& source, std::int64_t offset, std::size_t count) {
  const std::int64_t available = std::max<std::int64_t>(0, source.Length() - offset);
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(
      std::min<std::int64_t>(static_cast<std::int64_t>(count), available)));
  source.ReadPadded(offset, bytes);
  return bytes;
}

std::size_t BytesOf(StoredType type) {
  switch (type) {
    case StoredType::kInt8:
    case StoredType::kUInt8:
      return 1;
    case StoredType::kInt16:
    case StoredType::kUInt16:
      return 2;
    case StoredType::kInt32:
    case StoredType::kUInt32:
    case StoredType::kFloat32:
      return 4;
    case StoredType::kFloat64:
      return 8;
  }
  return 1;
}

bool IsWholeCount(StoredType type) {
  return type == StoredType::kInt8 || type == StoredType::kUInt8 || type == StoredType::kInt16;
}

void DecodeValues(std::span<const std::uint8_t> bytes, StoredType type, ByteOrder order,
                  std::size_t stride, std::span<double> out) {
  switch (type) {
    case StoredType::kInt8:
      return Decode<std::int8_t>(bytes, order, stride, out);
    case StoredType::kUInt8:
      return Decode<std::uint8_t>(bytes, order, stride, out);
    case StoredType::kInt16:
      return Decode<std::int16_t>(bytes, order, stride, out);
    case StoredType::kUInt16:
      return Decode<std::uint16_t>(bytes, order, stride, out);
    case StoredType::kInt32:
      return Decode<std::int32_t>(bytes, order, stride, out);
    case StoredType::kUInt32:
      return Decode<std::uint32_t>(bytes, order, stride, out);
    case StoredType::kFloat32:
      return Decode<float>(bytes, order, stride, out);
    case StoredType::kFloat64:
      return Decode<double>(bytes, order, stride, out);
  }
}

void ReadValues(SourceFile& source, std::int64_t offset, StoredType type, ByteOrder order,
                std::size_t stride, std::span<double> out) {
  if (out.empty()) return;
  // Kept between calls: converters read stretch after stretch, and a fresh
  // buffer would be cleared each time only to be overwritten.
  thread_local std::vector<std::uint8_t> bytes;
  bytes.resize((out.size() - 1) * stride + BytesOf(type));
  source.ReadPadded(offset, bytes);
  DecodeValues(bytes, type, order, stride, out);
}

std::optional<double> SecondsPerTimeUnit(std::string_view unit) {
  if (unit.empty() || unit == "s" || unit == "sec") return 1.0;
  if (unit == "ms") return 1e-3;
  if (unit == "us" || unit == "\xB5s" || unit == "\xC2\xB5s") return 1e-6;
  return std::nullopt;
}

void RequireInFile(const SourceFile& source, std::int64_t offset, std::int64_t bytes,
                   std::string_view what) {
  if (offset < 0 || bytes < 0 || offset > source.Length() || bytes > source.Length() - offset) {
    throw ConvoraError("the file is too short for " + std::string(what) + " (" +
                       std::to_string(bytes) + " bytes from byte " + std::to_string(offset) +
                       "; the file has " + std::to_string(source.Length()) + ")");
  }
}

}  // namespace convora
