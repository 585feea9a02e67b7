#pragma once
// The steps every converter ends with: the output's name, the fields all
// outputs set, and the writer of the data section.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "abf/AbfHeader.h"
#include "abf/FileIo.h"
#include "abf/Parallel.h"

namespace convora {

// Everything before the first "." of the whole path, folders included, plus
// `extension`; the whole path plus `extension` when there is no ".". Cutting
// at a dotted folder (D:\exp.2\cell.dat gives D:\exp.ABF) is kept on purpose:
// files converted by earlier releases are found under those names.
std::filesystem::path OutputNameFor(const std::filesystem::path& source,
                                    std::string_view extension = ".ABF");

// Channel k's unit text (in ASCII: AsciiText), unit gains and zero offsets. Without a scale factor
// the channel keeps the one it had (a conversion whose range could not be used
// leaves it so).
void SetChannelCalibration(AbfHeader& header, std::size_t channel, std::string_view unit,
                           std::optional<float> scaleFactor);

// The same, with channel k sampled in slot k of the sampling sequence.
void SetChannelFields(AbfHeader& header, std::size_t channel, std::string_view unit,
                      std::optional<float> scaleFactor);

// fADCSampleInterval x lActualAcqLength / 1e6, the recording's length in
// seconds, as a float; nothing when it does not fit one.
std::optional<float> SecondsPerRunOf(const AbfHeader& header);

// Writes the data section sequentially from its start.
class DataSectionWriter {
 public:
  DataSectionWriter(OutputFile& file, std::int64_t start) : file_(file), position_(start) {}

  // A writer of the same section that starts `bytes` further on, so that
  // parts of the section produced at once each write their own stretch.
  DataSectionWriter Skipped(std::int64_t bytes) const { return {file_, position_ + bytes}; }
  // Where the next bytes go in the file.
  std::int64_t Position() const { return position_; }
  // Moves on past `bytes` that other writers of the section (Skipped) wrote.
  void Skip(std::int64_t bytes) { position_ += bytes; }

  void WriteSamples(std::span<const std::int16_t> samples);
  void WriteBytes(std::span<const std::uint8_t> bytes);
  // Copies up to `count` bytes of `source` from `offset` without passing them
  // through this process; returns how many it copied (see
  // OutputFile::CopyFromMapping).
  std::int64_t CopyFromMapping(const SourceFile& source, std::int64_t offset, std::int64_t count);

 private:
  OutputFile& file_;
  std::int64_t position_;
  std::vector<std::uint8_t> scratch_;
};

// Gathers samples produced a chunk at a time into writes of about 1 MiB:
// one large write costs the system less than many small ones.
class BatchedSamples {
 public:
  explicit BatchedSamples(DataSectionWriter& out) : out_(out) {}

  // Room for the next `count` samples, to be filled before the next call.
  std::span<std::int16_t> Next(std::size_t count);
  // Writes what is gathered; call once the last samples are filled.
  void Finish();

 private:
  static constexpr std::size_t kBatchSamples = 1 << 19;
  DataSectionWriter& out_;
  std::vector<std::int16_t> samples_;
  std::size_t used_ = 0;
};

// One BatchedSamples for each run of samples produced at once (ValueStream.h):
// run k's samples go to the data section from sample runs[k].from on.
class RunBatches {
 public:
  RunBatches(const DataSectionWriter& out, const std::vector<Stretch>& runs);

  BatchedSamples& operator[](std::size_t run) { return batches_[run]; }
  // Writes what every run has gathered.
  void Finish();

 private:
  std::vector<DataSectionWriter> writers_;  // never grows once made: the batches refer to them
  std::vector<BatchedSamples> batches_;
};

using SampleProducer = std::function<void(DataSectionWriter&)>;

// Writes `header` at byte 0 of `output` and the samples from lDataSectionPtr x
// 512 on. Refuses to write over `source` itself.
void WriteAbfFile(const AbfHeader& header, const std::filesystem::path& source,
                  const std::filesystem::path& output, const SampleProducer& produceSamples);

// Copies `count` bytes of the source from `offset` on, in runs on one thread
// per core once there are enough, each written from a mapping of the source
// where it can be mapped and through a bounded buffer otherwise; bytes past
// the source's end are written as zeros. With `swapPairs` the two bytes of
// every 16-bit value are exchanged on the way, through the buffer.
void CopyBytes(SourceFile& source, std::int64_t offset, std::int64_t count,
               DataSectionWriter& out, bool swapPairs = false);

}  // namespace convora
