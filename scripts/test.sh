#!/usr/bin/env bash
# Every test: unit tests (GCC), end-to-end tests against the built binary, the same two
# suites under AddressSanitizer and UndefinedBehaviorSanitizer (Clang), and a short fuzz run.
set -euo pipefail
cd "$(dirname "$0")/.."

step() { printf '\n== %s\n' "$*"; }

step "layers of src/"
scripts/check-layers.sh

step "npm packages for the end-to-end tests"
(cd tests/e2e && npm ci --no-audit --no-fund --loglevel=error)

step "GCC build"
cmake --preset dev >/dev/null
cmake --build --preset dev
step "unit tests (GCC)"
ctest --preset dev
step "end-to-end tests (GCC)"
TESSALINE_BIN="$PWD/build/dev/tessaline-mcp" node --test tests/e2e/

step "Clang build with AddressSanitizer and UndefinedBehaviorSanitizer"
cmake --preset asan >/dev/null
cmake --build --preset asan
step "unit tests (sanitizers)"
ctest --preset asan
step "end-to-end tests (sanitizers)"
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=halt_on_error=1 \
  TESSALINE_BIN="$PWD/build/asan/tessaline-mcp" node --test tests/e2e/

step "fuzzing"
FUZZ_SECONDS="${FUZZ_SECONDS:-15}" scripts/fuzz.sh
