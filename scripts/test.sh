#!/usr/bin/env bash
# Every test: a compile of src/ for macOS, unit tests (GCC), end-to-end tests against the
# built binary, the same two suites under AddressSanitizer and UndefinedBehaviorSanitizer
# (Clang), and a short fuzz run.
set -euo pipefail
cd "$(dirname "$0")/.."

step() { printf '\n== %s\n' "$*"; }

step "layers of src/"
scripts/check-layers.sh

step "every source file compiles for macOS (arm64, x86_64; libc++)"
scripts/check-macos.sh

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
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=halt_on_error=1 TESSALINE_SANITIZED=1 \
  TESSALINE_BIN="$PWD/build/asan/tessaline-mcp" node --test tests/e2e/

# The message loop's threads under ThreadSanitizer: the server alone, against the end-to-end
# files that drive a reader, the workspace thread and exchanges at once, and sign-ins in the
# background with calls that wait for them. A report stops the server, which fails the test
# that drove it.
step "Clang build of the server with ThreadSanitizer"
cmake --preset tsan >/dev/null
cmake --build --preset tsan --target tessaline-mcp
step "end-to-end tests of the message loop (ThreadSanitizer)"
TSAN_OPTIONS="halt_on_error=1 exitcode=66" \
  TESSALINE_BIN="$PWD/build/tsan/tessaline-mcp" \
  node --test tests/e2e/long-calls.test.mjs tests/e2e/stdio.test.mjs \
  tests/e2e/sending-tools.test.mjs tests/e2e/workspace-tools.test.mjs tests/e2e/sign-in.test.mjs

step "fuzzing"
FUZZ_SECONDS="${FUZZ_SECONDS:-15}" scripts/fuzz.sh
