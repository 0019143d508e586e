#!/usr/bin/env bash
# check_info.sh KOVRA SAMPLES_DIR: `kovra info` must report the expected type of each sample.
set -euo pipefail
kovra=$1 samples=$2
status=0
expect() {
  local file=$1 pattern=$2 out
  out=$("$kovra" info "$samples/$file")
  if ! grep -Eqi -- "$pattern" <<<"$out"; then
    echo "kovra info $file: expected /$pattern/, got:"
    echo "$out"
    status=1
  fi
}
expect ad.gif 'GIF'
expect animated-red-blue.gif 'GIF'
expect hippopotamus.interlaced.gif 'GIF'
expect hat.wbmp 'WBMP.*90.*112'
expect basn2c08.png 'PNG'
expect pal8.bmp 'BMP'
expect exif-200dpcm.jpg 'JPEG'
if "$kovra" info /nonexistent/file >/dev/null 2>&1; then
  echo "kovra info on a missing file should fail"
  status=1
fi
exit $status
