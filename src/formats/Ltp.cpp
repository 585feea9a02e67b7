#include "formats/Ltp.h"

#include <cmath>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"
#include "abf/TextLines.h"
#include "abf/TextSearch.h"
#include "formats/RecordingOutput.h"

// An LTP ASCII sweep file, as the program's page "File Structure for LTP 2.4
// to WinLTP 2.320 ASCII Sweep Files" lists it: lines of a quoted keyword and
// its values, blank-separated ("NumSamples" 2000, "AD_DataType" "mV" "mV"),
// then the one sweep's samples. The page stops short of showing the block of
// samples, so nothing about it is taken on trust: it starts at the first line
// that is not a keyword line; each row holds one number per AD channel, no
// more and no fewer, in the unit AD_DataType gives that channel (which also
// sets how many channels there are); there are exactly NumSamples rows, with
// only blank lines after them. Series-resistance samples (Rs_NumSamples) have
// no documented place in the file, so a file that has any is refused.

namespace convora {
namespace {

constexpr const char* kKeywordsRead[] = {"NumSamples",     "SampleInterval_ms", "Rs_NumSamples",
                                         "AD_Chs",         "AD_DataType",       "DateFileSaved",
                                         "TimeFileStarted"};

struct Keyword {
  std::int64_t line;
  std::vector<std::string> values;
};

// The fields of a keyword line: quoted texts (blanks kept inside) or words.
std::vector<std::string> Tokens(std::string_view text, std::int64_t line) {
  std::vector<std::string> tokens;
  std::size_t i = 0;
  while (true) {
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
    if (i == text.size()) return tokens;
    if (text[i] == '"') {
      const std::size_t end = text.find('"', i + 1);
      if (end == std::string_view::npos) FailAtLine(line, "a quoted text is not closed");
      tokens.emplace_back(text.substr(i + 1, end - i - 1));
      i = end + 1;
    } else {
      const std::size_t start = i;
      while (i < text.size() && text[i] != ' ' && text[i] != '\t') ++i;
      tokens.emplace_back(text.substr(start, i - start));
    }
  }
}

struct LtpFile {
  // Only the keywords this reader uses, so that a long header costs nothing.
  std::map<std::string, Keyword, std::less<>> keywords;
  std::int64_t dataAt = 0;
  std::int64_t firstRowLine = 0;

  const Keyword* Find(std::string_view key) const {
    const auto found = keywords.find(key);
    return found == keywords.end() || found->second.values.empty() ? nullptr : &found->second;
  }
  const Keyword& Required(std::string_view key) const {
    const Keyword* keyword = Find(key);
    if (!keyword) {
      throw ConvoraError("the keyword \"" + std::string(key) + "\" is missing or has no value");
    }
    return *keyword;
  }
  double Number(std::string_view key) const {
    const Keyword& keyword = Required(key);
    const auto value = ParseWholeNumber(keyword.values.front());
    if (!value || !std::isfinite(*value)) {
      FailAtLine(keyword.line, "\"" + std::string(key) + "\" is not followed by a number");
    }
    return *value;
  }
};

LtpFile ReadKeywords(SourceFile& source) {
  LtpFile file;
  LineCursor lines(source);
  while (true) {
    const std::int64_t at = lines.Offset();
    const auto text = lines.Next();
    if (!text) throw ConvoraError("the file ends before its samples");
    if (IsBlank(*text)) continue;
    if ((*text)[text->find_first_not_of(" \t")] != '"') {
      file.dataAt = at;
      file.firstRowLine = lines.Number();
      return file;
    }
    std::vector<std::string> tokens = Tokens(*text, lines.Number());
    std::string key = std::move(tokens.front());
    tokens.erase(tokens.begin());
    if (lines.Number() == 1 && key != "LTP_ASF") {
      FailAtLine(1, "the first keyword is \"" + key + "\", not \"LTP_ASF\"");
    }
    for (const char* read : kKeywordsRead) {
      if (key != read) continue;
      file.keywords.try_emplace(key, Keyword{lines.Number(), std::move(tokens)});
      break;
    }
  }
}

// "20000611" and "15:49:50.1": the day the file was saved and the time the
// sweep started, taken together as the start (nothing when either is odd).
std::optional<LocalDateTime> StartOf(const LtpFile& file) {
  const Keyword* date = file.Find("DateFileSaved");
  const Keyword* time = file.Find("TimeFileStarted");
  if (!date || !time) return std::nullopt;
  LocalDateTime start;
  double second = -1.0;
  const int dayFields =
      std::sscanf(date->values[0].c_str(), "%4d%2d%2d", &start.year, &start.month, &start.day);
  const int timeFields =
      std::sscanf(time->values[0].c_str(), "%d:%d:%lf", &start.hour, &start.minute, &second);
  if (dayFields != 3 || timeFields != 3 || start.month < 1 || start.month > 12 || start.day < 1 ||
      start.day > 31 || start.hour < 0 || start.hour > 23 || start.minute < 0 ||
      start.minute > 59 || !(second >= 0.0 && second < 60.0)) {
    return std::nullopt;
  }
  start.second = static_cast<int>(second);
  return start;
}

// The rows, read in order from the first; a pass that starts over reopens them.
class RowReader : public ScanReader {
 public:
  RowReader(SourceFile& source, const LtpFile& file, std::size_t channels, std::int64_t rows)
      : source_(source), file_(file), channels_(channels), rows_(rows) {}

