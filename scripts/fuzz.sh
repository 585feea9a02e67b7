#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (AddressSanitizer and UBSan inside)
# and runs each for SECONDS (default 20) from the seed files of
# fuzz/make_seeds.py, keeping what each run learns in build-fuzz/corpus.
# A crash stops the script with the fuzzer's report and the input saved as
# build-fuzz/crash-*. Longer runs: bash scripts/fuzz.sh 600
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-20}"

CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCONVORA_BUILD_FUZZ=ON \
  -DCONVORA_BUILD_TESTS=OFF -DCONVORA_BUILD_GUI=OFF >/dev/null
cmake --build build-fuzz -j2
/usr/bin/python3 fuzz/make_seeds.py build-fuzz/corpus

for target in build-fuzz/bin/fuzz_*; do
  name="$(basename "$target")"
  mkdir -p "build-fuzz/corpus/$name"
  echo "fuzz: $name for ${seconds} s"
  log="build-fuzz/$name.log"
  status=0
  "$target" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -print_final_stats=1 \
    -artifact_prefix=build-fuzz/ "build-fuzz/corpus/$name" >"$log" 2>&1 || status=$?
  grep -E "^(stat::number_of_executed_units|Done)" "$log" || true
  if [ "$status" -ne 0 ]; then
    tail -n 60 "$log"
    echo "fuzz: $name failed (status $status); the input is saved as build-fuzz/crash-* or timeout-*"
    exit 1
  fi
done
