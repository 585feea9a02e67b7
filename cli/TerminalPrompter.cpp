#include "TerminalPrompter.h"

#include <cctype>
#include <istream>
#include <ostream>

#include "abf/Numbers.h"
#include "abf/PathText.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace convora::cli {

#ifdef _WIN32
namespace {

// A console is what has a console mode: _isatty also says yes for NUL, a
// character device too, and a run given no input would then ask its questions
// and read their end as Cancel instead of taking the defaults.
bool IsConsole(DWORD stream) {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(stream), &mode) != 0;
}

}  // namespace

bool StdinIsTerminal() { return IsConsole(STD_INPUT_HANDLE); }

bool StderrIsTerminal() { return IsConsole(STD_ERROR_HANDLE); }
#else
bool StdinIsTerminal() { return isatty(0) != 0; }

bool StderrIsTerminal() { return isatty(2) != 0; }
#endif

std::ostream& TerminalPrompter::Err() {
  MakeRoom();
  return err_;
}

std::string OneLine(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\r') {
      line += "\\r";
    } else if (c == '\n') {
      line += "\\n";
    } else if ((byte < 0x20 && c != '\t') || byte == 0x7F) {
      constexpr char kHex[] = "0123456789abcdef";
      line += "\\x";
      line += kHex[byte >> 4];
      line += kHex[byte & 0xF];
    } else {
      line += c;
    }
  }
  return line;
}

void TerminalPrompter::ShowMessage(std::string_view title, std::string_view text) {
  Err() << OneLine(title) << ": " << OneLine(text) << '\n' << std::flush;
}

std::optional<std::string> TerminalPrompter::ReadLine() {
  std::string line;
  if (!std::getline(in_, line)) return std::nullopt;
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return line;
}

bool TerminalPrompter::AskChoice(const Question& question, std::string_view hint, char yesLetter) {
  ShowMessage(question.title, question.text);
  if (auto given = choices_.find(std::string(question.key)); given != choices_.end()) {
    return given->second;
  }
  if (!interactive_) return false;
  Err() << hint << ' ' << std::flush;
  const auto answer = ReadLine();
  return answer && !answer->empty() &&
         std::tolower(static_cast<unsigned char>(answer->front())) == yesLetter;
}

bool TerminalPrompter::AskYesNo(const Question& question) {
  return AskChoice(question, "[y/N]", 'y');
}

bool TerminalPrompter::AskOkCancel(const Question& question) {
  return AskChoice(question, "[o(k)/C(ancel)]", 'o');
}

std::optional<std::string> TerminalPrompter::AskInput(const InputRequest& request) {
  if (auto given = inputs_.find(std::string(request.key)); given != inputs_.end()) {
    return given->second;
  }
  if (!interactive_) return std::string(request.defaultValue);
  Err() << request.title << ": " << request.prompt << " [" << request.defaultValue << "] "
       << std::flush;
  for (;;) {
    auto answer = ReadLine();
    if (answer && answer->empty()) return std::string(request.defaultValue);
    // A person who types a word for a number is asked again rather than
    // taken as 0; an option keeps the lenient reading.
    if (!answer || !request.number || LeadingNumberIfAny(*answer)) return answer;
    Err() << "\"" << OneLine(*answer) << "\" is not a number; type one, or Enter for "
          << request.defaultValue << ": " << std::flush;
  }  // end of input counts as Cancel
}

void TerminalPrompter::Notice(std::string_view text) {
  Err() << "notice: " << OneLine(text) << '\n';
}

void TerminalPrompter::ReportError(const std::filesystem::path& subject, std::string_view why) {
  Err() << "error: " << OneLine(PathText(subject)) << ": " << OneLine(why) << '\n' << std::flush;
}

}  // namespace convora::cli
