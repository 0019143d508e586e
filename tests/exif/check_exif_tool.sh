#!/usr/bin/env bash
# check_exif_tool.sh KOVRA SAMPLES_DIR CORPUS_DIR: `kovra info --exif` (text and JSON) and
# `kovra exif-thumb` on the bundled EXIF sample, and GPS output on a corpus photo when the corpus
# is there.
set -euo pipefail
kovra=$1 samples=$2 corpus=$3
status=0
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

expect() {  # expect DESCRIPTION OUTPUT FIXED-STRING
  if ! grep -Fq -- "$3" <<<"$2"; then
    echo "$1: expected '$3' in:"
    echo "$2"
    status=1
  fi
}

sample=$samples/exif-200dpcm.jpg
out=$("$kovra" info --exif "$sample")
expect "info --exif" "$out" "resolution unit: 3"
expect "info --exif" "$out" 'software: "Adobe Photoshop CC 2017 (Macintosh)"'
expect "info --exif" "$out" "thumbnail: JPEG, 72 x 72, 858 bytes at offset"
json=$("$kovra" info --exif --json "$sample")
expect "info --exif --json" "$json" '"x_resolution":[2000000,10000]'
expect "info --exif --json" "$json" '"present":1,"width":72,"height":72,"compression":6'
expect "info --exif --json" "$json" '"gps":null'

"$kovra" exif-thumb "$sample" -o "$work/thumb.jpg" >/dev/null
size=$(wc -c <"$work/thumb.jpg")
head=$(od -An -tx1 -N2 "$work/thumb.jpg" | tr -d ' ')
[ "$size" -eq 858 ] && [ "$head" = ffd8 ] || { echo "exif-thumb wrote $size bytes starting $head"; status=1; }
if "$kovra" exif-thumb "$samples/ad.gif" -o "$work/none.jpg" 2>/dev/null; then
  echo "exif-thumb on a GIF should fail"
  status=1
fi
if "$kovra" exif-thumb "$sample" 2>/dev/null; then
  echo "exif-thumb without -o should fail"
  status=1
fi

gps=$corpus/jpeg-exif/exif-samples/gps/DSCN0010.jpg
if [ -f "$gps" ]; then
  out=$("$kovra" info --exif "$gps")
  expect "GPS text" "$out" "GPS latitude: 43 deg 28' 2.814\" N (43.467448)"
  expect "GPS text" "$out" "GPS longitude: 11 deg 53' 6.456\" E (11.885127)"
  json=$("$kovra" info --exif --json "$gps")
  expect "GPS JSON" "$json" '"latitude_decimal":43.467448'
  expect "GPS JSON" "$json" '"longitude_ref":"E"'
fi
exit $status
