#include "LoggedPrompter.h"

#include "abf/PathText.h"

namespace convora::gui {

void LoggedPrompter::Notice(std::string_view text) {
  inner_.Notice(text);
  log_(std::string(text));
}

void LoggedPrompter::ReportError(const std::filesystem::path& subject, std::string_view why) {
  log_("error: " + PathText(subject) + ": " + std::string(why));
  inner_.ReportError(subject, why);
}

}  // namespace convora::gui
