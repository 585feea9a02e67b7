#pragma once
// "Convert Known File to ABF" for one selected file: recognise its format by
// its contents and run every converter whose signature matches.

#include <filesystem>
#include <functional>

#include "app/Recognition.h"
#include "workbench/Workbench.h"

namespace convora {

// Reads what recognition needs from `path`: the first 6144 bytes, the probe,
// the length and, for a length that is a non-zero multiple of 2048, the mark
// in the last 2048-byte block.
RecognitionInput ReadRecognitionInput(const std::filesystem::path& path);

// Recognises bench.SelectedFilePath (its first 6144 bytes become WorkHeader),
// runs every matching row of the recognition table in order, and when none
// matched asks whether to convert it as unknown binary, calling
// `convertUnknownBinary` on Yes. Ends with the busy pointer off.
void ConvertKnownFile(Workbench& bench,
                      const std::function<void(Workbench&)>& convertUnknownBinary);

}  // namespace convora
