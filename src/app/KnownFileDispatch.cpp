#include "app/KnownFileDispatch.h"

#include <string>

#include "abf/FileIo.h"
#include "abf/LittleEndian.h"
#include "abf/PathText.h"

namespace convora {

RecognitionInput ReadRecognitionInput(const std::filesystem::path& path) {
  SourceFile source(path);
  AbfHeader::Image head{};
  source.ReadPadded(0, head);
  std::int16_t lastBlockMark = 0;
  const std::int64_t length = source.Length();
  if (length > 0 && length % kTorvaneBlockBytes == 0) {
    // Lies inside the file: the last block ends 46 bytes after the mark.
    std::uint8_t mark[2];
    source.ReadPadded((length / kTorvaneBlockBytes - 1) * kTorvaneBlockBytes + kTorvaneMarkOffset,
                      mark);
    lastBlockMark = LoadLittleEndian<std::int16_t>(mark);
  }
  return MakeRecognitionInput(head, length, path, lastBlockMark);
}

void ConvertKnownFile(Workbench& bench,
                      const std::function<void(Workbench&)>& convertUnknownBinary) {
  const ArrowAtEnd arrow(bench.Prompt());
  const RecognitionInput input = ReadRecognitionInput(bench.SelectedFilePath);
  bench.WorkHeader = input.header;

  const std::vector<const RecognitionRow*> matches = MatchingRows(input);
  for (const RecognitionRow* row : matches) RunRow(bench, *row);
  if (!matches.empty()) return;

  const std::string text = "This file (" + PathText(bench.SelectedFilePath.filename()) +
                           ") has unrecognizable data file format.  Would you like to proceed "
                           "with unknown binary file conversion?";
  if (bench.Prompt().AskYesNo({"unknown", "Unknown Data File", text})) {
    convertUnknownBinary(bench);
  }
}

}  // namespace convora
