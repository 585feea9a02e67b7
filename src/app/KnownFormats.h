#pragma once
// The list of known formats the main window shows, with the one instruction
// that exists for it. The list is information only: recognition goes by the
// files' contents, not by this list.

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

namespace convora {

// In the order the window lists them: the recognised formats under the names
// their descriptors give, among entries for the other conversions.
std::span<const std::string_view> KnownFormats();

// Title and text of the message box shown for the first entry.
inline constexpr std::string_view kInstructionTitle = "Instruction";
// The button is named as users of older versions knew it, not by its present
// caption; the two blanks after each full stop are part of the text.
inline constexpr std::string_view kPulseInstruction =
    "From Pulse Tools, open your data file and run {Export Igor Binary Wave as Full Sweep} "
    "function.  This generates a macro file with file extension of ITX for PC or IGB for Mac.  "
    "In Convora, highlight this ITX or IGB file and press {Convert Known Binary as ABF} button.";

// The instruction for the entry at `index`, or nothing: only the first entry
// has one.
std::optional<std::string_view> InstructionFor(std::size_t index);

}  // namespace convora
