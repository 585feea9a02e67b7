#!/usr/bin/env bash
# Makes the Debian package from the release build, installs it with apt as a
# user would, checks that the installed program finds its template and
# converts a file, and removes it again. Needs root (or sudo).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh >/dev/null
(cd build && cpack -G DEB >/dev/null)
deb="$(ls build/convora_*.deb | head -n 1)"
echo "package: $deb"
as_root=()
if [ "$(id -u)" -ne 0 ]; then as_root=(sudo); fi
DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq "./$deb" >/dev/null
trap 'DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get remove -y -qq convora >/dev/null' EXIT
scratch="$(mktemp -d /tmp/convora-packageXXXXXX)"  # no "." in the folder: outputs cut at the first one
head -c 4000 /dev/zero > "$scratch/raw.dat"
/usr/bin/convora --version
written="$(/usr/bin/convora binary --interval 50 "$scratch/raw.dat")"
test "$written" = "$scratch/raw.ABF"
printf 'IGOR\rWAVES\twave0\rBEGIN\r\t-1e-12\r\t1e-12\rEND\r' > "$scratch/wave.itx"
written="$(/usr/bin/convora convert --interval 50 "$scratch/wave.itx")"
test "$written" = "$scratch/wave.ABF"
# libmatio is loaded only when a MAT-file is read: the package must bring it.
/usr/bin/python3 -c 'import sys, numpy, scipy.io
scipy.io.savemat(sys.argv[1], {"T": numpy.arange(4.0).reshape(-1, 1) * 1e-4, "Y": numpy.ones((4, 1))})' \
  "$scratch/run.mat"
written="$(/usr/bin/convora convert "$scratch/run.mat")"
test "$written" = "$scratch/run.ABF"
# The installed window finds its template and draws itself (exit 3 without it).
QT_QPA_PLATFORM=offscreen /usr/bin/convora-gui --screenshot "$scratch/window.png"
test -s "$scratch/window.png"
test -f /usr/share/applications/convora.desktop
test -f /usr/share/man/man1/convora.1
rm -r "$scratch"
echo "package: installed; convert (Igor text, MAT-file), binary and the window ran from the installed paths; removed"
