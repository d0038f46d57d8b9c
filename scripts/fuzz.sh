#!/usr/bin/env bash
# Builds the libFuzzer targets and runs each for FUZZ_SECONDS, starting from its seed corpus
# in fuzz/corpus/<target>. A crash, leak or time-out fails the run.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${FUZZ_SECONDS:-15}"

cmake --preset asan >/dev/null
cmake --build --preset asan

for bin in build/asan/fuzz/*Fuzzer; do
  name=$(basename "$bin")
  work="build/asan/corpus/$name"
  mkdir -p "$work"
  seeds=()
  [ -d "fuzz/corpus/$name" ] && seeds+=("fuzz/corpus/$name")
  echo "fuzzing $name for ${seconds}s"
  "$bin" -max_total_time="$seconds" -max_len=6000000 -timeout=10 -rss_limit_mb=4096 \
    -print_final_stats=0 "$work" "${seeds[@]}" 2> "build/asan/$name.log" \
    || { tail -50 "build/asan/$name.log"; exit 1; }
  grep -E '^(#[0-9]+\s+DONE|Done)' "build/asan/$name.log" | tail -1 || true
done
