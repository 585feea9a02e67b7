#!/usr/bin/env bash
# Converts a 1 GiB raw file (integer, then float mode) and prints the peak
# memory and time of each run, as measured with /usr/bin/time -v.
# Needs about 3 GiB of free disk in the scratch folder. Usage: measure-memory.sh [FOLDER]
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
scratch="${1:-$(mktemp -d)}"
trap 'rm -f "$scratch/raw.dat" "$scratch/raw.ABF"' EXIT
head -c 1073741824 /dev/urandom > "$scratch/raw.dat"
for mode in "" "--float"; do
  echo "convora binary $mode (1 GiB):"
  /usr/bin/time -v "$here/build/bin/convora" binary $mode "$scratch/raw.dat" 2>&1 >/dev/null |
    grep -E 'Maximum resident|Elapsed'
done
