#pragma once
// Helpers shared by the tests: scratch folders, byte builders for crafted
// sources, a workbench with a fixed clock, and readers of written files.

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "abf/AbfHeader.h"
#include "abf/StartDateTime.h"
#include "workbench/ScriptedPrompter.h"
#include "workbench/Workbench.h"

namespace convora::test {

using Bytes = std::vector<std::uint8_t>;

// A fresh folder, removed with everything in it when the object goes.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::filesystem::path& Path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

void WriteFile(const std::filesystem::path& path, const Bytes& bytes);
inline Bytes TextBytes(std::string_view text) { return Bytes(text.begin(), text.end()); }
Bytes ReadFile(const std::filesystem::path& path);

// Appends values in a chosen byte order, for crafting source files.
class ByteBuilder {
 public:
  ByteBuilder& Int16LE(std::int16_t v);
  ByteBuilder& Int32LE(std::int32_t v);
  ByteBuilder& FloatLE(float v);
  ByteBuilder& DoubleLE(double v);
  ByteBuilder& Int16BE(std::int16_t v);
  ByteBuilder& Int32BE(std::int32_t v);
  ByteBuilder& FloatBE(float v);
  ByteBuilder& DoubleBE(double v);
  // Big-endian when `big`, as a source of either byte order is written.
  ByteBuilder& Int16(std::int16_t v, bool big) { return big ? Int16BE(v) : Int16LE(v); }
  ByteBuilder& Int32(std::int32_t v, bool big) { return big ? Int32BE(v) : Int32LE(v); }
  ByteBuilder& Float(float v, bool big) { return big ? FloatBE(v) : FloatLE(v); }
  ByteBuilder& Double(double v, bool big) { return big ? DoubleBE(v) : DoubleLE(v); }
  // The text's bytes, then zeros (or blanks) up to `width` when given.
  ByteBuilder& Text(std::string_view text, std::size_t width = 0, char pad = '\0');
  ByteBuilder& Zeros(std::size_t count);
  // Zeros up to `size` bytes in all (no-op when already that long).
  ByteBuilder& PadTo(std::size_t size);
  ByteBuilder& Raw(const Bytes& bytes);
  const Bytes& Get() const { return bytes_; }
  std::size_t Size() const { return bytes_.size(); }

 private:
  Bytes bytes_;
};

// The notice line a run shows about `source`.
inline std::string Notice(const std::filesystem::path& source, std::string_view text) {
  return "notice: " + source.string() + ": " + std::string(text);
}

// An Axograph file of version `version`: "AxGr", version, column count, then
// the time column (0, `step`, zeros) and the signal columns, every number
// big-endian, titles blank-padded to 80.
struct AxographSignal {
  std::string title;
  std::vector<float> values;
};
Bytes AxographFile(const std::vector<AxographSignal>& traces, float step,
                   std::int16_t version = 1);

// 15 November 2026, 13:45:30: lFileStartDate 261115, lFileStartTime 49530.
inline constexpr LocalDateTime kFixedNow{2026, 11, 15, 13, 45, 30};

// A workbench on the shipped template with a scripted prompter, a fixed clock
// and a scratch folder for sources and outputs.
struct BenchFixture {
  BenchFixture();
  explicit BenchFixture(const AbfHeader& templateHeader);

  // Writes `bytes` as `name` in the scratch folder and selects it.
  std::filesystem::path Select(const std::string& name, const Bytes& bytes);

  TempDir dir;
  ScriptedPrompter prompter;
  Workbench bench;
};

// The template as a conversion stamps it at kFixedNow, before its own fields.
AbfHeader StampedTemplate();
AbfHeader StampedTemplate(AbfHeader header);

// The default template with `channels` channels in slots 0, 1, ...: data from
// block 12, 100 us per sample, unit "pA" and unit gains; range 10 over
// resolution 10 makes a count read as its own value in pA.
AbfHeader PlainAbfHeader(std::int16_t channels = 1);
// The same in episodic mode 5: `sweeps` sweeps of `sweepSamples` samples each.
AbfHeader EpisodicAbfHeader(std::int16_t channels, std::int32_t sweepSamples, std::int32_t sweeps);
// The header's bytes, then the samples (the header's sample count is left alone).
Bytes AbfBytes(const AbfHeader& header, const std::vector<std::int16_t>& samples);
// A plain ABF file of these samples.
Bytes AbfBytes(const std::vector<std::int16_t>& samples, std::int16_t channels = 1);

// `count` samples: start, start + step, ...
std::vector<std::int16_t> Ramp(std::size_t count, int start = 0, int step = 1);
// How many entries a folder holds.
std::ptrdiff_t EntriesIn(const std::filesystem::path& folder);

// The header and the 16-bit samples of a written ABF file.
AbfHeader HeaderOf(const Bytes& file);
std::vector<std::int16_t> SamplesOf(const Bytes& file, std::size_t count);

// The folder of real files written by other software, or empty when absent.
std::filesystem::path SamplesFolder();

}  // namespace convora::test
