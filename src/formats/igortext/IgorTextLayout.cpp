#include "formats/igortext/IgorTextLayout.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string_view>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"
#include "abf/Parallel.h"
#include "abf/TextLines.h"
#include "formats/SourceValues.h"
#include "formats/igortext/IgorTextRows.h"

namespace convora {
namespace {

// The numbers of the blocks, appended to a scratch file a batch at a time.
class KeptNumbers {
 public:
  explicit KeptNumbers(const std::filesystem::path& folder) : file_(folder) {}

  std::int64_t Count() const { return written_ + static_cast<std::int64_t>(batch_.size()); }
  void Add(double number) {
    batch_.push_back(number);
    if (batch_.size() == kBatch) Flush();
  }
  // The file, every number written.
  ScratchFile Written() && {
    Flush();
    return std::move(file_);
  }

 private:
  void Flush() {
    file_.WriteDoubles(written_, batch_);
    written_ += static_cast<std::int64_t>(batch_.size());
    batch_.clear();
  }

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
void ReadSetScale(std::string_view command, std::map<std::string, IgorTextWave*>& byName) {
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

// The lines other than rows, read in order: the WAVES lines, their BEGIN,
// and the commands, which may come before or after the waves they name.
class LayoutBuilder {
 public:
  explicit LayoutBuilder(IgorTextLayout& layout) : layout_(layout) {}

  enum class Next { kLines, kRows, kTextRows, kBeginWithoutWaves };

  // A trimmed line outside the rows of a block; kRows when a block of
  // numeric rows starts after it.
  Next Take(std::string_view text) {
    if (text.starts_with("WAVES")) {
      std::string_view rest = text.substr(5);
      pendingText_ = false;
      while (rest.starts_with('/')) {  // flags: /D, /N=(...), /O, /T for text waves
        const auto end = rest.find_first_of(" \t");
        const std::string_view flag = rest.substr(0, end);
        pendingText_ = pendingText_ || flag.starts_with("/T");
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end);
        rest = Trimmed(rest);
      }
      pending_.clear();
      for (const auto& name : Arguments(rest)) {
        SplitFields(name, Separator::Space, fields_);
        for (const auto field : fields_) pending_.push_back(WaveName(field));
      }
    } else if (text == "BEGIN") {
      if (pending_.empty()) return Next::kBeginWithoutWaves;
      const bool textWaves = pendingText_;
      if (textWaves) {
        layout_.textWaves.insert(layout_.textWaves.end(), pending_.begin(), pending_.end());
      } else {
        layout_.blocks.push_back({pending_.size(), 0, {}, {}});
        for (std::size_t c = 0; c < pending_.size(); ++c) {
          layout_.waves.push_back({pending_[c], layout_.blocks.size() - 1, c, 0.0, ""});
        }
      }
      pending_.clear();
      return textWaves ? Next::kTextRows : Next::kRows;
    } else if (text.starts_with("X ") && text.find("SetScale") != std::string_view::npos) {
      // Only SetScale is read, and an export may hold millions of other commands.
      commands_.emplace_back(text.substr(2));
    }
    return Next::kLines;
  }

  void ApplyCommands() {
    std::map<std::string, IgorTextWave*> byName;
    for (IgorTextWave& wave : layout_.waves) byName.emplace(wave.name, &wave);
    for (const std::string& command : commands_) {
      std::size_t start = 0;
      for (std::size_t end; (end = command.find(';', start)) != std::string::npos; start = end + 1) {
        ReadSetScale(std::string_view(command).substr(start, end - start), byName);
      }
      ReadSetScale(std::string_view(command).substr(start), byName);
    }
  }

 private:
  IgorTextLayout& layout_;
  std::vector<std::string> pending_;  // names of a WAVES line waiting for its BEGIN
  bool pendingText_ = false;
  std::vector<std::string_view> fields_;
  std::vector<std::string> commands_;
};

// Where the line after the first, which must start with "IGOR", starts.
std::int64_t AfterIgorLine(SourceFile& source) {
  LineCursor lines(source);
  const auto first = lines.Next();
  if (!first || !first->starts_with("IGOR"))
    throw ConvoraError("not an Igor text file (no IGOR line)");
  return lines.Offset();
}

// The file read one line after another: slow, but it names the line of
// every fault.
IgorTextLayout ReadLineByLine(SourceFile& source, const std::filesystem::path& folder) {
  IgorTextLayout layout;
  LayoutBuilder builder(layout);
  KeptNumbers numbers(folder);
  LineCursor lines(source);
  lines.Next();  // the IGOR line
  bool reading = false;  // the rows of the last block are being read
  std::vector<std::string_view> fields;
  while (const auto line = lines.Next()) {
    const std::string_view text = Trimmed(*line);
    if (reading) {
      IgorTextBlock& block = layout.blocks.back();
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
        ++block.parts.back().rows;
      }
      continue;
    }
    switch (builder.Take(text)) {
      case LayoutBuilder::Next::kBeginWithoutWaves:
        FailAtLine(lines.Number(), "BEGIN without a WAVES line");
      case LayoutBuilder::Next::kTextRows:
        while (const auto skipped = lines.Next()) {
          if (Trimmed(*skipped) == "END") break;
        }
        break;
      case LayoutBuilder::Next::kRows:
        layout.blocks.back().parts.push_back({0, numbers.Count()});
        reading = true;
        break;
      case LayoutBuilder::Next::kLines:
        break;
    }
  }
  if (reading) throw ConvoraError("the last block of values has no END line");
  layout.kept.push_back(std::move(numbers).Written());
  builder.ApplyCommands();
  return layout;
}

// The layout from the lines of the shares, read in order; nothing at
// anything the line-by-line reading would refuse, which then says why.
std::optional<IgorTextLayout> LayoutOfShares(SourceFile& source, std::vector<ShareLines>& shares) {
  IgorTextLayout layout;
  LayoutBuilder builder(layout);
  enum class Within { kLines, kRows, kTextRows } within = Within::kLines;
  for (std::size_t k = 0; k < shares.size(); ++k) {
    if (shares[k].unread) return std::nullopt;
    for (const LineRun& run : shares[k].runs) {
      if (run.rows != 0) {
        if (within != Within::kRows) continue;  // rows outside a block are not read
        IgorTextBlock& block = layout.blocks.back();
        if (run.columns != block.columns) return std::nullopt;
        block.rows += run.rows;
        block.parts.push_back({k, run.firstValue, run.rows});
        const auto found = std::span(shares[k].extremes).subspan(run.firstExtremes, run.columns);
        if (block.extremes.empty()) {
          block.extremes.assign(found.begin(), found.end());
        } else {
          for (std::size_t c = 0; c < found.size(); ++c) block.extremes[c].Add(found[c]);
        }
        continue;
      }
      // Most lines that are not rows are short: read in small chunks.
      LineCursor cursor(source, run.offset, 256);
      const std::string_view text = Trimmed(cursor.Next().value_or(""));
      if (within != Within::kLines) {
        if (text == "END") {
          within = Within::kLines;
        } else if (within == Within::kRows) {
          return std::nullopt;
        }
        continue;
      }
      switch (builder.Take(text)) {
        case LayoutBuilder::Next::kBeginWithoutWaves:
          return std::nullopt;
        case LayoutBuilder::Next::kTextRows:
          within = Within::kTextRows;
          break;
        case LayoutBuilder::Next::kRows:
          within = Within::kRows;
          break;
        case LayoutBuilder::Next::kLines:
          break;
      }
    }
  }
  if (within == Within::kRows) return std::nullopt;
  for (ShareLines& share : shares) layout.kept.push_back(std::move(*share.values));
  builder.ApplyCommands();
  return layout;
}

}  // namespace

IgorTextLayout ReadIgorText(SourceFile& source, const std::filesystem::path& folder) {
  if (const auto cuts = SharesOfLines(source, AfterIgorLine(source))) {
    std::vector<ShareLines> shares(cuts->size());
    RunParts(cuts->size(), [&](std::size_t k) { shares[k] = ReadShareLines(source, (*cuts)[k], folder); });
    if (auto layout = LayoutOfShares(source, shares)) return std::move(*layout);
  }
  // A fault, or a file the shares cannot read (a number of thousands of
  // digits): read again line by line, which names the fault's line.
  return ReadLineByLine(source, folder);
}

IgorTextLayout ReadIgorTextLineByLine(SourceFile& source, const std::filesystem::path& folder) {
  AfterIgorLine(source);
  return ReadLineByLine(source, folder);
}

void ReadBlockRows(const IgorTextLayout& layout, std::size_t block, std::int64_t first, std::span<double> rows) {
  const IgorTextBlock& b = layout.blocks[block];
  const auto columns = static_cast<std::int64_t>(b.columns);
  std::size_t done = 0;
  for (const KeptRows& part : b.parts) {
    if (done == rows.size()) break;
    if (first >= part.rows) {
      first -= part.rows;
      continue;
    }
    const std::size_t count = std::min(rows.size() - done, static_cast<std::size_t>((part.rows - first) * columns));
    layout.kept[part.file].ReadDoubles(part.firstValue + first * columns, rows.subspan(done, count));
    done += count;
    first = 0;
  }
}

void CloseKept(IgorTextLayout& layout) {
  RunParts(layout.kept.size(), [&](std::size_t k) { [[maybe_unused]] const ScratchFile closed = std::move(layout.kept[k]); });
  layout.kept.clear();
}

}  // namespace convora
