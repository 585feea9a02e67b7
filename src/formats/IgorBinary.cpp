#include "formats/IgorBinary.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "abf/ByteOrder.h"
#include "abf/ConvoraError.h"
#include "abf/FileIo.h"
#include "abf/LittleEndian.h"
#include "abf/Numbers.h"
#include "abf/SampleScaling.h"
#include "abf/ValueStream.h"

// A version-2 Igor binary wave: a 16-byte file header, the wave header from
// byte 16 and the values from byte 126, in the byte order of the machine that
// wrote it (the version word tells which). One wave becomes one ABF channel.
// Everything that cannot be converted ends the file before the output opens,
// and the template record is only patched once the whole conversion is known
// to succeed.

namespace convora {
namespace {

constexpr std::int64_t kValuesAt = 126;
constexpr std::int16_t kPcVersion = 2;
constexpr std::int16_t kMacVersion = 512;  // 2 as a big-endian word
constexpr std::int16_t kFloat32Type = 2;
constexpr std::int16_t kFloat64Type = 4;

struct WaveHeader {
  ByteOrder order;
  std::int16_t type;
  std::string dUnits;  // 4 characters, as stored
  std::int32_t npnts;
  double hsA;  // x step: the sample interval in seconds
};

WaveHeader ReadWaveHeader(SourceFile& source) {
  std::array<std::uint8_t, kValuesAt> head{};
  source.ReadPadded(0, head);
  const auto version = LoadLittleEndian<std::int16_t>(&head[0]);
  if (version != kPcVersion && version != kMacVersion) {
    throw ConvoraError("not an Igor binary wave of version 2");
  }
  WaveHeader wave{version == kMacVersion ? ByteOrder::BigEndian : ByteOrder::LittleEndian,
                  LoadLittleEndian<std::int16_t>(&head[16]),
                  std::string(reinterpret_cast<const char*>(&head[50]), 4),
                  LoadLittleEndian<std::int32_t>(&head[58]), LoadLittleEndian<double>(&head[64])};
  if (wave.order == ByteOrder::BigEndian) {
    wave.type = SwapInt16(wave.type);
    wave.npnts = SwapInt32(wave.npnts);
    wave.hsA = SwapDouble(wave.hsA);
  }
  return wave;
}

// Amperes and volts by the first letter of the data units; anything else
// passes unchanged under its own 4 characters.
std::optional<UnitConversion> UnitOf(std::string_view dUnits) {
  if (dUnits.starts_with('A')) return kAmperesAsPicoamperes;
  if (dUnits.starts_with('V')) return kVoltsAsMillivolts;
  return std::nullopt;
}

// Values in the stored unit, at the wave's own width: a float product is
// rounded back to a float, and one beyond the type's range cannot be held.
template <typename Value>
void ToStoredUnit(std::span<Value> values, const UnitConversion& unit) {
  if (MultiplyWithinRange(values, unit.factor) != values.size()) {
    throw ConvoraError(std::string("a value converted to ") + unit.unit +
                       " is beyond the range of " +
                       (sizeof(Value) == 4 ? "a 32-bit" : "a 64-bit") + " float");
  }
}

// A NaN with the sign bit clear is taken as a gap and stored as 0; it prints
// as a quiet NaN whatever its payload. A negative NaN is kept as it is, and
// later fails to scale. Multiplying by a unit factor keeps a NaN's sign.
template <typename Value>
bool IsGap(Value value) { return std::isnan(value) && !std::signbit(value); }

// The wave's extremes in the stored unit, both starting at value(0) as it
// stands, so that a NaN there leaves them NaN and the wave cannot be scaled.
// Gaps never move them, as no NaN does.
struct WaveScan {
  std::optional<Extremes> extremes;
  bool negativeNaN = false;
};

// The values as stored, a run to a core.
template <typename Value>
WaveScan ScanStored(SourceFile& source, const WaveHeader& wave) {
  const std::vector<Stretch> runs = ValueRunsFor(wave.npnts, sizeof(Value));
  std::vector<RunExtremes> extremes = ExtremesOfRuns(runs.size());
  std::vector<char> negativeNaN(runs.size(), 0);  // a byte per run: written at once
  ForEachValueChunkInRuns<Value>(source, kValuesAt, runs, wave.order,
                                 [&](std::size_t k, std::span<const Value> values) {
    extremes[k].Add(values);
    negativeNaN[k] = negativeNaN[k] || AnyNegativeNaN(values);
  });
  return {RunExtremes::Join(extremes),
          std::any_of(negativeNaN.begin(), negativeNaN.end(), [](char found) { return found != 0; })};
}

// The values in the stored unit, product by product.
template <typename Value>
WaveScan ScanProducts(SourceFile& source, const WaveHeader& wave, const UnitConversion& unit) {
  WaveScan scan;
  ForEachValueChunk<Value>(source, kValuesAt, wave.npnts, wave.order, [&](std::span<Value> chunk) {
    ToStoredUnit(chunk, unit);
    if (!scan.extremes) scan.extremes.emplace(chunk[0]);
    scan.extremes->Add(std::span<const Value>(chunk));
    scan.negativeNaN = scan.negativeNaN || AnyNegativeNaN(std::span<const Value>(chunk));
  });
  return scan;
}

// Scanned as stored where ExtremesOfProducts can tell the extremes in the
// stored unit from them, product by product otherwise.
template <typename Value>
WaveScan ScanWave(SourceFile& source, const WaveHeader& wave,
                  const std::optional<UnitConversion>& unit) {
  WaveScan scan = ScanStored<Value>(source, wave);
  if (!unit) return scan;
  scan.extremes = ExtremesOfProducts<Value>(*scan.extremes, unit->factor);
  return scan.extremes ? scan : ScanProducts<Value>(source, wave, *unit);
}

template <typename Value>
void WriteWave(SourceFile& source, const WaveHeader& wave, const std::optional<UnitConversion>& unit,
               const CountScaler& toCount, DataSectionWriter& out) {
  const std::optional<std::int16_t> gapCount = toCount(0.0);
  const std::vector<Stretch> runs = ValueRunsFor(wave.npnts, sizeof(Value));
  RunBatches batches(out, runs);
  ForEachValueChunkInRuns<Value>(source, kValuesAt, runs, wave.order,
                                 [&](std::size_t k, std::span<const Value> values) {
    const std::span<std::int16_t> counts = batches[k].Next(values.size());
    const std::size_t misfits = unit ? toCount.ToCounts(values, unit->factor, counts)
                                     : toCount.ToCounts(values, counts);
    if (misfits == 0) return;
    // Every value but a gap was checked before the output opened, so gaps
    // are all that can miss here; never write a wrapped count.
    std::size_t gaps = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (!IsGap(values[i]) || !gapCount) continue;
      counts[i] = *gapCount;
      ++gaps;
    }
    if (gaps != misfits) throw ConvoraError("a value does not fit a 16-bit sample");
  });
  batches.Finish();
}

}  // namespace

