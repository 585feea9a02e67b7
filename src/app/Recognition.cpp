#include "app/Recognition.h"

#include "app/AllFormats.h"

namespace convora {
namespace {

// The order matters where noted; elsewhere it only sets the order in which the
// converters of a file that matches several rows run (and so which output
// ends up on disk when they write the same name: the later one).
// clang-format off
constexpr RecognitionRow kTable[] = {
    {&kAbfFileFormat},
    {&kVestralinkorEventFormat},
    {&kAxographFormat},
    {&kMatlabFormat},
    {&kWinCdrFormat},
    {&kScanFormat},
    // "VER=6" files named .wcp match this row and the WinCDR row above; both run.
    {&kWinWcpFormat},
    {&kElsaaFormat},
    {&kSpike2Format},
    {&kIgorTextFormat},
    {&kIgorBinaryFormat},
    {&kIgorBinary5Format},
    {&kChartWinFormat},
    {&kTorvaneFormat},
    {&kRacalFormat},
    {&kCfsFormat},
    {&kWinTidaFormat},
    {&kTidaFormat},
    {&kLumiraShortFormat},
    {&kLumiraLongFormat},
    {&kBrenlowFormat},
    {&kOstrelFormat},
    {&kDataQuestFormat},
    {&kAcqKnowledgeMacFormat},
    {&kAcqKnowledgePcFormat},
    // Must stay after every row above: it matches only when none of them did.
    {&kKestrinCdrFormat, true},
    // Kept after the CDR row: above it, an LTP file would keep the CDR row from matching.
    {&kLtpFormat},
    // Formats recognised beyond the rows above: each matches only a file that
    // no row above matched, so that nothing those rows do changes.
    {&kAbf2Format, true},
    {&kAcqKnowledgeLaterFormat, true},
    {&kPatchMasterFormat, true},
};
// clang-format on

}  // namespace

std::span<const RecognitionRow> RecognitionTable() { return kTable; }

std::vector<const RecognitionRow*> MatchingRows(const RecognitionInput& input) {
  std::vector<const RecognitionRow*> matches;
  for (const RecognitionRow& row : kTable) {
    if (row.onlyWhenNothingEarlierMatched && !matches.empty()) continue;
    if (row.format->matches(input)) matches.push_back(&row);
  }
  return matches;
}

void RunRow(Workbench& bench, const RecognitionRow& row) {
  if (row.format->convert) {
    row.format->convert(bench);
  } else {
    TellNoConverter(bench, *row.format);
  }
}

}  // namespace convora
