#!/usr/bin/env bash
# check_exif_json.sh KOVRA CORPUS_DIR: `kovra info --exif --json` writes valid JSON that carries EXIF
# strings exactly, whatever bytes they hold.
#  - A JPEG made here whose Make holds a quote, a backslash, a tab, 0x01, 0x7F and a lone 0xE9:
#    jq must read back those very characters (0xE9 as U+00E9), and an absent Model must be null.
#    The file is listed twice, so the commas between records are checked too.
#  - Every JPEG and TIFF of the shared corpus in one run must parse as one array with a record
#    per file (skipped when the corpus is absent).
set -euo pipefail
kovra=$1 corpus=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0
fail() { echo "$*"; status=1; }

# Little-endian TIFF data: header, IFD0 with a single ASCII entry (Make, 10 bytes at offset 26),
# no next IFD, then the string.
tiff='II\x2a\x00\x08\x00\x00\x00'
tiff+='\x01\x00''\x0f\x01\x02\x00\x0a\x00\x00\x00\x1a\x00\x00\x00''\x00\x00\x00\x00'
tiff+='Q"B\\S\t\x01\x7f\xe9\x00'
jpeg="$work/make.jpg"
# SOI, APP1 (length 2 + 6 + 36 = 44) "Exif" 0 0 with the TIFF data, EOI.
printf '\xff\xd8\xff\xe1\x00\x2cExif\x00\x00'"$tiff"'\xff\xd9' >"$jpeg"
[ "$(wc -c <"$jpeg")" -eq 50 ] || fail "the test JPEG came out $(wc -c <"$jpeg") bytes long, not 50"

out=$("$kovra" info --exif --json "$jpeg" "$jpeg")
# shellcheck disable=SC2016
check='length == 2 and (.[] | .exif.found == true and .exif.model == null
       and .exif.make == "Q\"B\\S\t\u0001\u007f\u00e9")'
if ! jq -e "$check" <<<"$out" >/dev/null; then
  fail "EXIF strings did not survive the JSON output:"
  echo "$out"
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
