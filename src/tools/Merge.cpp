// "Merge Files": the first listed file, copied byte for byte, with the samples
// of every further file appended to its data section. Only lActualAcqLength
// and fSecondsPerRun are recomputed; everything else is the first file's, as
// the warning tells the user.

#include <algorithm>
#include <limits>
#include <string>

#include "abf/AbfOutput.h"
#include "abf/ConvoraError.h"
#include "abf/FileIo.h"
#include "abf/Numbers.h"
#include "abf/PathText.h"
#include "abf/ReplacementFile.h"
#include "abf/TemplateFile.h"
#include "tools/AbfTools.h"
#include "tools/ToolSteps.h"

namespace convora {
namespace {

constexpr std::int64_t kMergeBlockBytes = 512;
constexpr std::int64_t kMergeBlockSamples = kMergeBlockBytes / 2;

constexpr std::string_view kMergeWarning =
    "This function assumes that the ABF files that you selected have the same gain and sample "
    "intervals.  The parameters for the first selection will be used for the resulting merged "
    "file.  Please make sure these parameters are the same.  Would you like to proceed?";

struct ListedFile {
  std::filesystem::path path;
  AbfHeader header;
  SampleSection samples;
};

ListedFile Examine(const std::filesystem::path& path) {
  SourceFile file(path);
  ListedFile listed{path, {}, {}};
  file.ReadPadded(0, listed.header.MutableBytes());
  try {
    listed.samples = LocateSamples(listed.header, file.Length());
  } catch (const ConvoraError& e) {
    throw ConvoraError(PathText(path) + ": " + e.what());
  }
  return listed;
}

// Everything that could stop the merge half-way is checked before anything
// is written: each file's samples are where its header says, the total fits
// lActualAcqLength, and no tail copy reaches before the start of a file.
void CheckMergeable(const std::vector<ListedFile>& files, const std::filesystem::path& output) {
  std::error_code ec;
  for (const ListedFile& file : files) {
    if (std::filesystem::equivalent(file.path, output, ec)) {
      throw ConvoraError("the merged file would replace " + PathText(file.path) +
                         ", which is being merged");
    }
  }
  std::int64_t total = files.front().samples.count;
  for (std::size_t k = 1; k < files.size(); ++k) {
    const SampleSection& source = files[k].samples;
    if (source.count % kMergeBlockSamples != 0) {
      const std::int64_t tail = 2 * (source.count - kMergeBlockSamples);
      const std::int64_t appendAt = files.front().samples.offset + 2 * total;
      if (source.offset + tail < 0 || appendAt + tail < 0) {
        throw ConvoraError(PathText(files[k].path) + ": its last 512 bytes of samples would be "
                           "read or written before the start of a file");
      }
    }
    total += source.count;
    if (total > std::numeric_limits<std::int32_t>::max()) {
      throw ConvoraError("the merged recording would hold " + std::to_string(total) +
                         " samples, more than lActualAcqLength can count");
    }
  }
  // The run length only grows with each file, so the last one decides.
  const double seconds = files.front().header.Get(abf::fADCSampleInterval) / 1'000'000.0 *
                         static_cast<double>(total);
  if (!NarrowToSingle(seconds)) {
    throw ConvoraError("the merged recording's length in seconds does not fit fSecondsPerRun");
  }
}

// Appends one file's samples at the end of those accumulated in `merged`.
void AppendSamples(const ListedFile& source, AbfHeader& merged, OutputFile& output) {
  SourceFile file(source.path);
  const std::int64_t n = source.samples.count;
  const std::int64_t src = source.samples.offset;
  const std::int64_t dst = merged.Get(abf::lDataSectionPtr) * ABF_BLOCK_BYTES +
                           2 * std::int64_t{merged.Get(abf::lActualAcqLength)};

  const std::int64_t wholeBlocks = n / kMergeBlockSamples;
  DataSectionWriter blocks(output, dst);
  CopyBytes(file, src, wholeBlocks * kMergeBlockBytes, blocks);
  if (n % kMergeBlockSamples != 0) {
    // The partial last block moves as the 512 bytes that end at the last
    // sample, overlapping what is already written. With fewer than 256
    // samples this reaches back before both data starts and overwrites the
    // end of the accumulated samples; kept on purpose, merged files made so
    // far have exactly these bytes.
    const std::int64_t t = 2 * (n - kMergeBlockSamples);
    DataSectionWriter tail(output, dst + t);
    CopyBytes(file, src + t, kMergeBlockBytes, tail);
  }

  const double secondsPerSample = merged.Get(abf::fADCSampleInterval) / 1'000'000.0;
  merged.Set(abf::lActualAcqLength,
             static_cast<std::int32_t>(merged.Get(abf::lActualAcqLength) + n));
  merged.Set(abf::fSecondsPerRun,
             static_cast<float>(secondsPerSample * merged.Get(abf::lActualAcqLength)));
}

// The settings a merged file takes from its first file alone. A later file
// whose own differ is stored under the first one's, which changes its values
// or its timing: the user hears which and by how much.
void TellOfDifferentSettings(Workbench& bench, const std::vector<ListedFile>& files) {
  const AbfHeader& first = files.front().header;
  const auto text = [](auto value) { return FormatSingle(static_cast<float>(value)); };
  for (std::size_t k = 1; k < files.size(); ++k) {
    const AbfHeader& h = files[k].header;
    std::vector<std::string> differences;
    const auto compare = [&](const std::string& what, auto mine, auto theirs) {
      if (mine != theirs) differences.push_back(what + " " + text(mine) + " (" + text(theirs) + ")");
    };
    compare("sample interval (us)", h.Get(abf::fADCSampleInterval),
            first.Get(abf::fADCSampleInterval));
    compare("channel count", h.Get(abf::nADCNumChannels), first.Get(abf::nADCNumChannels));
    compare("ADC range", h.Get(abf::fADCRange), first.Get(abf::fADCRange));
    compare("ADC resolution", h.Get(abf::lADCResolution), first.Get(abf::lADCResolution));
    const auto channels = static_cast<std::size_t>(std::max<std::int16_t>(0, first.Get(abf::nADCNumChannels)));
    for (std::size_t p = 0; p < std::min(channels, abf::nADCSamplingSeq.count); ++p) {
      const std::int16_t slot = first.Get(abf::nADCSamplingSeq, p);
      if (slot < 0 || slot >= 16) continue;
      const auto c = static_cast<std::size_t>(slot);
      const auto gain = [&](const AbfHeader& of) {
        return static_cast<double>(of.Get(abf::fInstrumentScaleFactor, c)) *
               of.Get(abf::fSignalGain, c) * of.Get(abf::fADCProgrammableGain, c);
      };
      compare("gain of channel " + std::to_string(c), gain(h), gain(first));
    }
    if (differences.empty()) continue;
    std::string list;
    for (const std::string& d : differences) list += (list.empty() ? "" : ", ") + d;
    bench.Prompt().Notice(PathText(files[k].path) + ": merged under the settings of " +
                          PathText(files.front().path) + ", which differ from its own: " + list +
                          " (its own value, then the first file's)");
  }
}

}  // namespace

bool AddToMergeList(Workbench& bench, std::vector<std::filesystem::path>& mergeList,
                    const std::filesystem::path& file) {
  bench.WorkHeader = ReadAbfHeader(file);
  if (IsAbfFile(bench.WorkHeader)) {
    mergeList.push_back(file);
    return true;
  }
  bench.Prompt().ShowMessage(
      "Not an ABF File",
      PathText(file) + " is NOT an Axon Binary File.  You can only merge ABF files.");
  return false;
}

void MergeAbfFiles(Workbench& bench, std::vector<std::filesystem::path>& mergeList,
                   const std::filesystem::path& folder) {
  if (mergeList.size() < 2) return;
  Prompter& prompt = bench.Prompt();
  if (!prompt.AskOkCancel({"proceed", "Warning!", kMergeWarning})) return;
  // Cancel gives an empty name, and so a file called ".ABF".
  const std::string name =
      prompt
          .AskInput({"name",
                     "Please enter the name of file without extension for resulting merged file.",
                     "Enter File Name", "ABFMerge"})
          .value_or("");
  const std::filesystem::path output = folder / PathOfText(name + ".ABF");

  std::vector<ListedFile> files;
  for (const auto& path : mergeList) files.push_back(Examine(path));
  CheckMergeable(files, output);

  prompt.SetBusy(true);
  ArrowAtEnd arrow(prompt);
  ReplacementFile merged(output, files.front().path);
  AbfHeader header = files.front().header;
  for (std::size_t k = 1; k < files.size(); ++k) AppendSamples(files[k], header, merged.File());
  merged.WriteAt(0, header.Bytes());
  merged.Commit();

  mergeList.clear();
  bench.List1.Add(output);
  TellOfDifferentSettings(bench, files);
}

}  // namespace convora
