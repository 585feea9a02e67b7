#include "workbench/ScriptedPrompter.h"

#include "abf/PathText.h"

namespace convora {

void ScriptedPrompter::ShowMessage(std::string_view title, std::string_view text) {
  transcript_.push_back(std::string(title) + ": " + std::string(text));
}

bool ScriptedPrompter::NextChoice(const Question& question) {
  ShowMessage(question.title, question.text);
  auto& queue = choices_[std::string(question.key)];
  if (queue.empty()) return false;
  const bool answer = queue.front();
  queue.pop_front();
  return answer;
}

bool ScriptedPrompter::AskYesNo(const Question& question) { return NextChoice(question); }

bool ScriptedPrompter::AskOkCancel(const Question& question) { return NextChoice(question); }

std::optional<std::string> ScriptedPrompter::AskInput(const InputRequest& request) {
  ShowMessage(request.title, request.prompt);
  auto& queue = inputs_[std::string(request.key)];
  if (queue.empty()) return std::string(request.defaultValue);
  auto answer = queue.front();
  queue.pop_front();
  return answer;
}

void ScriptedPrompter::Notice(std::string_view text) {
  transcript_.push_back("notice: " + std::string(text));
}

void ScriptedPrompter::ReportError(const std::filesystem::path& subject, std::string_view why) {
  transcript_.push_back("error: " + PathText(subject) + ": " + std::string(why));
}

}  // namespace convora
