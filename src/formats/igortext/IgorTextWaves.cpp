#include "formats/igortext/IgorTextWaves.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"
#include "abf/PathText.h"
#include "abf/ScratchFile.h"
#include "abf/TextLines.h"
#include "formats/RecordingOutput.h"
#include "formats/SourceValues.h"

// An Igor text file: a first line "IGOR", then blocks of
//   WAVES[/flags] name1 name2 ...
//   BEGIN
//   rows of numbers, one column per wave
//   END
// and command lines "X cmd; cmd", among them "SetScale/P x start, delta,
// "unit", name" (the x step) and "SetScale d min, max, "unit", name" (the
// data unit). The text is read once: its layout is learnt while its numbers
// are read, and the numbers wait in a scratch file, block after block and row
// after row, for the passes over the values, which cost a fraction of reading
// the text again.

namespace convora {
namespace {

struct Block {
  std::int64_t firstValue;  // in the scratch file, counted in values
  std::int64_t rows = 0;
  std::size_t columns;
};

struct Wave {
  std::string name;
  std::size_t block;
  std::size_t column;
  double stepSeconds = 0.0;  // 0 until a SetScale/P x gives it
  std::string unit;
};

struct Layout {
  std::vector<Block> blocks;
  std::vector<Wave> waves;
  std::vector<std::string> textWaves;
};

// The numbers of the blocks, appended to a scratch file a batch at a time.
class KeptNumbers {
 public:
  explicit KeptNumbers(const std::filesystem::path& folder) : file_(folder) {}

  std::int64_t Count() const { return written_ + static_cast<std::int64_t>(batch_.size()); }
  void Add(double number) {
    batch_.push_back(number);
    if (batch_.size() == kBatch) Flush();
  }
  void Flush() {
    file_.WriteDoubles(written_, batch_);
    written_ += static_cast<std::int64_t>(batch_.size());
    batch_.clear();
  }
  // Numbers [first, first + out.size()), once flushed.
  void Read(std::int64_t first, std::span<double> out) { file_.ReadDoubles(first, out); }

 private:
  // 256 KiB: few writes, and a batch that stays in the cache.
  static constexpr std::size_t kBatch = 1 << 15;
  ScratchFile file_;
  std::vector<double> batch_;
  std::int64_t written_ = 0;
};

std::string_view Trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string WaveName(std::string_view text) {
  text = Trimmed(text);
  if (text.size() >= 2 && text.front() == '\'' && text.back() == '\'')
    text = text.substr(1, text.size() - 2);
  return std::string(text);
}

// The arguments of a command, cut at commas outside double quotes.
std::vector<std::string_view> Arguments(std::string_view text) {
  std::vector<std::string_view> parts;
  bool quoted = false;
  std::size_t start = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '"') quoted = !quoted;
    if (text[i] == ',' && !quoted) {
      parts.push_back(Trimmed(text.substr(start, i - start)));
      start = i + 1;
    }
  }
  parts.push_back(Trimmed(text.substr(start)));
  return parts;
}

// "SetScale/P x start, delta, "unit", name" and "SetScale d min, max, "unit", name".
void ReadSetScale(std::string_view command, std::map<std::string, Wave*>& byName) {
  command = Trimmed(command);
  if (!command.starts_with("SetScale")) return;
  command.remove_prefix(8);
  while (command.starts_with('/')) {  // flags such as /P or /I
    const auto end = command.find_first_of(" \t");
    command.remove_prefix(end == std::string_view::npos ? command.size() : end);
  }
  command = Trimmed(command);
  if (command.empty()) return;
  const char dimension = command.front();
  const auto args = Arguments(command.substr(1));
  if (args.size() < 4) return;
  const auto wave = byName.find(WaveName(args[3]));
  if (wave == byName.end()) return;
  const std::string unit(Unquoted(args[2]));
  if (dimension == 'x') {
    const auto step = ParseWholeNumber(args[1]);
    const auto seconds = SecondsPerTimeUnit(unit);
    if (step && seconds) wave->second->stepSeconds = *step * *seconds;
  } else if (dimension == 'd') {
    wave->second->unit = unit;
  }
}

