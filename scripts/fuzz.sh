#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (AddressSanitizer and UBSan inside)
# and runs each for SECONDS (default 20) from the seed files of
# fuzz/make_seeds.py, keeping what each run learns in build-fuzz/corpus.
# A crash stops the script with the fuzzer's report and the input saved as
# build-fuzz/crash-*. Longer runs: bash scripts/fuzz.sh 600
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-20}"
# Leaks inside libraries that are not ours to fix (see the file).
export LSAN_OPTIONS="suppressions=$PWD/fuzz/lsan-suppressions.txt:print_suppressions=0${LSAN_OPTIONS:+:$LSAN_OPTIONS}"

CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCONVORA_BUILD_FUZZ=ON \
  -DCONVORA_BUILD_TESTS=OFF -DCONVORA_BUILD_GUI=OFF >/dev/null
cmake --build build-fuzz -j2
/usr/bin/python3 fuzz/make_seeds.py build-fuzz/corpus

# Runs TARGET and prints its summary; fails, with the fuzzer's report, on a
# crash or a timeout.
run_one() {
  local target="$1" name log status=0
  name="$(basename "$target")"
  mkdir -p "build-fuzz/corpus/$name"
  log="build-fuzz/$name.log"
  "$target" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -print_final_stats=1 \
    -artifact_prefix=build-fuzz/ "build-fuzz/corpus/$name" >"$log" 2>&1 || status=$?
  echo "fuzz: $name for ${seconds} s"
  grep -E "^(stat::number_of_executed_units|Done)" "$log" || true
  if [ "$status" -ne 0 ]; then
    tail -n 60 "$log"
    echo "fuzz: $name failed (status $status); the input is saved as build-fuzz/crash-* or timeout-*"
    return 1
  fi
}

# A fuzzer keeps one core busy: as many run at once as there are cores.
jobs="$(nproc)"
targets=(build-fuzz/bin/fuzz_*)
for ((k = 0; k < ${#targets[@]}; k += jobs)); do
  batch=("${targets[@]:k:jobs}")
  pids=()
  for target in "${batch[@]}"; do
    run_one "$target" >"build-fuzz/$(basename "$target").summary" &
    pids+=("$!")
  done
  failed=0
  for pid in "${pids[@]}"; do wait "$pid" || failed=1; done
  for target in "${batch[@]}"; do cat "build-fuzz/$(basename "$target").summary"; done
  [ "$failed" -eq 0 ] || exit 1
done
