#!/usr/bin/env bash
# Installs what is missing, builds, and runs the main job: a recording that
# this script makes itself (2 s of 16-bit samples at 10 kHz) is converted to
# ABF on the command line and its header summarised. With a display, the
# window then opens on the example folder.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
bash scripts/build.sh

mkdir -p example
/usr/bin/python3 - example/recording.dat <<'PY'
import math, struct, sys
# A 50 Hz oscillation with a spike train on top, in converter counts.
counts = []
for i in range(20000):
    t = i / 10000.0
    spike = 8000 if i % 2500 < 20 else 0
    counts.append(int(3000 * math.sin(2 * math.pi * 50 * t)) + spike)
with open(sys.argv[1], "wb") as out:
    out.write(struct.pack(f"<{len(counts)}h", *counts))
PY

echo "Converting example/recording.dat:"
build/bin/convora binary --interval 100 --unit pA --scale 0.001 example/recording.dat
build/bin/convora info example/recording.ABF

if [ -n "${DISPLAY:-}" ] && [ -x build/bin/convora-gui ]; then
  echo "Opening the window on example/ (close it to end the demo)."
  (cd example && ../build/bin/convora-gui)
fi
