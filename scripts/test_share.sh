#!/usr/bin/env bash
# Lines of tests against lines of code: non-blank lines that are not comments
# (// or # at the start, which also passes over preprocessor lines), in the
# C++ and Python sources of tests/ and fuzz/ against those of src/, cli/, gui/.
set -euo pipefail
cd "$(dirname "$0")/.."
count() {
  find "$@" -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.py' \) -print0 |
    xargs -0 cat | grep -Ev '^\s*($|//|#)' | wc -l
}
tests=$(count tests fuzz)
code=$(count src cli gui)
echo "tests $tests, code $code: $((100 * tests / code)) %"
