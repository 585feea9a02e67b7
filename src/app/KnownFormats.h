#pragma once
// The list of known formats the main window shows, with the one instruction
// that exists for it. The list is information only: recognition goes by the
// files' contents, not by this list.

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace convora {

inline constexpr std::size_t kKnownFormatCount = 30;

// Index 0 first, as the window lists them.
// clang-format off
inline constexpr std::array<std::string_view, kKnownFormatCount> kKnownFormats = {
    "Pulse IGB (Mac) ITX (PC) file",
    "Igor Binary File v2.0",
    "Igor Text File (Mac)",
    "WinTIDA File v1",
    "Tida v.1 File",
    "Axograph file v1",
    "Kestrin's CDR",
    "Kestrin's WinCDR",
    "Kestrin's SCAN",
    "Kestrin's WinWCP",
    "ELSAA Data Files",
    "Torvane's Axobasic data files",
    "Racal Heim DAT Recoder Binary File",
    "CED Signal Data File (CFS)",
    "CED Spike2 Data File (smr)",
    "CED Spike2 exported binary file",
    "LTP Program Data File (*.p0)",
    "UCHSC VB data files",
    "Brenlow custom binary file",
    "Chart for Windows (*.adicht) data files",
    "DataQuest A.R.T files",
    "AcqKnowledge III (Biopac Systems, Inc.)",
    "General 16 bit Integer Binary File",
    "General 32 bit Floating-point Binary File",
    "PTI ImageMaster Pro ASCII file",
    "Axon Imaging Workbench ATF file",
    "Dataq .Dat ASCII file",
    "ASCII text files (tab delimited)",
    "More to come!!",
    "Contact Quenvale to add your own data format.",
};
// clang-format on

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
