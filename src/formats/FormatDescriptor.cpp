#include "formats/FormatDescriptor.h"

#include <algorithm>
#include <cctype>

#include "abf/PathText.h"

namespace convora {
namespace {

template <typename Change>
std::string PathWith(const std::filesystem::path& path, Change change) {
  std::string text = PathText(path);
  for (char& c : text) c = static_cast<char>(change(static_cast<unsigned char>(c)));
  return text;
}

}  // namespace

std::string RecognitionInput::UpperPath() const {
  return PathWith(path, [](unsigned char c) { return std::toupper(c); });
}

std::string RecognitionInput::LowerPath() const {
  return PathWith(path, [](unsigned char c) { return std::tolower(c); });
}

RecognitionInput MakeRecognitionInput(std::span<const std::uint8_t> firstBytes, std::int64_t length,
                                      std::filesystem::path path, std::int16_t lastBlockMark) {
  RecognitionInput input;
  input.header = AbfHeader(firstBytes);
  std::copy_n(input.header.Bytes().begin(), kProbeBytes, input.probe.begin());
  input.length = length;
  input.path = std::move(path);
  input.lastBlockMark = lastBlockMark;
  return input;
}

void TellNoConverter(Workbench& bench, const FormatDescriptor& format) {
  const std::string path = PathText(bench.SelectedFilePath);
  if (!format.unpublished.empty()) {
    bench.Prompt().Notice(path + ": " + std::string(format.unpublished) + "; nothing written");
    return;
  }
  bench.Prompt().Notice(path + ": recognised as " + std::string(format.name) +
                        "; Convora has no converter for this format yet, nothing written");
}

}  // namespace convora
