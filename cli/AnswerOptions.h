#pragma once
// Text options that answer the program's questions: only those given on the
// command line count as answers; the rest are asked or defaulted.

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

namespace convora::cli {

class AnswerOptions {
 public:
  // Registers "--KEY VALUE" on `command`; KEY is also the question's key.
  void Add(CLI::App& command, const std::string& key, const std::string& description) {
    options_.emplace_back(key, command.add_option("--" + key, values_[key], description));
  }

  std::map<std::string, std::string> Given() const {
    std::map<std::string, std::string> given;
    for (const auto& [key, option] : options_) {
      if (option->count() > 0) given[key] = values_.at(key);
    }
    return given;
  }

 private:
  std::map<std::string, std::string> values_;
  std::vector<std::pair<std::string, CLI::Option*>> options_;
};

}  // namespace convora::cli
