#pragma once
// The whole ABF files conversions must write, built field by field by hand for
// the byte-for-byte tests of every converter, and the checks those tests share.

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "abf/AbfHeader.h"
#include "abf/AbfOutput.h"
#include "abf/ConvoraError.h"
#include "support/TestSupport.h"

namespace convora::test {

// Channel k as a converter describes it: slot k, unit, unit gains, scale factor.
inline void DescribeChannel(AbfHeader& h, std::size_t k, std::string_view unit, float scale) {
  h.Set(abf::nADCSamplingSeq, k, static_cast<std::int16_t>(k));
  h.Set(abf::sADCUnits, k, unit);
  h.Set(abf::fADCProgrammableGain, k, 1.0f);
  h.Set(abf::fInstrumentScaleFactor, k, scale);
  h.Set(abf::fInstrumentOffset, k, 0.0f);
  h.Set(abf::fSignalGain, k, 1.0f);
  h.Set(abf::fSignalOffset, k, 0.0f);
}

// The recording's length, timing and converter fields.
inline void DescribeRecording(AbfHeader& h, std::int32_t samples, float interval, float seconds,
                              float range = 10.24f, std::int32_t resolution = 32768) {
  h.Set(abf::lActualAcqLength, samples);
  h.Set(abf::fADCSampleInterval, interval);
  h.Set(abf::fSecondsPerRun, seconds);
  h.Set(abf::fADCRange, range);
  h.Set(abf::lADCResolution, resolution);
}

// `old` (the file written over, empty for a new file) with the header laid over
// its start and `data` at the data section; bytes in between that were never
// written read back as zeros from a new file, and a longer old file keeps its tail.
inline Bytes RawAbfImage(const AbfHeader& h, const Bytes& data, Bytes old = {}) {
  const auto start = static_cast<std::size_t>(h.Get(abf::lDataSectionPtr)) * 512;
  old.resize(std::max(old.size(), start + data.size()), 0);
  std::copy(h.Bytes().begin(), h.Bytes().end(), old.begin());
  std::copy(data.begin(), data.end(), old.begin() + static_cast<std::ptrdiff_t>(start));
  return old;
}

inline Bytes AbfImage(const AbfHeader& h, const std::vector<std::int16_t>& samples,
                      Bytes old = {}) {
  ByteBuilder data;
  for (const std::int16_t s : samples) data.Int16LE(s);
  return RawAbfImage(h, data.Get(), std::move(old));
}

// A template whose every byte is set, with the data section at block 16.
inline AbfHeader PatternedTemplate() {
  Bytes image(ABF_HEADER_BYTES);
  for (std::size_t i = 0; i < image.size(); ++i) image[i] = static_cast<std::uint8_t>(i * 7 + 3);
  AbfHeader h(image);
  h.Set(abf::lDataSectionPtr, 16);
  return h;
}

// The header of an ABF file for the editing tools to work on: every byte
// patterned, `channels` channels of unit gains in slots 0, 1, ..., 100 us
// between samples, a 10 V range in 32768 counts, data at block 16.
inline AbfHeader AbfToEdit(std::int32_t samples, std::int16_t channels = 1) {
  AbfHeader h = PatternedTemplate();
  h.Set(abf::lFileSignature, "ABF ");
  h.Set(abf::nADCNumChannels, channels);
  for (std::int16_t k = 0; k < channels; ++k) DescribeChannel(h, static_cast<std::size_t>(k), "pA", 1.0f);
  DescribeRecording(h, samples, 100.0f, 0.0f, 10.0f, 32768);
  return h;
}

// A pattern of `size` bytes for copied data.
inline Bytes Counting(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 13 + 5);
  return bytes;
}

using Converter = std::function<void(Workbench&)>;

// Selects `source` as `name`, converts it and returns the output, which must be listed.
inline Bytes Converted(BenchFixture& f, const Converter& convert, const std::string& name,
                       const Bytes& source) {
  f.Select(name, source);
  convert(f.bench);
  const auto output = OutputNameFor(f.bench.SelectedFilePath);
  const auto& listed = f.bench.List1.Entries();
  EXPECT_TRUE(!listed.empty() && listed.back() == output) << output;
  return ReadFile(output);
}

// Converting `source` must end with an error that names `reason`, and leave no
// output, nothing listed and the record as it was.
inline void ExpectError(BenchFixture& f, const Converter& convert, const std::string& name,
                        const Bytes& source, std::string_view reason = {}) {
  f.Select(name, source);
  const AbfHeader before = f.bench.TemplateHeader;
  try {
    convert(f.bench);
    ADD_FAILURE() << name << " converted, expecting an error about " << reason;
  } catch (const ConvoraError& error) {
    EXPECT_NE(std::string_view(error.what()).find(reason), std::string_view::npos)
        << error.what();
  }
  EXPECT_FALSE(std::filesystem::exists(OutputNameFor(f.bench.SelectedFilePath)));
  EXPECT_TRUE(f.bench.List1.Entries().empty());
  EXPECT_EQ(f.bench.TemplateHeader, before);
}

// Each source must end in an error that names its reason, as ExpectError checks it.
inline void ExpectErrors(BenchFixture& f, const Converter& convert, const std::string& name,
                         const std::vector<std::pair<Bytes, std::string>>& refused) {
  for (const auto& [source, why] : refused) {
    SCOPED_TRACE(why);
    ExpectError(f, convert, name, source, why);
  }
}

}  // namespace convora::test
