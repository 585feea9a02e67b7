#pragma once
// Reads runs of floating-point values from a source in bounded chunks, so that
// a converter can take two passes over a recording (extremes, then scaling)
// without holding it in memory.

#include <cstdint>
#include <functional>
#include <span>

#include "abf/FileIo.h"

namespace convora {

enum class ValueType { Float32, Float64 };
enum class ByteOrder { LittleEndian, BigEndian };

// Calls `visit` with consecutive chunks of the `count` values that start at
// byte `offset`, each value widened to double (exactly). Big-endian values are
// reversed with the byte-order helpers; bytes past the end read as zero.
void ForEachValueChunk(SourceFile& source, std::int64_t offset, std::int64_t count, ValueType type,
                       ByteOrder order, const std::function<void(std::span<const double>)>& visit);

inline std::int64_t ValueBytes(ValueType type) { return type == ValueType::Float32 ? 4 : 8; }

}  // namespace convora
