// Samples that lie beyond 4 GiB, in sparse files: every offset must be 64-bit.

#include <gtest/gtest.h>

#include <fstream>

#include "abf/FileIo.h"
#include "generic/UnknownBinary.h"
#include "support/ExpectedAbf.h"
#include "tools/AbfTools.h"

namespace convora {
namespace {

using test::Bytes;

constexpr std::int32_t kFarBlock = 8'400'000;  // x 512 = 4,300,800,000 bytes
constexpr std::int64_t kFar = std::int64_t{kFarBlock} * 512;

// A sparse file: `head` at byte 0 and `far` at byte kFar, nothing stored between.
void WriteSparse(const std::filesystem::path& path, const Bytes& head, const Bytes& far) {
  test::WriteFile(path, head);
  std::filesystem::resize_file(path, static_cast<std::uintmax_t>(kFar));
  std::ofstream out(path, std::ios::binary | std::ios::in | std::ios::out);
  out.seekp(kFar);
  out.write(reinterpret_cast<const char*>(far.data()), static_cast<std::streamsize>(far.size()));
}

Bytes ReadFar(const std::filesystem::path& path, std::size_t count) {
  SourceFile file(path);
  Bytes bytes(count);
  EXPECT_EQ(file.ReadPadded(kFar, bytes), count);
  return bytes;
}

Bytes SamplesAsBytes(const std::vector<std::int16_t>& samples) {
  test::ByteBuilder b;
  for (const auto s : samples) b.Int16LE(s);
  return b.Get();
}

TEST(LargeFile, ToolsReadAndWriteSamplesBeyondFourGibibytes) {
  test::BenchFixture f;
  AbfHeader h = test::AbfToEdit(4);
  h.Set(abf::lDataSectionPtr, kFarBlock);
  const auto source = f.dir / "far.abf";
  WriteSparse(source, Bytes(h.Bytes().begin(), h.Bytes().end()),
              SamplesAsBytes({-2000, 8000, 1, 3}));
  f.bench.SelectedFilePath = source;
  f.prompter.AnswerInput("output", (f.dir / "scaled.abf").string());
  DownscaleAbfFile(f.bench);
  // The peak of 8000 counts moves to 16384 (scale factor 2.048), as near the start.
  EXPECT_EQ(ReadFar(f.dir / "scaled.abf", 8), SamplesAsBytes({-4096, 16384, 2, 6}));
  EXPECT_EQ(std::filesystem::file_size(f.dir / "scaled.abf"), static_cast<std::uintmax_t>(kFar + 8));
}

TEST(LargeFile, RawConversionFromAByteLocationBeyondFourGibibytes) {
  test::BenchFixture f;
  const auto source = f.dir / "far.dat";
  WriteSparse(source, Bytes{1, 2, 3}, SamplesAsBytes({7, -7}));
  f.bench.SelectedFilePath = source;
  BinarySettings settings;
  settings.byteLocation = std::to_string(kFar);
  ConvertUnknownBinary(f.bench, settings);
  const Bytes written = test::ReadFile(f.dir / "far.ABF");
  EXPECT_EQ(test::HeaderOf(written).Get(abf::lActualAcqLength), 2);
  EXPECT_EQ(test::SamplesOf(written, 2), (std::vector<std::int16_t>{7, -7}));
}

}  // namespace
}  // namespace convora
