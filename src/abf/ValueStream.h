#pragma once
// Reads runs of floating-point values from a source in bounded chunks, so that
// a converter can take two passes over a recording (extremes, then scaling)
// without holding it in memory.

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "abf/FileIo.h"
#include "abf/Parallel.h"
#include "abf/SampleScaling.h"

namespace convora {

enum class ValueType { Float32, Float64 };
enum class ByteOrder { LittleEndian, BigEndian };

inline std::int64_t ValueBytes(ValueType type) { return type == ValueType::Float32 ? 4 : 8; }

// Fills `out` with the values (float or double) stored from byte `offset` in
// `order`, as this machine holds them; bytes past the end read as zero.
template <typename Value>
void ReadValues(SourceFile& source, std::int64_t offset, ByteOrder order, std::span<Value> out);

// Calls `visit` with consecutive chunks of the `count` values that start at
// byte `offset`, read as ReadValues reads them. The chunks are small enough
// to stay in the processor's cache while a converter works on them in place.
template <typename Value>
void ForEachValueChunk(SourceFile& source, std::int64_t offset, std::int64_t count,
                       ByteOrder order, const std::function<void(std::span<Value>)>& visit);

// Runs of `count` values of `valueBytes` bytes each, for the form below: one
// per core, none too short to be worth a thread of its own.
std::vector<Stretch> ValueRunsFor(std::int64_t count, std::int64_t valueBytes);

// The same values split into `runs` (value indices, from ValueRunsFor) and
// visited at once, one run to a core: visit(k, chunk) gets the chunks of
// runs[k] in order, read-only. Each run reads through a stream of its own
// (SourceFile::Reopened, which refuses a file whose length has changed).
template <typename Value>
void ForEachValueChunkInRuns(
    SourceFile& source, std::int64_t offset, const std::vector<Stretch>& runs, ByteOrder order,
    const std::function<void(std::size_t, std::span<const Value>)>& visit);

}  // namespace convora
