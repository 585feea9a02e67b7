#pragma once
#include <stdexcept>
#include <string>

namespace convora {

// Ends the current operation on one file; its message says what went wrong in
// words a user can act on. Front ends report it as "error: PATH: WHY".
class ConvoraError : public std::runtime_error {
 public:
  explicit ConvoraError(const std::string& why) : std::runtime_error(why) {}
};

// What a converter throws when the source reads differently from one pass
// to the next: another program is rewriting it.
inline ConvoraError SourceChangedError() {
  return ConvoraError("the file changed while it was being converted");
}

}  // namespace convora
