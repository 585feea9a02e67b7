#include "formats/igortext/IgorTextWaves.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "abf/PathText.h"
#include "formats/RecordingOutput.h"
#include "formats/SourceValues.h"
#include "formats/igortext/IgorTextLayout.h"

namespace convora {
namespace {

// The four numbers Pulse puts at the end of a trace's name: group, series,
// sweep and trace.
std::optional<std::array<long, 4>> PulseNumbers(const std::string& name) {
  std::array<long, 4> numbers{};
  std::size_t end = name.size();
  for (int k = 3; k >= 0; --k) {
    const std::size_t start = name.find_last_not_of("0123456789", end - 1);
    if (start == std::string::npos || start + 1 == end || name[start] != '_') return std::nullopt;
    const char* digits = name.data() + start + 1;
    const auto [stop, error] =
        std::from_chars(digits, name.data() + end, numbers[static_cast<std::size_t>(k)]);
    if (error != std::errc()) return std::nullopt;  // too many digits for a number Pulse writes
    if (start == 0) return k == 0 ? std::optional(numbers) : std::nullopt;
    end = start;
  }
  return numbers;
}

// Which wave holds each channel of each sweep: [sweep][channel].
using Grid = std::vector<std::vector<std::size_t>>;

// Pulse's exports: one wave per sweep and trace of the first series.
std::optional<Grid> PulseGrid(const IgorTextLayout& layout, std::vector<std::string>& leftOut) {
  std::map<std::pair<long, long>, std::size_t> cells;  // (sweep, trace) -> wave
  std::set<long> sweeps, traces;
  std::optional<std::pair<long, long>> series;
  for (std::size_t w = 0; w < layout.waves.size(); ++w) {
    const auto numbers = PulseNumbers(layout.waves[w].name);
    if (!numbers) return std::nullopt;
    if (!series) series = std::pair((*numbers)[0], (*numbers)[1]);
    if (std::pair((*numbers)[0], (*numbers)[1]) != *series) {
      leftOut.push_back(layout.waves[w].name);
      continue;
    }
    cells[{(*numbers)[2], (*numbers)[3]}] = w;
    sweeps.insert((*numbers)[2]);
    traces.insert((*numbers)[3]);
  }
  if (cells.size() != sweeps.size() * traces.size()) return std::nullopt;
  Grid grid;
  for (const long sweep : sweeps) {
    grid.emplace_back();
    for (const long trace : traces) grid.back().push_back(cells[{sweep, trace}]);
  }
  return grid;
}

std::int64_t RowsOf(const IgorTextLayout& layout, std::size_t wave) {
  return layout.blocks[layout.waves[wave].block].rows;
}

// Reads the values of a sweep's waves from the kept numbers: each block's
// rows of the stretch at once.
class WaveReader : public ScanReader {
 public:
  WaveReader(const IgorTextLayout& layout, const Grid& grid) : layout_(layout), grid_(grid) {}

  std::unique_ptr<ScanReader> ForAnotherThread() const override {
    return std::make_unique<WaveReader>(layout_, grid_);
  }

  std::optional<Extremes> KnownExtremes(std::size_t channel) const override {
    std::optional<Extremes> joined;
    for (const std::vector<std::size_t>& sweep : grid_) {
      const IgorTextWave& wave = layout_.waves[sweep[channel]];
      const IgorTextBlock& block = layout_.blocks[wave.block];
      if (block.extremes.empty()) return std::nullopt;
      JoinExtremes(joined, block.extremes[wave.column]);
    }
    // An infinite value is refused by the pass that finds the extremes.
    if (!joined || !std::isfinite(joined->Minimum()) || !std::isfinite(joined->Maximum())) return std::nullopt;
    return joined;
  }

