#include "generic/WavExport.h"

#include <array>
#include <cmath>
#include <cstring>
#include <string>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"
#include "generic/DataBlock.h"

namespace convora {
namespace {

constexpr std::int64_t kWavHeaderBytes = 44;

template <typename T>
T Require(std::optional<T> value, const char* what) {
  if (!value) throw ConvoraError(std::string(what) + " does not fit the WAV header");
  return *value;
}

void PutText(std::uint8_t* at, const char (&text)[5]) { std::memcpy(at, text, 4); }

}  // namespace

void ConvertToWav(Workbench& bench, const BinarySettings& settings) {
  SourceFile source(bench.SelectedFilePath);
  const DataBlock block = LocateDataBlock(source, settings.byteLocation);
  const double interval = LeadingNumber(settings.sampleInterval);
  if (interval == 0.0) throw ConvoraError("the sample interval is 0; a WAV file needs a rate");

  const auto riffSize = Require(RoundToInt32(block.bytes + 36), "the file's length");
  const auto dataSize = Require(RoundToInt32(std::floor(block.bytes)), "the data size");
  const auto channels = Require(RoundToInt16(LeadingNumber(settings.channels)), "the channel count");
  const auto rate = Require(RoundToInt32(1.0 / interval * 1'000'000.0), "the sample rate");
  const auto byteRate = Require(RoundToInt32(channels * static_cast<double>(rate) * 16 / 8), "the byte rate");
  const auto blockAlign = Require(RoundToInt16(16.0 * channels / 8), "the block alignment");
  // One value more than dataSize / 2 - 1 rounded half to even: an odd data size
  // copies one byte from beyond the block (a zero at the end of the file).
  const std::int64_t values = static_cast<std::int64_t>(std::nearbyint(dataSize / 2.0 - 1.0)) + 1;

  bench.Prompt().SetBusy(true);
  const ArrowAtEnd arrow(bench.Prompt());
  std::array<std::uint8_t, kWavHeaderBytes> header{};
  PutText(&header[0], "RIFF");
  StoreLittleEndian<std::int32_t>(&header[4], riffSize);
  PutText(&header[8], "WAVE");
  PutText(&header[12], "fmt ");
  StoreLittleEndian<std::int32_t>(&header[16], 16);
  StoreLittleEndian<std::int16_t>(&header[20], 1);  // PCM
  StoreLittleEndian<std::int16_t>(&header[22], channels);
  StoreLittleEndian<std::int32_t>(&header[24], rate);
  StoreLittleEndian<std::int32_t>(&header[28], byteRate);
  StoreLittleEndian<std::int16_t>(&header[32], blockAlign);
  StoreLittleEndian<std::int16_t>(&header[34], 16);
  PutText(&header[36], "data");
  StoreLittleEndian<std::int32_t>(&header[40], dataSize);

  const auto output = bench.OutputPathFor(".wav");
  OutputFile file = OpenOutputFor(bench.SelectedFilePath, output);
  file.WriteAt(0, header);
  DataSectionWriter writer(file, kWavHeaderBytes);
  CopyBytes(source, block.offset, values * 2, writer);
  file.Close();
  bench.AddWritten(output);
}

}  // namespace convora
