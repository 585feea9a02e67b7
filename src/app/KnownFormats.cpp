#include "app/KnownFormats.h"

#include <array>

#include "app/AllFormats.h"

namespace convora {

std::span<const std::string_view> KnownFormats() {
  static const std::array<std::string_view, 30> kList = {
      kPulseItxName,
      kIgorBinaryFormat.name,
      kIgorTextFormat.name,
      kWinTidaFormat.name,
      kTidaFormat.name,
      kAxographFormat.name,
      kKestrinCdrFormat.name,
      kWinCdrFormat.name,
      kScanFormat.name,
      kWinWcpFormat.name,
      kElsaaFormat.name,
      kTorvaneFormat.name,
      kRacalFormat.name,
      kCfsFormat.name,
      kSpike2Format.name,
      "CED Spike2 exported binary file",
      kLtpFormat.name,
      "UCHSC VB data files",
      kBrenlowFormat.name,
      kChartWinFormat.name,
      kDataQuestFormat.name,
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
  return kList;
}

std::optional<std::string_view> InstructionFor(std::size_t index) {
  if (index == 0) return kPulseInstruction;
  return std::nullopt;
}

}  // namespace convora
