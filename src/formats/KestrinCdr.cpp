#include "formats/KestrinCdr.h"

#include <cmath>
#include <cstdint>
#include <string>

#include "abf/ConvoraError.h"
#include "abf/LittleEndian.h"

// A CDR recording: a 512-byte header, then records of 512 16-bit samples of
// one channel. The samples are already counts, so they are copied unchanged,
// and the recording's calibration goes into the scale factor instead.

namespace convora {
namespace {

// Where this conversion finds its values in the source's 172-byte header.
constexpr std::size_t kRecordCountAt = 0;
constexpr std::size_t kSecondsAt = 4;
constexpr std::size_t kIntervalMsAt = 98;
constexpr std::size_t kUnitsPerCountAt = 102;
constexpr std::size_t kRangeVoltsAt = 106;
constexpr std::size_t kUnitTextAt = 110;
constexpr std::size_t kUnitTextWidth = 2;
constexpr std::size_t kResolutionAt = 122;

constexpr std::int64_t kFirstRecordAt = 512;
constexpr std::int64_t kRecordBytes = 1024;
constexpr std::int32_t kSamplesPerRecord = 512;

}  // namespace

void ConvertCDR(Workbench& bench) {
  bench.Prompt().SetBusy(true);
  // The header was read from this same file when the format was recognised.
  const auto& head = bench.WorkHeader.Bytes();
  const auto records = LoadLittleEndian<std::int16_t>(&head[kRecordCountAt]);
  const auto secondsBits = LoadLittleEndian<std::uint32_t>(&head[kSecondsAt]);
  const auto intervalMs = LoadLittleEndian<float>(&head[kIntervalMsAt]);
  const auto unitsPerCount = LoadLittleEndian<float>(&head[kUnitsPerCountAt]);
  const auto rangeBits = LoadLittleEndian<std::uint32_t>(&head[kRangeVoltsAt]);
  const auto range = LoadLittleEndian<float>(&head[kRangeVoltsAt]);
  const auto resolution = LoadLittleEndian<std::int16_t>(&head[kResolutionAt]);
  const std::string unit(reinterpret_cast<const char*>(&head[kUnitTextAt]), kUnitTextWidth);

  // Single precision throughout, as the header's own fields are.
  const float interval = intervalMs * 1000.0f;
  if (!std::isfinite(interval)) {
    throw ConvoraError("the header's sample interval is not a usable number");
  }
  const float countsTimesCalibration = static_cast<float>(resolution) * unitsPerCount;
  if (countsTimesCalibration == 0.0f) {
    throw ConvoraError("the header's converter resolution or calibration is 0, so no scale "
                       "factor can be made");
  }
  const float scaleFactor = range / countsTimesCalibration;
  if (!std::isfinite(countsTimesCalibration) || !std::isfinite(scaleFactor)) {
    throw ConvoraError("the header's range and calibration give no usable scale factor");
  }

  SourceFile source(bench.SelectedFilePath);
  // A zero or negative count (read signed, as the header stores it) means no
  // data: the header alone is written, with the length as it comes out.
  const std::int64_t dataBytes = records > 0 ? records * kRecordBytes : 0;
  if (source.Length() < kFirstRecordAt + dataBytes) {
    throw ConvoraError("the file holds fewer data records than its header says (" +
                       std::to_string(records) + ")");
  }

  AbfHeader h = StampedTemplate(bench);
  h.Set(abf::lActualAcqLength, std::int32_t{records} * kSamplesPerRecord);
  h.Set(abf::fADCSampleInterval, interval);
  h.SetBits(abf::fSecondsPerRun, secondsBits);
  h.SetBits(abf::fADCRange, rangeBits);
  h.Set(abf::lADCResolution, std::int32_t{resolution});
  // With this factor a reader's value of count c is c x units-per-count.
  SetChannelFields(h, 0, unit, scaleFactor);

  WriteAbfOutput(bench, h, [&](DataSectionWriter& out) {
    CopyBytes(source, kFirstRecordAt, dataBytes, out);
  });
  TellCarriedChannelCount(bench, h);
}

const FormatDescriptor kKestrinCdrFormat{
    "Kestrin's CDR",
    [](const RecognitionInput& in) {
      const std::string_view mark = in.CharsAt(168, 4);
      return Contains(mark, "CDR") || Contains(mark, "3");
    },
    ConvertCDR};

}  // namespace convora
