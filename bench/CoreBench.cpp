// Micro-benchmarks of the steps every conversion repeats: recognising a file
// from its first bytes, patching the template header, reading numbers from
// text, scaling values to counts, and the Gaussian filter with its widest
// kernel.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "abf/AbfOutput.h"
#include "abf/GaussianFilter.h"
#include "abf/Numbers.h"
#include "abf/SampleScaling.h"
#include "abf/StartDateTime.h"
#include "abf/TemplateFile.h"
#include "app/Recognition.h"
#include "formats/igortext/PieceCuts.h"
#include "formats/igortext/PieceNumberReader.h"

namespace {

void BM_Recognition(benchmark::State& state) {
  std::vector<std::uint8_t> first(6144);
  std::mt19937 random(1);
  for (auto& b : first) b = static_cast<std::uint8_t>(random());
  const auto input = convora::MakeRecognitionInput(first, 1 << 20, "/data/cell.dat", 0);
  for (auto _ : state) benchmark::DoNotOptimize(convora::MatchingRows(input));
}
BENCHMARK(BM_Recognition);

void BM_HeaderPatching(benchmark::State& state) {
  convora::AbfHeader header = convora::BuildDefaultTemplate();
  const convora::LocalDateTime now{2026, 11, 21, 10, 0, 0};
  for (auto _ : state) {
    convora::StampStartDateTime(header, now);
    for (std::size_t k = 0; k < 16; ++k) convora::SetChannelFields(header, k, "pA", 0.001f);
    benchmark::DoNotOptimize(header);
  }
}
BENCHMARK(BM_HeaderPatching);

// Numbers as a program writes a recording in amperes: six significant
// digits, random signs.
std::vector<std::string> RecordedNumbers() {
  std::mt19937 random(3);
  std::normal_distribution<double> normal(0.0, 1e-11);
  std::vector<std::string> numbers(1 << 12);
  for (auto& number : numbers) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", normal(random));
    number = text;
  }
  return numbers;
}

void BM_ReadingTextNumbers(benchmark::State& state) {
  const std::vector<std::string> numbers = RecordedNumbers();
  for (auto _ : state) {
    for (const auto& number : numbers) benchmark::DoNotOptimize(convora::LeadingNumber(number));
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * numbers.size()));
}
BENCHMARK(BM_ReadingTextNumbers);

// The same numbers as the lines of an Igor text wave, and where each starts.
struct WaveLines {
  std::string text;
  std::vector<std::uint32_t> starts;
};

WaveLines RecordedWaveLines() {
  WaveLines lines;
  for (const std::string& number : RecordedNumbers()) {
    lines.text += "\r\t";
    lines.starts.push_back(static_cast<std::uint32_t>(lines.text.size()));
    lines.text += number;
  }
  lines.text += "\r";
  return lines;
}

// Those numbers read through the layouts they repeat.
void BM_ReadingWaveNumbers(benchmark::State& state) {
  WaveLines lines = RecordedWaveLines();
  const std::size_t length = lines.text.size();
  lines.text.append(convora::PieceNumberReader::kReadAhead, '\0');
  std::vector<double> values(lines.starts.size());
  convora::PieceNumberReader reader;
  for (auto _ : state) {
    reader.Read(std::string_view(lines.text.data(), length), lines.starts, 64, values);
    benchmark::DoNotOptimize(values.data());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * lines.starts.size()));
}
BENCHMARK(BM_ReadingWaveNumbers);

// Where those lines start, found with the fastest search this processor can
// run.
void BM_FindingWaveLines(benchmark::State& state) {
  WaveLines lines = RecordedWaveLines();
  const std::size_t length = lines.text.size();
  lines.text.append(convora::kPieceCutLookAhead, '\0');
  std::vector<std::uint32_t> starts(lines.starts.size() + convora::kPieceStartsSlack);
  const convora::PieceStartsSearch search = convora::FastestPieceStarts();
  for (auto _ : state) {
    search(lines.text.data(), 0, length, starts.data());
    benchmark::DoNotOptimize(starts.data());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * lines.starts.size()));
}
BENCHMARK(BM_FindingWaveLines);

void BM_ScalingToCounts(benchmark::State& state) {
  convora::AbfHeader header = convora::BuildDefaultTemplate();
  header.Set(convora::abf::fInstrumentScaleFactor, 0, 0.5f);
  const convora::CountScaler toCount(header, 0);
  std::vector<float> values(1 << 16);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = std::sin(0.01f * i) * 1.9f;
  std::vector<std::int16_t> counts(values.size());
  for (auto _ : state) {
    benchmark::DoNotOptimize(toCount.ToCounts(values, counts));
    benchmark::DoNotOptimize(counts.data());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * values.size()));
}
BENCHMARK(BM_ScalingToCounts);

void BM_GaussianFilter(benchmark::State& state) {
  // fc 0.0001: sigma 1325, the half-width capped at 53 (107 taps); fc 0.1: 11 taps.
  const float fc = state.range(0) == 107 ? 0.0001f : 0.1f;
  std::vector<std::int16_t> input(1 << 20);
  std::mt19937 random(2);
  for (auto& v : input) v = static_cast<std::int16_t>(random() % 20001) - 10000;
  std::vector<std::int16_t> output(input.size());
  for (auto _ : state) {
    convora::GaussianFilter(input, output, fc);
    benchmark::DoNotOptimize(output.data());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * input.size()));
}
BENCHMARK(BM_GaussianFilter)->Arg(11)->Arg(107)->ArgNames({"taps"})->Unit(benchmark::kMillisecond);

}  // namespace
