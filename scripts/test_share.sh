#!/usr/bin/env bash
# Lines of tests against lines of code: non-blank lines that are not comments
# (// or # at the start, which also passes over preprocessor lines), in the
# C++ and Python sources of tests/ and fuzz/ against those of src/, cli/, gui/.
# Then the same by part: each folder of code beside the tests written for it,
# and the suites that run across every part, against all the code.
set -euo pipefail
cd "$(dirname "$0")/.."
count() {
  find "$@" -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.py' \) -print0 |
    xargs -0 cat | grep -Ev '^\s*($|//|#)' | wc -l
}
row() {  # name, code lines, test lines
  awk -v n="$1" -v c="$2" -v t="$3" 'BEGIN { printf "%-18s %6d %6d %6.1f %%\n", n, c, t, 100 * t / c }'
}
tests=$(count tests fuzz)
code=$(count src cli gui)
echo "tests $tests, code $code: $((100 * tests / code)) %"

echo
printf '%-18s %6s %6s %8s\n' part code tests share
parts=0
for pair in src/abf:tests/unit/abf src/ascii:tests/unit/ascii src/formats:tests/unit/formats \
            src/tools:tests/unit/tools src/workbench:tests/unit/workbench src/app:tests/unit/app \
            src/generic:tests/golden cli:tests/cli gui:tests/gui; do
  lines=$(count "${pair#*:}")
  parts=$((parts + lines))
  row "${pair%%:*}" "$(count "${pair%%:*}")" "$lines"
done
row "every part" "$code" "$parts"
for suite in tests/support tests/interop tests/robustness fuzz; do
  row "$suite" "$code" "$(count "$suite")"
done
row "every suite" "$code" "$((tests - parts))"
