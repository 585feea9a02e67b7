#include "CliRunner.h"

#include <utility>
#include <vector>

#include "abf/PathText.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/wait.h>

#include <cstdlib>
#endif

namespace convora::test {
namespace {

std::string Text(const Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

}  // namespace

#ifdef _WIN32
namespace {

std::vector<std::string> Words(const std::string& arguments) {
  std::vector<std::string> words;
  std::string word;
  bool inWord = false;
  bool quoted = false;
  for (const char c : arguments) {
    if (c == '\'') {
      quoted = !quoted;
      inWord = true;
    } else if (c == ' ' && !quoted) {
      if (inWord) words.push_back(std::exchange(word, {}));
      inWord = false;
    } else {
      word += c;
      inWord = true;
    }
  }
  if (inWord) words.push_back(word);
  return words;
}

// A word of a command line as the program's CommandLineToArgvW reads it back:
// in double quotes, with backslashes doubled only before a quote.
std::wstring Quoted(const std::wstring& word) {
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : word) {
    if (c == L'\\') {
      ++backslashes;
      continue;
    }
    quoted.append(c == L'"' ? 2 * backslashes + 1 : backslashes, L'\\');
    backslashes = 0;
    quoted += c;
  }
  quoted.append(2 * backslashes, L'\\');
  return quoted + L"\"";
}

HANDLE Inheritable(const std::filesystem::path& path, DWORD access, DWORD disposition) {
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  return CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                     disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// The program writes text, whose lines end in "\r\n" on Windows.
std::string PosixLines(std::string text) {
  std::size_t kept = 0;
  for (std::size_t k = 0; k < text.size(); ++k) {
    if (text[k] != '\r' || k + 1 == text.size() || text[k + 1] != '\n') text[kept++] = text[k];
  }
  text.resize(kept);
  return text;
}

}  // namespace

Outcome Convora(const TempDir& folder, const std::string& arguments) {
  // Absolute before the program starts in `folder`, which may lie on another drive.
  std::wstring line = Quoted(std::filesystem::absolute(CONVORA_EXE).wstring());
  for (const std::string& word : Words(arguments)) {
    line += L" " + Quoted(PathOfText(word).wstring());
  }
  const auto out = folder / ".stdout";
  const auto err = folder / ".stderr";
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = Inheritable("NUL", GENERIC_READ, OPEN_EXISTING);
  startup.hStdOutput = Inheritable(out, GENERIC_WRITE, CREATE_ALWAYS);
  startup.hStdError = Inheritable(err, GENERIC_WRITE, CREATE_ALWAYS);
  PROCESS_INFORMATION process{};
  DWORD status = static_cast<DWORD>(-1);
  if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                     folder.Path().c_str(), &startup, &process)) {
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &status);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  }
  for (const HANDLE handle : {startup.hStdInput, startup.hStdOutput, startup.hStdError}) {
    CloseHandle(handle);
  }
  return {static_cast<int>(status), PosixLines(Text(ReadFile(out))),
          PosixLines(Text(ReadFile(err)))};
}
#else
Outcome Convora(const TempDir& folder, const std::string& arguments) {
  const auto out = folder / ".stdout";
  const auto err = folder / ".stderr";
  const std::string command = "cd '" + folder.Path().string() + "' && '" CONVORA_EXE "' " +
                              arguments + " </dev/null >'" + out.string() + "' 2>'" +
                              err.string() + "'";
  const int raw = std::system(command.c_str());
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, Text(ReadFile(out)), Text(ReadFile(err))};
}
#endif

}  // namespace convora::test
