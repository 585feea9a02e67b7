#include "formats/patchmaster/PatchMaster.h"

#include <algorithm>
#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "abf/PathText.h"
#include "formats/RecordingOutput.h"
#include "formats/SourceValues.h"
#include "formats/patchmaster/PulseTree.h"

// A PatchMaster bundle holds groups of series; the sweeps of a series share
// their traces (channels) and timing, while two series may differ in
// everything. So each series becomes an ABF file of its own.

namespace convora {
namespace {

using patchmaster::Series;
using patchmaster::Trace;

// Sweeps are episodes; a scan takes point i of every kept trace of a sweep,
// and zeros past the end of a shorter trace.
class SeriesScans : public ScanReader {
 public:
  SeriesScans(SourceFile& source, const Series& series, std::vector<std::size_t> kept,
              std::vector<bool> scaled)
      : source_(source), series_(series), kept_(std::move(kept)), scaled_(std::move(scaled)) {
    // Channels not scaled are int16 in every sweep; their byte order may still vary.
    readsCounts_ = std::none_of(scaled_.begin(), scaled_.end(), [](bool s) { return s; });
    for (const auto& sweep : series_.sweeps) {
      for (const std::size_t c : kept_) {
        readsCounts_ = readsCounts_ && sweep[c].order == ByteOrder::LittleEndian;
      }
    }
  }

  bool ReadsCounts() const override { return readsCounts_; }

  void ReadCounts(std::int64_t sweep, std::int64_t first, std::span<std::int16_t> out) override {
    const std::size_t width = kept_.size();
    const std::size_t scans = out.size() / width;
    counts_.resize(scans);
    for (std::size_t k = 0; k < width; ++k) {
      const Trace& trace = series_.sweeps[static_cast<std::size_t>(sweep)][kept_[k]];
      const std::size_t available = Available(trace, first, scans);
      std::fill(counts_.begin(), counts_.end(), std::int16_t{0});
      source_.ReadSamples(trace.dataOffset + 2 * first, std::span(counts_).first(available));
      for (std::size_t s = 0; s < scans; ++s) out[s * width + k] = counts_[s];
    }
  }

  void ReadScans(std::int64_t sweep, std::int64_t first, std::span<double> out) override {
    const std::size_t width = kept_.size();
    const std::size_t scans = out.size() / width;
    column_.resize(scans);
    for (std::size_t k = 0; k < width; ++k) {
      const Trace& trace = series_.sweeps[static_cast<std::size_t>(sweep)][kept_[k]];
      const auto bytes = BytesOf(trace.type);
      std::fill(column_.begin(), column_.end(), 0.0);
      ReadValues(source_, trace.dataOffset + first * static_cast<std::int64_t>(bytes), trace.type,
                 trace.order, bytes, std::span(column_).first(Available(trace, first, scans)));
      const double scale = scaled_[k] ? trace.scale : 1.0;
      for (std::size_t s = 0; s < scans; ++s) out[s * width + k] = column_[s] * scale;
    }
  }

 private:
  SourceFile& source_;
  const Series& series_;
  std::vector<std::size_t> kept_;
  std::vector<bool> scaled_;  // values handed on in units, not as stored
  bool readsCounts_;
  std::vector<double> column_;
  std::vector<std::int16_t> counts_;

