#!/usr/bin/env bash
# check_info.sh KOVRA SAMPLES_DIR: `kovra info` must report the expected type of each sample, and
# the header parse's size, frame count and delays where the sample has them (with --frames the
# decoder's too); files it cannot open or identify and unknown options fail; every command has
# --help, the tool --version.
set -euo pipefail
kovra=$1 samples=$2
status=0
expect() {
  local file=$1 pattern=$2 out
  shift
  shift
  out=$("$kovra" info "$@" "$samples/$file")
  if ! grep -Eqi -- "$pattern" <<<"$out"; then
    echo "kovra info $file: expected /$pattern/, got:"
    echo "$out"
    status=1
  fi
}
expect ad.gif 'GIF, 16 x 11, 371 bytes, 1 frame$'
expect animated-red-blue.gif 'animated GIF, 64 x 48, 2913 bytes, 4 frames, delays 100 200 300 400 ms \(total 1000 ms\)'
expect animated-red-blue.gif '"type_code":6,"width":64,"height":48,"file_size":2913,"frame_count":4,"delays_ms":\[100,200,300,400\],"total_delay_ms":1000' --json
expect hippopotamus.interlaced.gif 'GIF'
expect hat.wbmp 'WBMP.*90.*112'
expect basn2c08.png 'PNG, 32 x 32'
expect pal8.bmp 'BMP, 127 x 64'
expect exif-200dpcm.jpg 'JPEG, 10949 bytes; .*reports no size'
expect animated-red-blue.gif '^  decoder: +4 frames, delays 100 200 300 400 ms$' --frames
fails() {  # fails STATUS ARGS...: kovra ARGS must exit with STATUS
  local want=$1 got=0
  shift
  "$kovra" "$@" >/dev/null 2>&1 || got=$?
  [ "$got" = "$want" ] || { echo "kovra $*: exit status $got, expected $want"; status=1; }
}
fails 1 info "$samples/README.md"
fails 2 info --bogus "$samples/ad.gif"
[ -z "$("$kovra" info /nonexistent/file 2>/dev/null)" ] || { echo "'cannot open' went to stdout"; status=1; }
fails 1 info /nonexistent/file
for help in "info --help" "decode --help" "exif-thumb --help" "--version"; do
  # shellcheck disable=SC2086
  fails 0 $help
done
exit $status
