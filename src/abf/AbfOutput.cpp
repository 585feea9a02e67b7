#include "abf/AbfOutput.h"

#include <algorithm>
#include <bit>
#include <string>
#include <utility>

#include "abf/AsciiText.h"
#include "abf/ConvoraError.h"
#include "abf/Numbers.h"

namespace convora {

std::filesystem::path OutputNameFor(const std::filesystem::path& source,
                                    std::string_view extension) {
  const std::u8string text = source.u8string();
  const std::u8string stem = text.substr(0, text.find(u8'.'));
  return std::filesystem::path(stem + std::u8string(extension.begin(), extension.end()));
}

void SetChannelFields(AbfHeader& header, std::size_t channel, std::string_view unit,
                      std::optional<float> scaleFactor) {
  header.Set(abf::nADCSamplingSeq, channel, static_cast<std::int16_t>(channel));
  SetChannelCalibration(header, channel, unit, scaleFactor);
}

void SetChannelCalibration(AbfHeader& header, std::size_t channel, std::string_view unit,
                           std::optional<float> scaleFactor) {
  header.Set(abf::sADCUnits, channel, AsciiText(unit));
  header.Set(abf::fADCProgrammableGain, channel, 1.0f);
  if (scaleFactor) header.Set(abf::fInstrumentScaleFactor, channel, *scaleFactor);
  header.Set(abf::fInstrumentOffset, channel, 0.0f);
  header.Set(abf::fSignalGain, channel, 1.0f);
  header.Set(abf::fSignalOffset, channel, 0.0f);
}

std::optional<float> SecondsPerRunOf(const AbfHeader& header) {
  return NarrowToSingle(static_cast<double>(header.Get(abf::fADCSampleInterval)) *
                        header.Get(abf::lActualAcqLength) / 1'000'000.0);
}

void DataSectionWriter::WriteSamples(std::span<const std::int16_t> samples) {
  if constexpr (std::endian::native == std::endian::little) {
    WriteBytes({reinterpret_cast<const std::uint8_t*>(samples.data()), samples.size_bytes()});
    return;
  }
  scratch_.resize(samples.size() * 2);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    StoreLittleEndian<std::int16_t>(&scratch_[2 * i], samples[i]);
  }
  WriteBytes(scratch_);
}

void DataSectionWriter::WriteBytes(std::span<const std::uint8_t> bytes) {
  file_.WriteAt(position_, bytes);
  position_ += static_cast<std::int64_t>(bytes.size());
}

std::int64_t DataSectionWriter::CopyFromMapping(const SourceFile& source, std::int64_t offset,
                                                std::int64_t count) {
  const std::int64_t copied = file_.CopyFromMapping(source, offset, position_, count);
  position_ += copied;
  return copied;
}

std::span<std::int16_t> BatchedSamples::Next(std::size_t count) {
  if (used_ > 0 && used_ + count > kBatchSamples) Finish();
  // Grown as far as the samples go (a short recording never takes a whole
  // batch) and then reused: the room is filled by the caller, so it need not
  // be cleared each time.
  if (samples_.size() < used_ + count) samples_.resize(used_ + count);
  const std::span<std::int16_t> room = std::span(samples_).subspan(used_, count);
  used_ += count;
  return room;
}

void BatchedSamples::Finish() {
  out_.WriteSamples(std::span(samples_).first(used_));
  used_ = 0;
}

RunBatches::RunBatches(const DataSectionWriter& out, const std::vector<Stretch>& runs) {
  writers_.reserve(runs.size());
  batches_.reserve(runs.size());
  for (const Stretch& run : runs) {
    writers_.push_back(out.Skipped(run.from * std::int64_t{sizeof(std::int16_t)}));
    batches_.emplace_back(writers_.back());
  }
}

void RunBatches::Finish() {
  for (BatchedSamples& batch : batches_) batch.Finish();
}

void WriteAbfFile(const AbfHeader& header, const std::filesystem::path& source,
                  const std::filesystem::path& output, const SampleProducer& produceSamples) {
  const std::int32_t dataBlock = header.Get(abf::lDataSectionPtr);
  if (dataBlock < 0) throw ConvoraError("the template's data section pointer is negative");
  OutputFile file = OpenOutputFor(source, output);
  file.WriteAt(0, header.Bytes());
  DataSectionWriter writer(file, dataBlock * ABF_BLOCK_BYTES);
  produceSamples(writer);
  file.Close();
}

namespace {

// Copies `count` bytes from `offset` on through a buffer of this process.
void CopyThroughBuffer(SourceFile& source, std::int64_t offset, std::int64_t count,
                       DataSectionWriter out, bool swapPairs) {
  constexpr std::int64_t kChunk = 1 << 20;  // even, so value pairs never straddle chunks
  std::vector<std::uint8_t> buffer;
  for (std::int64_t done = 0; done < count; done += kChunk) {
    buffer.resize(static_cast<std::size_t>(std::min(kChunk, count - done)));
    source.ReadPadded(offset + done, buffer);
    if (swapPairs) {
      for (std::size_t i = 0; i + 1 < buffer.size(); i += 2) std::swap(buffer[i], buffer[i + 1]);
    }
    out.WriteBytes(buffer);
  }
}

}  // namespace

void CopyBytes(SourceFile& source, std::int64_t offset, std::int64_t count,
               DataSectionWriter& out, bool swapPairs) {
  if (count <= 0) return;
  // From 64 MiB on, runs on several cores: while one waits on the kernel for
  // its pages, another copies (256 MiB from byte 0 to byte 6144: 98 ms in two
  // runs, 131 ms in one, 117 ms for `cp`, best of 15 each).
  constexpr std::int64_t kSmallestRunBytes = 32 << 20;
  // Split between pairs of bytes, so that no swapped pair straddles two runs.
  const std::vector<Stretch> pairRuns =
      SplitEvenly((count + 1) / 2, PartsFor(count, kSmallestRunBytes));
  RunParts(pairRuns.size(), [&](std::size_t k) {
    const std::int64_t from = 2 * pairRuns[k].from;
    const std::int64_t length = std::min(2 * pairRuns[k].to, count) - from;
    DataSectionWriter run = out.Skipped(from);
    // Swapped bytes must pass through this process to be swapped.
    const std::int64_t mapped = swapPairs ? 0 : run.CopyFromMapping(source, offset + from, length);
    if (mapped == length) return;
    // The rest: bytes past the source's end, which read as zeros, or all of
    // them where the source cannot be mapped.
    const std::int64_t at = offset + from + mapped;
    if (pairRuns.size() == 1) return CopyThroughBuffer(source, at, length - mapped, run, swapPairs);
    SourceFile own = source.Reopened();  // a stream of its own: the runs read at once
    CopyThroughBuffer(own, at, length - mapped, run, swapPairs);
  });
  out.Skip(count);
}

}  // namespace convora
