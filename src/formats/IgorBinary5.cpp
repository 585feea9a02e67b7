#include "formats/IgorBinary5.h"

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "formats/RecordingOutput.h"
#include "formats/SourceValues.h"

// A version-5 Igor binary wave (WaveMetrics Technical Note 003): a 64-byte
// BinHeader5 with the sizes of the sections after the data, a 320-byte
// WaveHeader5, then the values, column by column, in the byte order of the
// machine that wrote the file. Units longer than 3 characters live in the
// "extended units" sections that follow the data, formula and note.

namespace convora {
namespace {

constexpr std::size_t kHeaderBytes = 384;  // BinHeader5 + WaveHeader5: where the data start
constexpr std::size_t kWave = 64;          // WaveHeader5 within the header

struct Wave5 {
  ByteOrder order;
  StoredType type;
  std::string name;
  std::int64_t rows;
  std::int64_t columns;
  double stepSeconds;
  std::string dataUnit;
};

StoredType TypeOf(std::int16_t code) {
  if (code == 0) throw ConvoraError("the wave is a text wave: it holds no numbers to convert");
  if (code & 0x01) throw ConvoraError("the wave is complex: only real waves are converted");
  switch (code) {
    case 0x02:
      return StoredType::kFloat32;
    case 0x04:
      return StoredType::kFloat64;
    case 0x08:
      return StoredType::kInt8;
    case 0x10:
      return StoredType::kInt16;
    case 0x20:
      return StoredType::kInt32;
    case 0x48:
      return StoredType::kUInt8;
    case 0x50:
      return StoredType::kUInt16;
    case 0x60:
      return StoredType::kUInt32;
    default:
      throw ConvoraError("the wave's number type (" + std::to_string(code) + ") is unknown");
  }
}

// Seconds per unit of the wave's x scale; no unit means seconds.
double SecondsPerXUnit(const std::string& unit) {
  if (const auto seconds = SecondsPerTimeUnit(unit)) return *seconds;
  throw ConvoraError("the wave's x unit \"" + unit + "\" is not a time in s, ms or us");
}

Wave5 ReadWave(SourceFile& source) {
  const std::vector<std::uint8_t> head = ReadBytes(source, 0, kHeaderBytes);
  const std::int16_t version = FieldReader(head, ByteOrder::LittleEndian).Int16(0, "version");
  const ByteOrder order = version == 5 ? ByteOrder::LittleEndian : ByteOrder::BigEndian;
  if (version != 5 && version != 1280) throw ConvoraError("not an Igor binary wave of version 5");
  const FieldReader in(head, order);

  Wave5 wave{order,
             TypeOf(in.Int16(kWave + 16, "number type")),
             in.Text(kWave + 28, 32, "wave name"),
             0,
             1,
             0.0,
             in.Text(kWave + 148, 4, "data units")};
  const std::int32_t points = in.Int32(kWave + 12, "point count (npnts)");
  std::int32_t dims[4];
  for (int d = 0; d < 4; ++d) dims[d] = in.Int32(kWave + 68 + 4 * d, "dimension sizes (nDim)");
  if (points <= 0) throw ConvoraError("the wave holds no points");
  if (dims[2] > 0 || dims[3] > 0) {
    throw ConvoraError("the wave has more than 2 dimensions; only 1-D and 2-D waves are converted");
  }
  wave.rows = dims[0] > 0 ? dims[0] : points;
  wave.columns = dims[1] > 0 ? dims[1] : 1;
  if (wave.rows * wave.columns != points) {
    throw ConvoraError("the wave's dimension sizes (nDim) do not make up its " +
                       std::to_string(points) + " points");
  }

  // Extended units follow the data, the formula and the note; each is used
  // when its size is given.
  const std::int64_t wfmSize = in.Int32(4, "wave size (wfmSize)");
  const std::int64_t formulaSize = in.Int32(8, "formula size");
  const std::int64_t noteSize = in.Int32(12, "note size");
  const std::int64_t dataUnitsSize = in.Int32(16, "extended data units size");
  const std::int64_t xUnitsSize = in.Int32(20, "extended x units size");
  const std::int64_t units = kWave + wfmSize + formulaSize + noteSize;
  const auto extended = [&](std::int64_t at, std::int64_t size, const char* what) {
    if (size <= 0) return std::string();
    if (size > 1024 || wfmSize < 0 || formulaSize < 0 || noteSize < 0) {
      throw ConvoraError(std::string("the wave's ") + what + " size is not plausible");
    }
    RequireInFile(source, at, size, std::string("the wave's ") + what);
    const auto bytes = ReadBytes(source, at, static_cast<std::size_t>(size));
    return FieldReader(bytes, order).Text(0, bytes.size(), what);
  };
  if (const std::string unit = extended(units, dataUnitsSize, "extended data units");
      !unit.empty()) {
    wave.dataUnit = unit;
  }
  std::string xUnit = extended(units + dataUnitsSize, xUnitsSize, "extended x units");
  if (xUnit.empty()) xUnit = in.Text(kWave + 152, 4, "x units");
  wave.stepSeconds = in.Double(kWave + 84, "x step (sfA)") * SecondsPerXUnit(xUnit);
  if (!(wave.stepSeconds > 0.0) || !std::isfinite(wave.stepSeconds)) {
    throw ConvoraError("the wave's x step (sfA) is not a positive time");
  }
  RequireInFile(source, kHeaderBytes, points * static_cast<std::int64_t>(BytesOf(wave.type)),
                "the wave's " + std::to_string(points) + " points");
  return wave;
}

// Igor keeps a 2-D wave column by column: a scan takes one value from each.
class ColumnReader : public ScanReader {
 public:
  ColumnReader(SourceFile& source, const Wave5& wave) : source_(&source), wave_(wave) {}

