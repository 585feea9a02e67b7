#!/usr/bin/env bash
# Configures and builds the release preset (build/bin holds the programs and SamplABF.dat).
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset default >/dev/null
cmake --build --preset default
