#include "support/TestSupport.h"

#include <atomic>
#include <bit>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>

#include "abf/LittleEndian.h"
#include "abf/TemplateFile.h"

namespace convora::test {

TempDir::TempDir() {
  static std::atomic<int> counter{0};
  std::random_device random;
  path_ = std::filesystem::temp_directory_path() /
          ("convora-test-" + std::to_string(random()) + "-" + std::to_string(counter++));
  std::filesystem::create_directories(path_);
}

TempDir::~TempDir() {
  std::error_code ec;
  std::filesystem::remove_all(path_, ec);
}

void WriteFile(const std::filesystem::path& path, const Bytes& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

Bytes ReadFile(const std::filesystem::path& path) {
  std::error_code missing;
  const std::uintmax_t size = std::filesystem::file_size(path, missing);
  if (missing) return {};
  std::ifstream in(path, std::ios::binary);
  Bytes bytes(static_cast<std::size_t>(size));
  in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(in.gcount()));
  return bytes;
}

namespace {

template <typename T>
void Append(Bytes& bytes, T value, bool bigEndian) {
  std::uint8_t raw[sizeof(T)];
  StoreLittleEndian<T>(raw, value);
  if (bigEndian) std::reverse(std::begin(raw), std::end(raw));
  bytes.insert(bytes.end(), std::begin(raw), std::end(raw));
}

}  // namespace

ByteBuilder& ByteBuilder::Int16LE(std::int16_t v) { Append(bytes_, v, false); return *this; }
ByteBuilder& ByteBuilder::Int32LE(std::int32_t v) { Append(bytes_, v, false); return *this; }
ByteBuilder& ByteBuilder::FloatLE(float v) { Append(bytes_, v, false); return *this; }
ByteBuilder& ByteBuilder::DoubleLE(double v) { Append(bytes_, v, false); return *this; }
ByteBuilder& ByteBuilder::Int16BE(std::int16_t v) { Append(bytes_, v, true); return *this; }
ByteBuilder& ByteBuilder::Int32BE(std::int32_t v) { Append(bytes_, v, true); return *this; }
ByteBuilder& ByteBuilder::FloatBE(float v) { Append(bytes_, v, true); return *this; }
ByteBuilder& ByteBuilder::DoubleBE(double v) { Append(bytes_, v, true); return *this; }

ByteBuilder& ByteBuilder::Text(std::string_view text, std::size_t width, char pad) {
  bytes_.insert(bytes_.end(), text.begin(), text.end());
  for (std::size_t i = text.size(); i < width; ++i) bytes_.push_back(static_cast<std::uint8_t>(pad));
  return *this;
}

ByteBuilder& ByteBuilder::Zeros(std::size_t count) {
  bytes_.insert(bytes_.end(), count, 0);
  return *this;
}

ByteBuilder& ByteBuilder::PadTo(std::size_t size) {
  if (bytes_.size() < size) bytes_.resize(size, 0);
  return *this;
}

ByteBuilder& ByteBuilder::Raw(const Bytes& bytes) {
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  return *this;
}

Bytes AxographFile(const std::vector<AxographSignal>& traces, float step,
                   std::int16_t version) {
  const auto points = static_cast<std::int32_t>(traces.front().values.size());
  ByteBuilder b;
  b.Text("AxGr").Int16BE(version).Int16BE(static_cast<std::int16_t>(traces.size() + 1));
  b.Int32BE(points).Text("Time (s)", 80, ' ').FloatBE(0.0f).FloatBE(step);
  b.Zeros(4 * static_cast<std::size_t>(points - 2));
  for (const auto& signal : traces) {
    b.Int32BE(points).Text(signal.title, 80, ' ');
    for (const float v : signal.values) b.FloatBE(v);
  }
  return b.Get();
}

BenchFixture::BenchFixture() : BenchFixture(BuildDefaultTemplate()) {}

BenchFixture::BenchFixture(const AbfHeader& templateHeader)
    : bench(templateHeader, prompter, [] { return kFixedNow; }) {}

std::filesystem::path BenchFixture::Select(const std::string& name, const Bytes& bytes) {
  const auto path = dir / name;
  WriteFile(path, bytes);
  bench.SelectedFilePath = path;
  return path;
}

AbfHeader StampedTemplate() { return StampedTemplate(BuildDefaultTemplate()); }

AbfHeader StampedTemplate(AbfHeader header) {
  header.Set(abf::lFileStartDate, 261115);
  header.Set(abf::lFileStartTime, 13 * 3600 + 45 * 60 + 30);
  header.Set(abf::lStopwatchTime, 0);
  header.Set(abf::nAutosampleEnable, std::int16_t{0});
  header.Set(abf::fAutosampleAdditGain, 1.0f);
  return header;
}

AbfHeader PlainAbfHeader(std::int16_t channels) {
  AbfHeader h = BuildDefaultTemplate();
  h.Set(abf::nADCNumChannels, channels);
  h.Set(abf::fADCRange, 10.0f);
  h.Set(abf::lADCResolution, 10);
  for (std::size_t k = 0; k < 16; ++k) h.Set(abf::nADCSamplingSeq, k, static_cast<std::int16_t>(k));
  return h;
}

AbfHeader EpisodicAbfHeader(std::int16_t channels, std::int32_t sweepSamples,
                            std::int32_t sweeps) {
  AbfHeader h = PlainAbfHeader(channels);
  h.Set(abf::nOperationMode, std::int16_t{5});
  h.Set(abf::lNumSamplesPerEpisode, sweepSamples);
  h.Set(abf::lActualEpisodes, sweeps);
  return h;
}

Bytes AbfBytes(const AbfHeader& header, const std::vector<std::int16_t>& samples) {
  ByteBuilder file;
  file.Raw(Bytes(header.Bytes().begin(), header.Bytes().end()));
  for (const std::int16_t s : samples) file.Int16LE(s);
  return file.Get();
}

Bytes AbfBytes(const std::vector<std::int16_t>& samples, std::int16_t channels) {
  AbfHeader h = PlainAbfHeader(channels);
  h.Set(abf::lActualAcqLength, static_cast<std::int32_t>(samples.size()));
  return AbfBytes(h, samples);
}

std::vector<std::int16_t> Ramp(std::size_t count, int start, int step) {
  std::vector<std::int16_t> samples(count);
  for (std::size_t i = 0; i < count; ++i) {
    samples[i] = static_cast<std::int16_t>(start + step * static_cast<int>(i));
  }
  return samples;
}

std::ptrdiff_t EntriesIn(const std::filesystem::path& folder) {
  return std::distance(std::filesystem::directory_iterator(folder), {});
}

AbfHeader HeaderOf(const Bytes& file) { return AbfHeader(file); }

std::vector<std::int16_t> SamplesOf(const Bytes& file, std::size_t count) {
  const AbfHeader header(file);
  const auto start = static_cast<std::size_t>(header.Get(abf::lDataSectionPtr)) * 512;
  std::vector<std::int16_t> samples;
  for (std::size_t i = 0; i < count && start + 2 * i + 1 < file.size(); ++i) {
    samples.push_back(LoadLittleEndian<std::int16_t>(&file[start + 2 * i]));
  }
  return samples;
}

std::filesystem::path SamplesFolder() {
  const char* fromEnvironment = std::getenv("CONVORA_SAMPLES_DIR");
  const std::filesystem::path folder = fromEnvironment ? fromEnvironment : CONVORA_SAMPLES_DIR;
  std::error_code ec;
  return std::filesystem::is_directory(folder, ec) ? folder : std::filesystem::path();
}

}  // namespace convora::test
