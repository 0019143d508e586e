#!/usr/bin/env bash
# run_fuzzer.sh FUZZER RUNS SEED_DIR...: replays every seed folder that exists, then fuzzes RUNS
# more inputs. New inputs go to a temporary folder, so the seed folders stay untouched.
set -euo pipefail
fuzzer=$1 runs=$2
shift 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
seeds=()
for dir in "$@"; do [ -d "$dir" ] && seeds+=("$dir"); done
exec "$fuzzer" -runs="$runs" -max_len=65536 -rss_limit_mb=2048 -timeout=20 -print_final_stats=1 "$work" "${seeds[@]}"
