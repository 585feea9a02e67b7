// The Igor text reader's shares against its line-by-line reading, on the
// fuzzer's bytes: both must find the same waves with the same values, or
// refuse the file with the same message, and the extremes the shares find
// must be those of the values. A difference aborts, which the fuzzer
// reports with the input.
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "FuzzHarness.h"
#include "formats/igortext/IgorTextLayout.h"

namespace {

using namespace convora;

struct Outcome {
  std::string text;  // the refusal, or the waves and blocks found
  std::vector<double> values;
};

Outcome Read(const std::filesystem::path& path, bool lineByLine) {
  Outcome outcome;
  try {
    SourceFile source(path);
    IgorTextLayout layout = lineByLine ? ReadIgorTextLineByLine(source, path.parent_path())
                                       : ReadIgorText(source, path.parent_path());
    for (std::size_t b = 0; b < layout.blocks.size(); ++b) {
      const IgorTextBlock& block = layout.blocks[b];
      outcome.text += "block " + std::to_string(block.columns) + "x" + std::to_string(block.rows) + "\n";
      std::vector<double> values(block.columns * static_cast<std::size_t>(block.rows));
      ReadBlockRows(layout, b, 0, values);
      // Extremes found on the way must be those of the values.
      for (std::size_t c = 0; c < block.extremes.size(); ++c) {
        Extremes column(values.at(c));
        for (std::size_t i = c; i < values.size(); i += block.columns) column.Add(values[i]);
        if (!(column.Minimum() == block.extremes[c].Minimum() && column.Maximum() == block.extremes[c].Maximum())) {
          std::abort();
        }
      }
      outcome.values.insert(outcome.values.end(), values.begin(), values.end());
    }
    for (const IgorTextWave& wave : layout.waves) {
      outcome.text += wave.name + " " + std::to_string(wave.block) + " " + std::to_string(wave.column) +
                      " " + std::to_string(wave.stepSeconds) + " " + wave.unit + "\n";
    }
    for (const std::string& name : layout.textWaves) outcome.text += "text " + name + "\n";
  } catch (const ConvoraError& error) {
    outcome.text = error.what();
  }
  return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto path = fuzz::ScratchFolder() / "waves.itx";
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  const Outcome shares = Read(path, false);
  const Outcome lines = Read(path, true);
  if (shares.text != lines.text || shares.values.size() != lines.values.size() ||
      (!shares.values.empty() &&
       std::memcmp(shares.values.data(), lines.values.data(), shares.values.size() * sizeof(double)) != 0)) {
    std::abort();
  }
  return 0;
}
