#!/usr/bin/env bash
# check_decode.sh KOVRA SAMPLES_DIR: `kovra decode` writes one PNG per frame of each sample GIF and
# an animated PNG, prints the delays, names why a GIF or a frame failed (exit 1 unless
# --allow-partial), and refuses bad arguments and non-GIF files.
set -euo pipefail
kovra=$1 samples=$2
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
status=0
fail() { echo "$*"; status=1; }

is_png() { [ "$(head -c 8 "$1" | od -An -tx1 | tr -d ' \n')" = "89504e470d0a1a0a" ]; }

log=$("$kovra" decode "$samples/animated-red-blue.gif" -o "$out/rgba")
for i in 000 001 002 003; do
  is_png "$out/rgba/animated-red-blue-$i.png" || fail "frame $i of animated-red-blue.gif missing or not a PNG"
done
[ -e "$out/rgba/animated-red-blue-004.png" ] && fail "animated-red-blue.gif has four frames, a fifth was written"
grep -q "frame 1: delay 200 ms" <<<"$log" || fail "expected the second frame's delay of 200 ms, got: $log"
grep -q "4 frames written" <<<"$log" || fail "expected 4 frames, got: $log"
is_png "$out/rgba/animated-red-blue.png" || fail "no animated PNG beside the frames"

# 1 x 1 GIFs: two frames, the second with an LZW code size of 12; then headers the library refuses.
gif_head='GIF89a\x01\x00\x01\x00\x80\x00\x00\x00\x00\x00\xff\xff\xff'
frame=',\x00\x00\x00\x00\x01\x00\x01\x00\x00'
printf "$gif_head$frame"'\x02\x02\x44\x01\x00'"$frame"'\x0c\x02\x44\x01\x00;' >"$out/two.gif"
if log=$("$kovra" decode "$out/two.gif" -o "$out/two" 2>/dev/null); then fail "a failed frame gave exit status 0"; fi
grep -q "1 frame written to .*; frame 1 failed: LZW code size 12" <<<"$log" || fail "no failure summary: $log"
"$kovra" decode "$out/two.gif" -o "$out/two" --allow-partial >/dev/null 2>&1 || fail "--allow-partial still failed"
for case in 'GIF8Xa\x01\x00\x01\x00\x00\x00\x00,bad signature' 'GIF89a\x00\x00\x01\x00\x00\x00\x00,zero screen' \
            'GIF89a\x01\x00\x01\x00\x87\x00\x00\x00\x00,colour table is cut off' \
            'GIF89a\x11\x27\x01\x00\x80\x00\x00\x00\x00\x00\x00\x00\x00,above the limit of 10000'; do
  printf "${case%,*}" >"$out/bad.gif"
  err=$("$kovra" decode "$out/bad.gif" -o "$out/bad" 2>&1 >/dev/null) && fail "accepted ${case%,*}"
  grep -q "${case#*,}" <<<"$err" || fail "expected '${case#*,}', got: $err"
done

for format in bgra index; do
  "$kovra" decode "$samples/hippopotamus.interlaced.gif" -o "$out/$format" --format "$format" --sample 3 >/dev/null
  is_png "$out/$format/hippopotamus.interlaced-000.png" || fail "--format $format wrote no PNG"
done
log=$("$kovra" decode "$samples/ad.gif" -o "$out/ad" --sample 4)
grep -q "output 4 x 2" <<<"$log" || fail "ad.gif at sample 4 should be 4 x 2, got: $log"

# A screen of 2^32 pixels in 29 bytes: refused before anything is allocated, unless the limit is
# raised above it (then sampled down below it, it decodes).
printf 'GIF89a\xff\xff\xff\xff\x00\x00\x00,\x00\x00\x00\x00\x01\x00\x01\x00\x00\x02\x02\x44\x01\x00;' >"$out/huge.gif"
if err=$("$kovra" decode "$out/huge.gif" -o "$out/huge" --format index 2>&1 >/dev/null); then
  fail "kovra decode accepted a 65535 x 65535 output"
fi
grep -q -- "--max-pixels" <<<"$err" || fail "the refusal should name --max-pixels, got: $err"
"$kovra" decode "$out/huge.gif" -o "$out/huge" --format index --sample 1000 --max-pixels 4225 >/dev/null ||
  fail "a 65 x 65 output within --max-pixels was refused"

for bad in "--sample 0" "--format rgb" "-o" "" "--max-pixels 0"; do
  # shellcheck disable=SC2086
  if "$kovra" decode "$samples/ad.gif" $bad >/dev/null 2>&1; then fail "kovra decode accepted '$bad'"; fi
done
if "$kovra" decode "$samples/hat.wbmp" -o "$out/x" >/dev/null 2>&1; then fail "kovra decode accepted a WBMP"; fi
exit $status
