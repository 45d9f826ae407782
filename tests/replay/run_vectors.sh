#!/usr/bin/env bash
# run_vectors.sh REPLAY KIND DIR: replays all *.jsonl files of DIR in one run of the program.
# Without any it says so and exits 77, which ctest shows as a skipped test, never as a passed one.
set -euo pipefail
shopt -s nullglob

replay=$1 kind=$2 dir=$3
vectors=("$dir"/*.jsonl)
if [ ${#vectors[@]} -eq 0 ]; then
  echo "SKIPPED: no $kind vectors at $dir"
  exit 77
fi
exec "$replay" "${vectors[@]}"