  // The points of `trace` from `first` on that fall within `scans`.
  static std::size_t Available(const Trace& trace, std::int64_t first, std::size_t scans) {
    return static_cast<std::size_t>(
        std::clamp<std::int64_t>(trace.points - first, 0, static_cast<std::int64_t>(scans)));
  }
};

std::string NamesOf(const Series& series, const std::vector<std::size_t>& channels) {
  std::string names;
  for (const std::size_t c : channels) {
    names += (names.empty() ? "" : ", ") + series.channels[c].label;
  }
  return names;
}

// Writes `series` to the output of `ending`; false, with a notice and
// nothing written, when it holds no samples.
bool WriteSeries(Workbench& bench, SourceFile& source, const Series& series, std::size_t number,
                 std::string_view ending) {
  const std::string where = PathText(bench.SelectedFilePath) + ": series " + std::to_string(number) +
                            " (" + series.label + "): ";
  if (series.sweeps.empty() || series.channels.empty()) {
    bench.Prompt().Notice(where + "left out, for holding no sweep with traces");
    return false;
  }
  // The traces of the shortest interval; an ABF 1.x file has one rate.
  const auto& first = series.sweeps.front();
  const double interval =
      std::min_element(first.begin(), first.end(), [](const Trace& a, const Trace& b) {
        return a.intervalSeconds < b.intervalSeconds;
      })->intervalSeconds;
  std::vector<std::size_t> kept, otherRate;
  for (std::size_t c = 0; c < first.size(); ++c) {
    (first[c].intervalSeconds == interval ? kept : otherRate).push_back(c);
  }
  if (!otherRate.empty()) {
    bench.Prompt().Notice(
        where + "left out, for being sampled at another rate: " + NamesOf(series, otherRate));
  }

  Recording recording;
  std::vector<bool> scaled;
  std::int64_t longest = 0;
  std::int64_t recorded = 0;
  bool unequal = false;
  for (const std::size_t c : kept) {
    bool sameCounts = first[c].type == StoredType::kInt16;
    for (std::size_t s = 0; s < series.sweeps.size(); ++s) {
      const Trace& trace = series.sweeps[s][c];
      if (trace.intervalSeconds != interval) {
        throw ConvoraError("trace " + series.channels[c].label + " of series " +
                           std::to_string(number) + " changes its sample interval in sweep " +
                           std::to_string(s + 1) + ", which one ABF file cannot hold");
      }
      sameCounts = sameCounts && trace.type == first[c].type && trace.scale == first[c].scale;
      unequal = unequal || trace.points != first[kept.front()].points;
      longest = std::max(longest, trace.points);
      recorded += trace.points;
    }
    scaled.push_back(!sameCounts);
    recording.channels.push_back({series.channels[c].label, series.channels[c].unit,
                                  sameCounts ? first[c].scale : 1.0, 0.0, sameCounts});
  }
  if (longest == 0) {
    bench.Prompt().Notice(where + "left out, for holding no samples");
    return false;
  }
  const auto sweeps = static_cast<std::int64_t>(series.sweeps.size());
  const std::int64_t padded = longest * sweeps * static_cast<std::int64_t>(kept.size());
  if (padded > 16 * recorded + (std::int64_t{1} << 20)) {
    // Lengths are the tree's word: one damaged sweep must not pad the others
    // into gigabytes of zeros.
    throw ConvoraError("series " + std::to_string(number) + " would be more than 16 times as " +
                       "long padded to its longest sweep (" + std::to_string(longest) +
                       " points) as what was recorded; a file of mostly zeros is not written");
  }
  if (unequal) {
    bench.Prompt().Notice(where + "its traces differ in length; each sweep is padded with " +
                          "zeros to the longest, " + std::to_string(longest) + " points");
  }
  recording.channelIntervalUs = interval * 1e6;
  recording.sweeps = sweeps;
  recording.scansPerSweep = longest;
  recording.start = series.start;
  recording.comment =
      series.groupLabel.empty() ? series.label : series.groupLabel + " / " + series.label;
  SeriesScans reader(source, series, std::move(kept), std::move(scaled));
  WriteRecording(bench, recording, reader, ending);
  return true;
}

}  // namespace

void ConvertPatchMaster(Workbench& bench) {
  SourceFile source(bench.SelectedFilePath);
  const std::vector<Series> all = patchmaster::ReadBundle(source);
  std::size_t written = 0;
  for (std::size_t k = 0; k < all.size(); ++k) {
    const std::string ending =
        written == 0 ? std::string(".ABF") : "_" + std::to_string(written + 1) + ".ABF";
    if (WriteSeries(bench, source, all[k], k + 1, ending)) ++written;
  }
  if (written == 0) throw ConvoraError("the file holds no series with samples to convert");
}

const FormatDescriptor kPatchMasterFormat{
    "PatchMaster bundle",
    [](const RecognitionInput& in) {
      return patchmaster::IsBundleHeader(std::span(in.header.Bytes()).first(64));
    },
    ConvertPatchMaster};

}  // namespace convora
