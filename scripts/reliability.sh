#!/usr/bin/env bash
# The whole test suite under AddressSanitizer and UBSan, then a short run of
# every fuzz target (FUZZ_SECONDS each, default 20).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset debug >/dev/null
cmake --build --preset debug
ctest --preset debug
bash scripts/fuzz.sh "${FUZZ_SECONDS:-20}"
