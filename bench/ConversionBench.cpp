// Throughput of the streaming conversions on a 16 MiB source, integer copy and
// two-pass float scaling. Opt in with -DCONVORA_BUILD_BENCH=ON; run bin/convora_bench.

#include <benchmark/benchmark.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <vector>

#include "abf/TemplateFile.h"
#include "workbench/ScriptedPrompter.h"
#include "generic/UnknownBinary.h"

namespace {

constexpr std::size_t kSourceBytes = 16 << 20;

const std::filesystem::path& Source() {
  static const std::filesystem::path path = [] {
    auto p = std::filesystem::temp_directory_path() / "convora-bench-source.dat";
    std::vector<float> values(kSourceBytes / sizeof(float));
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = std::sin(0.001f * i) * 2e-11f;
    std::ofstream(p, std::ios::binary)
        .write(reinterpret_cast<const char*>(values.data()), kSourceBytes);
    return p;
  }();
  return path;
}

void BM_ConvertUnknownBinary(benchmark::State& state) {
  convora::ScriptedPrompter prompter;
  convora::Workbench bench(convora::BuildDefaultTemplate(), prompter);
  bench.SelectedFilePath = Source();
  convora::BinarySettings settings;
  settings.floatingPoint = state.range(0) != 0;
  for (auto _ : state) convora::ConvertUnknownBinary(bench, settings);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kSourceBytes));
}
BENCHMARK(BM_ConvertUnknownBinary)->Arg(0)->Arg(1)->ArgNames({"float"})->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
