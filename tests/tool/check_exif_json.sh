#!/usr/bin/env bash
# check_exif_json.sh KOVRA CORPUS_DIR: `kovra info --exif` shows EXIF strings safely in text and
# exactly in JSON, whatever bytes they hold.
#  - A JPEG made here whose Make holds a quote, a backslash, a tab, 0x01, 0x7F and a lone 0xE9
#    (not UTF-8) and whose Model is UTF-8 (2-, 3- and 4-byte sequences) with trailing blanks: jq must read back those very
#    characters (0xE9 as U+00E9, the Model whole); the text output escapes the Make and trims the
#    Model. The file is listed twice, so the commas between records are checked too.
#  - A corpus photo whose GPS directory has no position: null in JSON, no line in text; its zero
#    white balance shown, exposure time and f-number in their usual forms (skipped without corpus).
#  - exif-thumb refuses a thumbnail whose bytes do not start with a JPEG SOI marker (corpus).
#  - Every JPEG and TIFF of the shared corpus in one run must parse as one array with a record
#    per file (skipped when the corpus is absent).
set -euo pipefail
kovra=$1 corpus=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0
fail() { echo "$*"; status=1; }

# Little-endian TIFF data: header, IFD0 with Make (10 bytes at offset 38) and Model (18 bytes at
# 48), no next IFD, then the strings.
tiff='II\x2a\x00\x08\x00\x00\x00\x02\x00'
tiff+='\x0f\x01\x02\x00\x0a\x00\x00\x00\x26\x00\x00\x00''\x10\x01\x02\x00\x12\x00\x00\x00\x30\x00\x00\x00'
tiff+='\x00\x00\x00\x00''Q"B\\S\t\x01\x7f\xe9\x00''Z\xc3\xbcrich \xe2\x82\xac\xf0\x9f\x98\x80  \x00'
jpeg="$work/make.jpg"
# SOI, APP1 (length 2 + 6 + 66) "Exif" 0 0 with the TIFF data, EOI.
printf '\xff\xd8\xff\xe1\x00\x4aExif\x00\x00'"$tiff"'\xff\xd9' >"$jpeg"
[ "$(wc -c <"$jpeg")" -eq 80 ] || fail "the test JPEG came out $(wc -c <"$jpeg") bytes long, not 80"

out=$("$kovra" info --exif --json "$jpeg" "$jpeg")
# shellcheck disable=SC2016
check='length == 2 and (.[] | .exif.found == true and .exif.model == "Z\u00fcrich \u20ac\ud83d\ude00  "
       and .exif.make == "Q\"B\\S\t\u0001\u007f\u00e9")'
if ! jq -e "$check" <<<"$out" >/dev/null; then
  fail "EXIF strings did not survive the JSON output:"
  echo "$out"
fi
out=$("$kovra" info --exif "$jpeg")
grep -Fqx '  make: "Q\"B\\S\t\x01\x7F\xE9"' <<<"$out" || fail "Make not escaped in text: $out"
grep -Fqx '  model: "Zürich €😀"' <<<"$out" || fail "Model not kept as UTF-8 and trimmed in text: $out"

photo=$corpus/jpeg-exif/exif-samples/Canon_40D.jpg
if [ -f "$photo" ]; then
  jq -e '.[0].exif.gps | .latitude == null and .longitude_decimal == null' \
    <<<"$("$kovra" info --exif --json "$photo")" >/dev/null || fail "a GPS position without coordinates"
  out=$("$kovra" info --exif "$photo")
  grep -q "GPS latitude" <<<"$out" && fail "a GPS latitude line without a latitude"
  for line in "white balance: 0" "exposure time: 1/160 s (1/160)" "f-number: f/7.1 (71/10)"; do
    grep -Fqx "  $line" <<<"$out" || fail "expected '$line' in: $out"
  done
fi
placeholder=$corpus/jpeg-exif/exiftool-t-images/GPS.jpg  # IFD1 points at 28 bytes that are no JPEG
if [ -f "$placeholder" ]; then
  err=$("$kovra" exif-thumb "$placeholder" -o "$work/thumb.jpg" 2>&1) && fail "exif-thumb wrote a placeholder"
  grep -q "placeholder, not JPEG data" <<<"$err" || fail "exif-thumb on a placeholder said: $err"
fi

if [ -d "$corpus" ]; then
  mapfile -t files < <(find "$corpus" -type f -regextype posix-extended \
    -iregex '.*\.(jpe?g|jps|mpo|tiff?|nef|rw2|iiq)$' | LC_ALL=C sort)
  # Unreadable or broken files still get a record; only the exit status says some did not open.
  count=$("$kovra" info --exif --json "${files[@]}" | jq 'length') || true
  [ "$count" = "${#files[@]}" ] || fail "corpus JPEG/TIFF: expected ${#files[@]} records of valid JSON, got '$count'"
else
  echo "corpus not found at $corpus: corpus check skipped"
fi
exit $status
