#pragma once
// Reading what the format converters find in their sources: header fields in
// either byte order, checked against the bytes there are, and stored values
// of any of the usual types, turned into doubles for RecordingOutput.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "abf/FileIo.h"
#include "abf/ValueStream.h"

namespace convora {

// Bytes of a source header, read by offset. A field that lies past the end of
// the bytes throws ConvoraError naming it, so a truncated header is reported
// by the field that does not fit.
class FieldReader {
 public:
  FieldReader(std::span<const std::uint8_t> bytes, ByteOrder order)
      : bytes_(bytes), order_(order) {}

  std::int16_t Int16(std::size_t offset, std::string_view field) const;
  std::uint16_t UInt16(std::size_t offset, std::string_view field) const;
  std::int32_t Int32(std::size_t offset, std::string_view field) const;
  std::uint32_t UInt32(std::size_t offset, std::string_view field) const;
  std::int64_t Int64(std::size_t offset, std::string_view field) const;
  float Float(std::size_t offset, std::string_view field) const;
  double Double(std::size_t offset, std::string_view field) const;
  std::uint8_t Byte(std::size_t offset, std::string_view field) const;
  // `width` characters, up to the first zero byte, trailing blanks cut.
  std::string Text(std::size_t offset, std::size_t width, std::string_view field) const;
  // A text that starts with its length byte (at most `width` - 1 characters).
  std::string CountedText(std::size_t offset, std::size_t width, std::string_view field) const;

  std::size_t Size() const { return bytes_.size(); }
  ByteOrder Order() const { return order_; }

 private:
  const std::uint8_t* At(std::size_t offset, std::size_t width, std::string_view field) const;
  template <typename T>
  T Load(std::size_t offset, std::string_view field) const;

  std::span<const std::uint8_t> bytes_;
  ByteOrder order_;
};

// The bytes of `source` from `offset` on, `count` of them or as many as the
// file holds.
std::vector<std::uint8_t> ReadBytes(SourceFile& source, std::int64_t offset, std::size_t count);

enum class StoredType { kInt8, kUInt8, kInt16, kUInt16, kInt32, kUInt32, kFloat32, kFloat64 };

std::size_t BytesOf(StoredType type);
// Whether a value of the type is a whole count that fits 16 bits as it is.
bool IsWholeCount(StoredType type);

// out[i] = the value of `type` stored at bytes[i x stride], as a double.
void DecodeValues(std::span<const std::uint8_t> bytes, StoredType type, ByteOrder order,
                  std::size_t stride, std::span<double> out);

// The same, read from `source` from `offset` on; a value past the end of the
// file reads as zero (the converters check the lengths they rely on first).
void ReadValues(SourceFile& source, std::int64_t offset, StoredType type, ByteOrder order,
                std::size_t stride, std::span<double> out);

// out[s x width + c] = columns[c x scans + s], where scans = out.size() /
// width: the channels of a recording read a column at a time, woven into
// scans. Two channels, the usual case, take a loop laid out for vectors.
void WeaveColumns(std::span<const double> columns, std::size_t width, std::span<double> out);
void WeaveColumns(std::span<const std::int16_t> columns, std::size_t width,
                  std::span<std::int16_t> out);

// Seconds per unit of a time axis ("s", "ms", "us" or with a micro sign; no
// unit means seconds); nothing for a unit that is not a time.
std::optional<double> SecondsPerTimeUnit(std::string_view unit);

// Throws ConvoraError unless the file holds `bytes` from `offset` on; `what`
// names them ("the data of record 3").
void RequireInFile(const SourceFile& source, std::int64_t offset, std::int64_t bytes,
                   std::string_view what);

}  // namespace convora
