#!/usr/bin/env bash
# Installs what a fresh Debian 12 machine lacks to build and test Convora.
set -euo pipefail

packages=(
  build-essential cmake            # compiler and build
  libcli11-dev                     # command-line parsing
  libgtest-dev libgmock-dev        # unit tests
  libbenchmark-dev                 # benchmarks
  libmatio-dev                     # MAT-files (built with HDF5, so version 7.3 reads)
  python3 python3-neo              # independent ABF readers for the read-back tests:
  python3-stfio python3-biosig     # neo, stfio and biosig
  python3-scipy                    # (neo's own numerics; MAT-files written by the tests)
  python3-h5py                     # MAT-files of version 7.3 written by the tests
  qt6-base-dev                     # the window (Qt 6 Widgets, QTest)
  xvfb xauth                       # a display for the window's screenshot without a screen
)

source "$(dirname "$0")/install_missing.sh"
install_missing setup "${packages[@]}"
