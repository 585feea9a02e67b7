#include "formats/WinEdr.h"

#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "formats/InterleavedScans.h"
#include "formats/KeyValueHeader.h"
#include "formats/RecordingOutput.h"
#include "formats/SourceValues.h"

// A WinEDR recording: a text header of KEY=value lines in its first NBH
// bytes, then NP int16 samples of NC channels, interleaved; channel c sits at
// position YOc of each scan. Its value is (count - YZc) x AD / (ADCMAX x YCFc
// x YAGc), AD the converter's voltage range and YCF x YAG the volts per unit.

namespace convora {

void ConvertWinCDR(Workbench& bench) {
  SourceFile source(bench.SelectedFilePath);
  const KeyValueHeader header(source, 2048);
  const std::int64_t channels = header.Count("NC", 1);
  const double range = header.Required("AD");
  const double adcMax = header.Required("ADCMAX");
  const double intervalSeconds = header.Required("DT");
  // NP counts the samples of all channels; without it the file's length tells.
  const std::int64_t available = (source.Length() - header.Bytes()) / 2;
  const std::int64_t samples = header.Number("NP") ? header.Count("NP", 0) : available;
  const std::int64_t scans = samples / channels;
  if (scans < 1) throw ConvoraError("the recording holds no samples");
  RequireInFile(source, header.Bytes(), scans * channels * 2,
                "the " + std::to_string(scans * channels) + " samples of the header (NP)");

  Recording recording;
  std::vector<std::size_t> position;
  for (std::int64_t c = 0; c < channels; ++c) {
    const std::string n = std::to_string(c);
    recording.channels.push_back(header.Channel(
        c, range / (adcMax * header.Required("YCF" + n) * header.Required("YAG" + n))));
    position.push_back(header.Position(c, channels));
  }
  recording.channelIntervalUs = intervalSeconds * 1e6;
  recording.scansPerSweep = scans;

  InterleavedScans reader(source, StoredType::kInt16, ByteOrder::LittleEndian,
                          static_cast<std::size_t>(channels), position, {header.Bytes()});
  WriteRecording(bench, recording, reader);
}

const FormatDescriptor kWinCdrFormat{
    "Kestrin's WinCDR", [](const RecognitionInput& in) { return in.ProbeStartsWith("VER=6"); },
    ConvertWinCDR};

}  // namespace convora