  void ReadScans(std::int64_t sweep, std::int64_t first, std::span<double> out) override {
    const std::vector<std::size_t>& waves = grid_[static_cast<std::size_t>(sweep)];
    const std::size_t scans = out.size() / waves.size();
    if (const auto whole = WholeBlock(waves)) {  // rows as they are: no detour
      ReadBlockRows(layout_, *whole, first, out);
      return;
    }
    std::map<std::size_t, std::vector<std::size_t>> byBlock;  // block -> channels in it
    for (std::size_t c = 0; c < waves.size(); ++c)
      byBlock[layout_.waves[waves[c]].block].push_back(c);
    for (const auto& [index, channels] : byBlock) {
      const IgorTextBlock& block = layout_.blocks[index];
      rows_.resize(scans * block.columns);
      ReadBlockRows(layout_, index, first, rows_);
      for (const std::size_t c : channels) {
        const std::size_t column = layout_.waves[waves[c]].column;
        for (std::size_t s = 0; s < scans; ++s)
          out[s * waves.size() + c] = rows_[s * block.columns + column];
      }
    }
  }

 private:
  // The block whose columns are `waves`, in order, if there is one.
  std::optional<std::size_t> WholeBlock(const std::vector<std::size_t>& waves) const {
    const std::size_t block = layout_.waves[waves[0]].block;
    if (layout_.blocks[block].columns != waves.size()) return std::nullopt;
    for (std::size_t c = 0; c < waves.size(); ++c) {
      const IgorTextWave& wave = layout_.waves[waves[c]];
      if (wave.block != block || wave.column != c) return std::nullopt;
    }
    return block;
  }

  const IgorTextLayout& layout_;
  const Grid& grid_;
  std::vector<double> rows_;
};

}  // namespace

void ConvertPulseItx2(Workbench& bench) {
  SourceFile source(bench.SelectedFilePath);
  IgorTextLayout layout = ReadIgorText(source, OutputNameFor(bench.SelectedFilePath).parent_path());
  const std::string where = PathText(bench.SelectedFilePath) + ": ";
  if (!layout.textWaves.empty()) {
    std::string names;
    for (const auto& name : layout.textWaves) names += (names.empty() ? "" : ", ") + name;
    bench.Prompt().Notice(where + "text waves are not converted: " + names);
  }
  if (layout.waves.empty()) throw ConvoraError("the file holds no numeric wave");

  std::vector<std::string> leftOut;
  Grid grid;
  if (auto pulse = PulseGrid(layout, leftOut); pulse && !pulse->empty()) {
    grid = std::move(*pulse);
    for (const auto& sweep : grid) {
      for (const std::size_t w : sweep) {
        if (RowsOf(layout, w) != RowsOf(layout, grid[0][0])) {
          throw ConvoraError("the sweeps of the Pulse export differ in length (" +
                             layout.waves[w].name + ")");
        }
      }
    }
  } else {
    // One gap-free recording of the waves as long as the first.
    leftOut.clear();
    grid.emplace_back();
    for (std::size_t w = 0; w < layout.waves.size(); ++w) {
      if (RowsOf(layout, w) == RowsOf(layout, 0)) {
        grid[0].push_back(w);
      } else {
        leftOut.push_back(layout.waves[w].name);
      }
    }
  }
  if (!leftOut.empty()) {
    std::string names;
    for (const auto& name : leftOut) names += (names.empty() ? "" : ", ") + name;
    bench.Prompt().Notice(where + "left out, for their length or series: " + names);
  }

  Recording recording;
  const IgorTextWave& lead = layout.waves[grid[0][0]];
  for (const std::size_t w : grid[0]) {
    const IgorTextWave& wave = layout.waves[w];
    recording.channels.push_back({wave.name, wave.unit, 1.0, 0.0, false});
  }
  recording.channelIntervalUs = lead.stepSeconds > 0.0
                                    ? lead.stepSeconds * 1e6
                                    : AskSampleInterval(bench, IntervalRule::kPositive);
  recording.sweeps = static_cast<std::int64_t>(grid.size());
  recording.scansPerSweep = RowsOf(layout, grid[0][0]);
  if (recording.scansPerSweep == 0) throw ConvoraError("the waves hold no points");
  WaveReader reader(layout, grid);
  WriteRecording(bench, recording, reader);
  CloseKept(layout);
}

}  // namespace convora
