#!/usr/bin/env bash
# check_exports.sh LIBRARY OUR_LIST REFERENCE_LIST
# Fails when the library's dynamic symbol table differs from our list, or when our list names a
# symbol that the reference list does not allow (that part is skipped when the reference is absent).
set -euo pipefail
library=$1 ours=$2 reference=$3
nm_bin=${NM:-nm}
command -v "$nm_bin" >/dev/null || nm_bin=$(ls /usr/bin/*-nm 2>/dev/null | head -n1)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$nm_bin" -D --defined-only "$library" | awk '{print $NF}' | sed 's/@.*//' | sort -u > "$work/exported"
grep -v '^#' "$ours" | sed '/^$/d' | sort -u > "$work/listed"
status=0
if ! diff -u "$work/listed" "$work/exported" > "$work/diff"; then
  echo "exported symbols differ from the subsystems' exports.txt lists (- listed only, + exported only):"
  cat "$work/diff"
  status=1
fi
if [ -f "$reference" ]; then
  grep -v '^#' "$reference" | sed 's/[[:space:]]*$//; /^$/d' | sort -u > "$work/allowed"
  grep -h '^# optional:' "$reference" | awk '{print $3}' >> "$work/allowed" || true
  sort -u -o "$work/allowed" "$work/allowed"
  extra=$(comm -23 "$work/listed" "$work/allowed")
  if [ -n "$extra" ]; then
    echo "listed symbols that the library may not export:"
    echo "$extra"
    status=1
  fi
  echo "exports: $(wc -l < "$work/exported") of $(wc -l < "$work/allowed") allowed symbols"
else
  echo "reference list absent: only our own lists were checked"
fi
exit $status
