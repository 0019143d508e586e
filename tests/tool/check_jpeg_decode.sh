#!/usr/bin/env bash
# check_jpeg_decode.sh KOVRA SAMPLES_DIR [CORPUS_DIR]: `kovra decode` of JPEG files. The planar outputs have
# the layout --help gives (yuv444's Y plane is the gray PNG, yuv420's chroma the 2 x 2 means of
# yuv444's, an odd edge included); the EXIF orientation is printed only when there is one;
# 1/16..1/64 give their sizes; truncated, corrupt, CMYK and non-JPEG files fail with a message and
# leave no file; Ctrl-C stops a large decode with status 130 and no file; kovra info adds the
# tool's own reading of a JPEG. Every broken corpus JPEG decodes or is refused with a message and
# leaves no file, with no sanitizer report (the ASan leg runs this too).
set -euo pipefail
kovra=$1 samples=$2 corpus=${3:-}
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
status=0
fail() { echo "$*"; status=1; }

# Test images made by Pillow (libjpeg-turbo): an odd-width 4:4:4 photo (its chroma differs within
# a 2 x 2 block), a CMYK one, a large noisy one; and the sample cut short, and with a marker in
# its entropy data (after its last SOS: the first is its EXIF thumbnail's).
/usr/bin/python3 - "$out" "$samples/exif-200dpcm.jpg" <<'PY'
import os, sys
from PIL import Image
out, sample = sys.argv[1], open(sys.argv[2], "rb").read()
scan = sample.rfind(b"\xff\xda")
open(f"{out}/truncated.jpg", "wb").write(sample[:scan + 1000])
open(f"{out}/corrupt.jpg", "wb").write(sample[:scan + 400] + b"\xff\xd5" + sample[scan + 402:])
gradient = Image.linear_gradient("L").resize((33, 18))
Image.merge("RGB", (gradient, gradient.rotate(90, expand=False), gradient.transpose(Image.FLIP_LEFT_RIGHT))).save(
    f"{out}/odd.jpg", subsampling=0, quality=90)
Image.new("CMYK", (16, 16), (10, 20, 30, 40)).save(f"{out}/cmyk.jpg")
Image.frombytes("L", (4096, 4096), os.urandom(4096 * 4096)).convert("RGB").save(f"{out}/large.jpg", quality=95)
PY

for format in gray yuv444 yuv420; do
  log=$("$kovra" decode "$out/odd.jpg" -o "$out/$format" --format "$format") || fail "--format $format failed"
done
grep -q "orientation" <<<"$log" && fail "a file without EXIF has an orientation: $log"
log=$("$kovra" decode "$samples/exif-200dpcm.jpg" -o "$out/exif")
grep -q "EXIF orientation 1 (reported, not applied)" <<<"$log" || fail "no EXIF orientation: $log"

