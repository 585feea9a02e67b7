#!/usr/bin/env bash
# Draws the pictures of the README's window section without a display: the
# main window previewing an episodic recording, and the binary settings
# window, each at 100 % and 200 % scaling, into docs/*.png.
#
#   bash docs/screenshots.sh [BUILD_DIR]     (default: build)
set -euo pipefail
cd "$(dirname "$0")/.."
bin="${1:-build}/bin"
[ -x "$bin/convora-gui" ] || { echo "error: $bin/convora-gui is not built" >&2; exit 2; }

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
# An episodic ABF 1.x recording of several sweeps from the shared samples.
recording="$work/sweeps.abf"
sample=../shared/samples/abf/myokit_abf-v1.abf
[ -f "$sample" ] || { echo "error: $sample is missing (see ../shared/samples)" >&2; exit 2; }
cp "$sample" "$recording"

# A laptop screen at 100 %, and a 2560 x 1440 one at 200 % (1280 x 720 logical
# pixels); the window takes 85 % of either.
screen() {
  printf '{ "screens": [ { "name": "s", "x": 0, "y": 0, "width": %d, "height": %d,
    "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1 } ] }' "$1" "$2" > "$work/screen.json"
}
draw() {  # SCALE SUFFIX
  for what in window binary-settings; do
    (cd "$work" && QT_QPA_PLATFORM="offscreen:configfile=$work/screen.json" QT_SCALE_FACTOR=$1 \
       "$OLDPWD/$bin/convora-gui" --screenshot "$OLDPWD/docs/$what$2.png" --preview "$recording" \
       $([ "$what" = window ] || echo --settings))
  done
}
screen 1366 768 && draw 1 ""
screen 2560 1440 && draw 2 "@2x"
ls -l docs/*.png
