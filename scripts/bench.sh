#!/usr/bin/env bash
# Prints every benchmark's figures. Expects `cmake --preset bench` to have been built.
set -euo pipefail
cd "$(dirname "$0")/.."
out=build/bench
workspace=$(mktemp -d)
trap 'rm -rf "$workspace"' EXIT

cc -O2 -o "$out/startup-floor" bench/startup.c
node bench/protocol.mjs "$out/tessaline-mcp" "$out/startup-floor" "$workspace"
for b in "$out"/bench/*Bench; do
  [ -x "$b" ] || continue
  echo "== $(basename "$b")"
  "$b" --benchmark_min_time=0.2
done
