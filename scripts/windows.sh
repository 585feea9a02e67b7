#!/usr/bin/env bash
# The Windows build: cross-compiles the command line and the test programs with
# MinGW-w64 (the "windows" preset, build-windows/), runs the tests under Wine
# on the console, and zips convora.exe with its template and a short text
# (build-windows/convora-*-win64.zip). Installs what is missing with apt-get
# (through sudo when not run as root). CONVORA_JOBS overrides the preset's jobs.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
  cmake                         # the build
  g++-mingw-w64-x86-64-posix    # the compilers whose library has std::thread
  wine wine64                   # runs the template generator and the tests
  libcli11-dev libgtest-dev     # CLI11's headers and GoogleTest's sources
)
source scripts/install_missing.sh
install_missing windows "${packages[@]}"

# Wine in a prefix of its own, thrown away afterwards; no display, no Mono or
# Gecko installers, no debugging chatter.
WINEPREFIX="$(mktemp -d /tmp/convora-wineXXXXXX)"
export WINEPREFIX WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
unset DISPLAY WAYLAND_DISPLAY
trap 'wineserver -k 2>/dev/null || true; rm -rf "$WINEPREFIX"' EXIT
wineboot --init 2>/dev/null  # the prefix, made once without its chatter about 32-bit Wine

cmake --preset windows >/dev/null
cmake --build --preset windows ${CONVORA_JOBS:+--parallel "$CONVORA_JOBS"}

cd build-windows/bin
wine ./convora_tests.exe --gtest_brief=1
wine ./convora_cli_tests.exe --gtest_brief=1
cd ..

cpack -G ZIP >/dev/null
zip="$(ls convora-*-win64.zip | head -n 1)"
echo "windows: build-windows/$zip holds:"
cmake -E tar tf "$zip"
echo "windows: built, tested under Wine and zipped in ${SECONDS} s"