/usr/bin/python3 - "$out" <<'PY' || status=1
import sys
from PIL import Image
out, w, h = sys.argv[1], 33, 18
grey = Image.open(f"{out}/gray/odd.png").convert("L").tobytes()
full = open(f"{out}/yuv444/odd.yuv", "rb").read()
half = open(f"{out}/yuv420/odd.yuv", "rb").read()
assert len(full) == 3 * w * h and full[:w * h] == grey, "yuv444: not Y, Cb, Cr planes with the gray PNG as Y"
hw, hh = (w + 1) // 2, (h + 1) // 2
assert len(half) == w * h + 2 * hw * hh and half[:w * h] == grey, "yuv420: wrong size or Y plane"
for p in (1, 2):
    plane = full[p * w * h:(p + 1) * w * h]
    for y in range(hh):
        for x in range(hw):
            block = [plane[yy * w + xx] for yy in (2 * y, 2 * y + 1) if yy < h for xx in (2 * x, 2 * x + 1) if xx < w]
            mean = (sum(block) + len(block) // 2) // len(block)
            got = half[w * h + (p - 1) * hw * hh + y * hw + x]
            assert got == mean, f"yuv420 plane {p} at {x},{y}: {got}, the block's mean is {mean}"
PY

# refused FILE MESSAGE [ARGS...]: exit 1, MESSAGE on stderr, nothing in the output folder.
refused() {
  local file=$1 message=$2 err
  shift 2
  rm -rf "$out/refused"
  if err=$("$kovra" decode "$file" -o "$out/refused" "$@" 2>&1 >/dev/null); then
    fail "$file $*: exit status 0"
  elif [ $? -ne 1 ]; then
    fail "$file $*: exit status not 1"
  fi
  grep -q "$message" <<<"$err" || fail "$file $*: expected '$message', got: $err"
  [ -z "$(ls -A "$out/refused" 2>/dev/null)" ] || fail "$file $*: left $(ls "$out/refused")"
}
printf '\xff\xd8\xffGARBAGE' >"$out/garbage.jpg"
refused "$out/truncated.jpg" "truncated"
refused "$out/corrupt.jpg" "corrupt"
refused "$out/garbage.jpg" "not a JPEG"
refused "$out/cmyk.jpg" "CMYK JPEG files are not decoded"
for scale in 16 32 64; do
  size="$(( (33 + scale - 1) / scale )) x $(( (18 + scale - 1) / scale ))"
  "$kovra" decode "$out/odd.jpg" -o "$out/s$scale" --scale "1/$scale" | grep -q "output 1/$scale: $size rgba" ||
    fail "1/$scale: not $size"
  "$kovra" decode "$samples/exif-200dpcm.jpg" -o "$out/s$scale" --scale "1/$scale" --format yuv420 >/dev/null ||
    fail "exif-200dpcm.jpg at 1/$scale failed"
done

# Ctrl-C while the large photo decodes (or before its file is renamed into place): status 130,
# nothing left. Job control keeps SIGINT from being ignored in the background job.
set -m
"$kovra" decode "$out/large.jpg" -o "$out/interrupted" >/dev/null 2>"$out/interrupted.err" &
decoder=$!
sleep 0.3
kill -INT $decoder
wait $decoder && code=0 || code=$?
set +m
[ "$code" -eq 130 ] || fail "Ctrl-C: exit status $code, not 130"
grep -q "interrupted; nothing written" "$out/interrupted.err" || fail "Ctrl-C did not stop the decode through its callback"
[ -z "$(ls -A "$out/interrupted" 2>/dev/null)" ] || fail "Ctrl-C left $(ls -A "$out/interrupted")"

for broken in "$corpus"/jpeg-exif/broken-imagetestsuite/*; do
  [ -f "$broken" ] || continue
  rm -rf "$out/broken"
  "$kovra" decode "$broken" -o "$out/broken" >/dev/null 2>"$out/broken.err" && code=0 || code=$?
  if grep -q "Sanitizer\|runtime error" "$out/broken.err"; then
    fail "$broken: sanitizer report"
  elif [ "$code" -eq 1 ]; then
    grep -q "^kovra decode: " "$out/broken.err" || fail "$broken: exit 1 without a message"
    [ -z "$(ls -A "$out/broken" 2>/dev/null)" ] || fail "$broken: refused, yet left $(ls -A "$out/broken")"
  elif [ "$code" -ne 0 ]; then
    fail "$broken: exit status $code"
  fi
done

info=$("$kovra" info "$out/odd.jpg")
grep -q "tool's own reading.*33 x 18, 3 components (YCbCr), sampling 1x1 1x1 1x1" <<<"$info" || fail "info: $info"
"$kovra" info --json "$out/odd.jpg" | /usr/bin/python3 -c '
import json, sys
reading = json.load(sys.stdin)[0]["tool_reading"]
assert (reading["width"], reading["height"], reading["sampling"]) == (33, 18, "1x1 1x1 1x1"), reading' ||
  fail "info --json: no tool_reading of 33 x 18 1x1 1x1 1x1"
exit $status
