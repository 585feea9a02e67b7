#include "ProgramArguments.h"

#ifdef _WIN32
#include <windows.h>
#include <shellapi.h>
#endif

namespace convora::cli {

#ifdef _WIN32
namespace {

std::string Utf8Of(const wchar_t* text) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<std::size_t>(size > 0 ? size : 1), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), size, nullptr, nullptr);
  utf8.pop_back();  // the terminating zero
  return utf8;
}

}  // namespace

ProgramArguments::ProgramArguments(int argc, char** argv) {
  int count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  if (wide == nullptr) {
    texts_.assign(argv, argv + argc);
  } else {
    for (int k = 0; k < count; ++k) texts_.push_back(Utf8Of(wide[k]));
    LocalFree(wide);
  }
  for (const std::string& text : texts_) values_.push_back(text.c_str());
}

void ShowUtf8OnConsole() { SetConsoleOutputCP(CP_UTF8); }
#else
ProgramArguments::ProgramArguments(int argc, char** argv) : texts_(argv, argv + argc) {
  for (const std::string& text : texts_) values_.push_back(text.c_str());
}

void ShowUtf8OnConsole() {}
#endif

}  // namespace convora::cli