  std::unique_ptr<ScanReader> ForAnotherThread() const override {
    return CopyReading(*this, &ColumnReader::source_);
  }

  void ReadScans(std::int64_t, std::int64_t first, std::span<double> out) override {
    const auto columns = static_cast<std::size_t>(wave_.columns);
    const std::size_t scans = out.size() / columns;
    const auto size = static_cast<std::int64_t>(BytesOf(wave_.type));
    const std::int64_t firstAt = static_cast<std::int64_t>(kHeaderBytes) + first * size;
    if (columns == 1) {
      return ReadValues(*source_, firstAt, wave_.type, wave_.order, static_cast<std::size_t>(size),
                        out);
    }
    column_.resize(out.size());
    for (std::size_t c = 0; c < columns; ++c) {
      const std::int64_t at = firstAt + static_cast<std::int64_t>(c) * wave_.rows * size;
      ReadValues(*source_, at, wave_.type, wave_.order, static_cast<std::size_t>(size),
                 std::span<double>(column_).subspan(c * scans, scans));
    }
    WeaveColumns(std::span<const double>(column_), columns, out);
  }

 private:
  SourceFile* source_;
  const Wave5& wave_;
  std::vector<double> column_;
};

}  // namespace

void ConvertIgor5(Workbench& bench) {
  SourceFile source(bench.SelectedFilePath);
  const Wave5 wave = ReadWave(source);
  Recording recording;
  for (std::int64_t c = 0; c < wave.columns; ++c) {
    recording.channels.push_back(
        {wave.columns == 1 ? wave.name : wave.name + "_" + std::to_string(c), wave.dataUnit, 1.0,
         0.0, IsWholeCount(wave.type)});
  }
  recording.channelIntervalUs = wave.stepSeconds * 1e6;
  recording.scansPerSweep = wave.rows;
  ColumnReader reader(source, wave);
  WriteRecording(bench, recording, reader);
}

const FormatDescriptor kIgorBinary5Format{"Igor Binary File v5",
                                          [](const RecognitionInput& in) {
                                            const auto version = in.LittleEndianAt<std::int16_t>(0);
                                            return (version == 5 || version == 1280) &&
                                                   Contains(in.LowerPath(), ".ibw");
                                          },
                                          ConvertIgor5};

}  // namespace convora