  void ReadScans(std::int64_t, std::int64_t first, std::span<double> out) override {
    if (!lines_ || first < row_) {
      lines_.emplace(source_, file_.dataAt);
      row_ = 0;
    }
    for (; row_ < first; ++row_) NextRow();
    for (std::size_t s = 0; s < out.size() / channels_; ++s, ++row_) {
      const std::string_view text = NextRow();
      SplitFields(text, Separator::Space, fields_);
      if (fields_.size() != channels_) {
        FailAtLine(Line(), "holds " + std::to_string(fields_.size()) +
                               " values, not one for each of the " + std::to_string(channels_) +
                               " AD channels");
      }
      for (std::size_t c = 0; c < channels_; ++c) {
        const auto value = ParseWholeNumber(fields_[c]);
        if (!value) FailAtLine(Line(), "\"" + std::string(fields_[c]) + "\" is not a number");
        out[s * channels_ + c] = *value;
      }
    }
    if (row_ == rows_) {
      while (const auto text = lines_->Next()) {
        if (!IsBlank(*text)) FailAtLine(Line(), "a row past the " + Declared());
      }
    }
  }

 private:
  std::int64_t Line() const { return file_.firstRowLine + lines_->Number() - 1; }
  std::string Declared() const {
    return std::to_string(rows_) + " that NumSamples (line " +
           std::to_string(file_.Required("NumSamples").line) + ") declares";
  }
  std::string_view NextRow() {
    const auto text = lines_->Next();
    if (!text || IsBlank(*text)) {
      FailAtLine(file_.firstRowLine + row_,
                 "the rows end after " + std::to_string(row_) + " of the " + Declared());
    }
    return *text;
  }

  SourceFile& source_;
  const LtpFile& file_;
  std::size_t channels_;
  std::int64_t rows_;
  std::optional<LineCursor> lines_;
  std::int64_t row_ = 0;
  std::vector<std::string_view> fields_;
};

}  // namespace

void ConvertLTP(Workbench& bench) {
  SourceFile source(bench.SelectedFilePath);
  const LtpFile file = ReadKeywords(source);
  const double rows = file.Number("NumSamples");
  if (rows < 1 || rows > 1e12 || rows != std::floor(rows)) {
    FailAtLine(file.Required("NumSamples").line, "NumSamples is not a count of samples");
  }
  const double intervalMs = file.Number("SampleInterval_ms");
  if (intervalMs <= 0)
    FailAtLine(file.Required("SampleInterval_ms").line, "the interval is not positive");
  if (file.Find("Rs_NumSamples") && file.Number("Rs_NumSamples") != 0) {
    FailAtLine(file.Required("Rs_NumSamples").line,
               "the file holds series-resistance samples, whose place in the "
               "file is not "
               "published");
  }
  const Keyword& units = file.Required("AD_DataType");
  const Keyword& names = file.Required("AD_Chs");
  if (names.values.size() < units.values.size()) {
    FailAtLine(names.line, "names fewer channels than AD_DataType (line " +
                               std::to_string(units.line) + ") gives units for");
  }
  Recording recording;
  for (std::size_t c = 0; c < units.values.size(); ++c) {
    recording.channels.push_back({names.values[c], units.values[c], 1.0, 0.0, false});
  }
  recording.channelIntervalUs = intervalMs * 1000.0;
  recording.scansPerSweep = static_cast<std::int64_t>(rows);
  recording.start = StartOf(file);
  RowReader reader(source, file, recording.channels.size(), recording.scansPerSweep);
  WriteRecording(bench, recording, reader);
}

const FormatDescriptor kLtpFormat{
    "LTP Program Data File (*.p0)",
    [](const RecognitionInput& in) { return InStrNth(in.Probe(), "LTP_ASF", 1) == 2; }, ConvertLTP};

}  // namespace convora
