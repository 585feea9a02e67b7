#include "app/KnownFormats.h"

namespace convora {

std::optional<std::string_view> InstructionFor(std::size_t index) {
  if (index == 0) return kPulseInstruction;
  return std::nullopt;
}

}  // namespace convora
