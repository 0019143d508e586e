#!/usr/bin/env bash
# check_apng.sh KOVRA SAMPLES_DIR: the animated PNG of `kovra decode`, read by Pillow's APNG reader,
# has every frame of the sample animation with its delay, and its first and last frames hold the
# pixels Pillow decodes from the GIF itself (red within 1: the library's colour words clear red's
# lowest bit). The index format's palette PNG of a still GIF shows the same pixels as its RGBA PNG.
set -euo pipefail
kovra=$1 samples=$2
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
"$kovra" decode "$samples/animated-red-blue.gif" -o "$out" >/dev/null
for format in rgba index; do
  "$kovra" decode "$samples/hippopotamus.interlaced.gif" -o "$out/$format" --format $format >/dev/null
done
/usr/bin/python3 - "$out/animated-red-blue.png" "$samples/animated-red-blue.gif" "$out"/{rgba,index}/*-000.png <<'PY'
import sys
from PIL import Image
apng, gif = Image.open(sys.argv[1]), Image.open(sys.argv[2])
rgba, index = (Image.open(path).convert("RGBA").tobytes() for path in sys.argv[3:5])
assert rgba == index, "the palette PNG differs from the RGBA PNG"
durations = []
for i in range(apng.n_frames):
    apng.seek(i)
    durations.append(apng.info["duration"])
assert apng.format == "PNG" and durations == [100, 200, 300, 400], durations
for i in (0, apng.n_frames - 1):
    apng.seek(i)
    gif.seek(i)
    ours, theirs = apng.convert("RGBA").tobytes(), gif.convert("RGBA").tobytes()
    worst = [max(abs(ours[k] - theirs[k]) for k in range(c, len(ours), 4)) for c in range(4)]
    assert worst[0] <= 1 and worst[1:] == [0, 0, 0], (i, worst)
PY