void ConvertIgor(Workbench& bench) {
  SourceFile source(bench.SelectedFilePath);
  bench.Prompt().SetBusy(true);
  const WaveHeader wave = ReadWaveHeader(source);
  if (wave.type != kFloat32Type && wave.type != kFloat64Type) return;  // nothing to convert
  const ValueType type = wave.type == kFloat32Type ? ValueType::Float32 : ValueType::Float64;
  if (wave.npnts <= 0) throw ConvoraError("the wave holds no points");
  const std::int64_t needed = kValuesAt + std::int64_t{wave.npnts} * ValueBytes(type);
  if (source.Length() < needed) {
    throw ConvoraError("the file is " + std::to_string(source.Length()) + " bytes long, but " +
                       std::to_string(wave.npnts) + " points need " + std::to_string(needed));
  }
  const auto unit = UnitOf(wave.dUnits);

  const WaveScan scan = type == ValueType::Float32 ? ScanWave<float>(source, wave, unit)
                                                  : ScanWave<double>(source, wave, unit);
  const Extremes& extremes = *scan.extremes;

  // Kept on purpose: when the peak is on the positive side the full-scale
  // reference is 1000 units whatever the data, else the maximum's magnitude.
  // Outputs are compared with earlier ones made this way.
  const double high = extremes.MaximumMagnitude();
  const double range = high > extremes.MinimumMagnitude() ? 1000.0 : high;

  AbfHeader h = StampedTemplate(bench);
  h.Set(abf::lActualAcqLength, wave.npnts);
  const auto secondsPerRun = NarrowToSingle(static_cast<double>(wave.npnts) * wave.hsA);
  const auto interval = NarrowToSingle(wave.hsA * 1'000'000.0);
  if (!secondsPerRun || !interval) {
    throw ConvoraError("the wave's x step does not fit fADCSampleInterval or fSecondsPerRun");
  }
  h.Set(abf::fSecondsPerRun, *secondsPerRun);
  h.Set(abf::fADCRange, 10.24f);
  h.Set(abf::fADCSampleInterval, *interval);
  h.Set(abf::lADCResolution, 32768);
  const auto scaleFactor = HalfScaleFactor(range);
  if (!scaleFactor) {
    throw ConvoraError(range == 0.0 ? "the wave's range is 0, so it cannot be scaled"
                                    : "the wave's range is too small to scale");
  }
  SetChannelFields(h, 0, unit ? std::string_view(unit->unit) : std::string_view(wave.dUnits),
                   scaleFactor);

  const CountScaler toCount(h, 0);
  RequireCountsFit(toCount, extremes);
  if (scan.negativeNaN) throw ConvoraError("the wave holds a negative NaN, which cannot be scaled");

  WriteAbfOutput(bench, h, [&](DataSectionWriter& out) {
    if (type == ValueType::Float32) {
      WriteWave<float>(source, wave, unit, toCount, out);
    } else {
      WriteWave<double>(source, wave, unit, toCount, out);
    }
  });
  TellCarriedChannelCount(bench, h);
}

const FormatDescriptor kIgorBinaryFormat{
    "Igor Binary File v2.0",
    [](const RecognitionInput& in) {
      const auto version = in.LittleEndianAt<std::int16_t>(0);
      return version == 2 || version == 512;  // version 2 in either byte order
    },
    ConvertIgor};

}  // namespace convora
