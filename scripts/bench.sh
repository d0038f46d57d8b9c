#!/usr/bin/env bash
# Prints every benchmark's figures. Expects `cmake --preset bench` to have been built.
set -euo pipefail
cd "$(dirname "$0")/.."
out=build/bench
workspace=$(mktemp -d)
trap 'rm -rf "$workspace"' EXIT

cc -O2 -o "$out/startup-floor" bench/startup.c
node bench/protocol.mjs "$out/tessaline-mcp" "$out/startup-floor" "$workspace"

# The peer for the sending benchmark: a generic REST MCP server from npm.
peer="$out/peer"
[ -d "$peer/node_modules/dkmaker-mcp-rest-api" ] ||
  npm install --prefix "$peer" --no-audit --no-fund --loglevel=error dkmaker-mcp-rest-api@0.4.0 >/dev/null
(cd tests/e2e && npm ci --no-audit --no-fund --loglevel=error >/dev/null)
node bench/sending.mjs "$out/tessaline-mcp" "$peer/node_modules/dkmaker-mcp-rest-api/build/index.js" "$workspace"
node bench/busy-writer.mjs "$out/tessaline-mcp" "$workspace"

cc -O2 -o "$out/send-floor" bench/send-floor.c -lcurl
node bench/long-calls.mjs "$out/tessaline-mcp" "$out/send-floor" "$workspace"

for b in "$out"/bench/*Bench; do
  [ -x "$b" ] || continue
  echo "== $(basename "$b")"
  "$b" --benchmark_min_time=0.2
done