Layout ReadLayout(SourceFile& source, KeptNumbers& numbers) {
  Layout layout;
  LineCursor lines(source);
  const auto first = lines.Next();
  if (!first || !first->starts_with("IGOR"))
    throw ConvoraError("not an Igor text file (no IGOR line)");
  std::vector<std::string> pending;  // names of a WAVES line waiting for its BEGIN
  bool pendingText = false;
  bool reading = false;  // the rows of the last block are being read
  std::vector<std::string_view> fields;
  std::vector<std::pair<std::int64_t, std::string>> commands;
  while (const auto line = lines.Next()) {
    const std::string_view text = Trimmed(*line);
    if (reading) {
      Block& block = layout.blocks.back();
      if (text == "END") {
        reading = false;
      } else if (!text.empty()) {
        SplitFields(text, Separator::Space, fields);
        if (fields.size() != block.columns) {
          FailAtLine(lines.Number(), std::to_string(fields.size()) + " values for " +
                                         std::to_string(block.columns) + " waves");
        }
        for (const std::string_view field : fields) {
          const auto number = ParseWholeNumber(field);
          if (!number) FailAtLine(lines.Number(), "\"" + std::string(field) + "\" is not a number");
          numbers.Add(*number);
        }
        ++block.rows;
      }
    } else if (text.starts_with("WAVES")) {
      std::string_view rest = text.substr(5);
      pendingText = false;
      while (rest.starts_with('/')) {  // flags: /D, /N=(...), /O, /T for text waves
        const auto end = rest.find_first_of(" \t");
        const std::string_view flag = rest.substr(0, end);
        pendingText = pendingText || flag.starts_with("/T");
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end);
        rest = Trimmed(rest);
      }
      pending.clear();
      for (const auto& name : Arguments(rest)) {
        SplitFields(name, Separator::Space, fields);
        for (const auto field : fields) pending.push_back(WaveName(field));
      }
    } else if (text == "BEGIN") {
      if (pending.empty()) FailAtLine(lines.Number(), "BEGIN without a WAVES line");
      if (pendingText) {
        layout.textWaves.insert(layout.textWaves.end(), pending.begin(), pending.end());
        while (const auto skipped = lines.Next()) {
          if (Trimmed(*skipped) == "END") break;
        }
      } else {
        layout.blocks.push_back({numbers.Count(), 0, pending.size()});
        for (std::size_t c = 0; c < pending.size(); ++c) {
          layout.waves.push_back({pending[c], layout.blocks.size() - 1, c, 0.0, ""});
        }
        reading = true;
      }
      pending.clear();
    } else if (text.starts_with("X ")) {
      commands.emplace_back(lines.Number(), std::string(text.substr(2)));
    }
  }
  if (reading) throw ConvoraError("the last block of values has no END line");
  numbers.Flush();
  // Commands may come before or after the waves they name.
  std::map<std::string, Wave*> byName;
  for (Wave& wave : layout.waves) byName.emplace(wave.name, &wave);
  for (const auto& [number, command] : commands) {
    std::size_t start = 0;
    for (std::size_t end; (end = command.find(';', start)) != std::string::npos; start = end + 1) {
      ReadSetScale(std::string_view(command).substr(start, end - start), byName);
    }
    ReadSetScale(std::string_view(command).substr(start), byName);
  }
  return layout;
}

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
std::optional<Grid> PulseGrid(const Layout& layout, std::vector<std::string>& leftOut) {
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

std::int64_t RowsOf(const Layout& layout, std::size_t wave) {
  return layout.blocks[layout.waves[wave].block].rows;
}

// Reads the values of a sweep's waves from the kept numbers: each block's
// rows of the stretch at once.
class WaveReader : public ScanReader {
 public:
  WaveReader(KeptNumbers& numbers, const Layout& layout, const Grid& grid)
      : numbers_(numbers), layout_(layout), grid_(grid) {}

  void ReadScans(std::int64_t sweep, std::int64_t first, std::span<double> out) override {
    const std::vector<std::size_t>& waves = grid_[static_cast<std::size_t>(sweep)];
    const std::size_t scans = out.size() / waves.size();
    std::map<std::size_t, std::vector<std::size_t>> byBlock;  // block -> channels in it
    for (std::size_t c = 0; c < waves.size(); ++c)
      byBlock[layout_.waves[waves[c]].block].push_back(c);
    for (const auto& [index, channels] : byBlock) {
      const Block& block = layout_.blocks[index];
      rows_.resize(scans * block.columns);
      numbers_.Read(block.firstValue + first * static_cast<std::int64_t>(block.columns), rows_);
      for (const std::size_t c : channels) {
        const std::size_t column = layout_.waves[waves[c]].column;
        for (std::size_t s = 0; s < scans; ++s)
          out[s * waves.size() + c] = rows_[s * block.columns + column];
      }
    }
  }

 private:
  KeptNumbers& numbers_;
  const Layout& layout_;
  const Grid& grid_;
  std::vector<double> rows_;
};

}  // namespace

void ConvertPulseItx2(Workbench& bench) {
  SourceFile source(bench.SelectedFilePath);
  KeptNumbers numbers(OutputNameFor(bench.SelectedFilePath).parent_path());
  const Layout layout = ReadLayout(source, numbers);
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
  const Wave& lead = layout.waves[grid[0][0]];
  for (const std::size_t w : grid[0]) {
    const Wave& wave = layout.waves[w];
    recording.channels.push_back({wave.name, wave.unit, 1.0, 0.0, false});
  }
  recording.channelIntervalUs = lead.stepSeconds > 0.0
                                    ? lead.stepSeconds * 1e6
                                    : AskSampleInterval(bench, IntervalRule::kPositive);
  recording.sweeps = static_cast<std::int64_t>(grid.size());
  recording.scansPerSweep = RowsOf(layout, grid[0][0]);
  if (recording.scansPerSweep == 0) throw ConvoraError("the waves hold no points");
  WaveReader reader(numbers, layout, grid);
  WriteRecording(bench, recording, reader);
}

}  // namespace convora
