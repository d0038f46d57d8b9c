#!/usr/bin/env bash
# Runs the suite against hand-made faults in src/ and tells which of them it catches.
#
#   scripts/mutate.sh [--which] [LIST] [ID...]
#
# LIST (default scripts/mutations.tsv) has one fault a line: an id, the file, the exact text
# to replace (it must occur once in the file), the text to put instead, and what the fault
# means, separated by tabs; lines starting with # are comments. Each fault is applied alone
# to the working tree, built in build/mutate (the dev build's settings), and run against the unit
# tests (stopping at the first failure) and, when they all pass, the end-to-end tests. The
# file is restored afterwards, also on interrupt. The last line counts what was caught, so
# that runs before and after a change to the tests can be compared fault by fault.
# With --which, both suites run whole for every fault and each line names the tests that
# failed, to tell which tests a fault's catching rests on. GTEST_FILTER (GoogleTest reads it
# itself) and E2E_TESTS (files or folders, default tests/e2e/) narrow the suites, to see
# whether one group of tests catches a fault alone.
# It edits files of src/ while it runs: build nothing else from this tree meanwhile, or that
# build may take a fault in.
set -euo pipefail
cd "$(dirname "$0")/.."
which=false
if [ "${1:-}" = --which ]; then which=true; shift; fi
list="${1:-scripts/mutations.tsv}"
shift || true
only=("$@")
read -r -a e2e <<<"${E2E_TESTS:-tests/e2e/}"

build=build/mutate
log="$build/mutate.log"
# The dev build's settings, but warnings are not errors: a fault may leave a variable unused.
cmake --preset dev -B "$build" -DTESSALINE_WERROR=OFF >/dev/null
cmake --build "$build" >/dev/null
(cd tests/e2e && npm ci --no-audit --no-fund --loglevel=error >/dev/null)

restore=""
# cp, not mv: the restored file must be newer than the faulty object, or the next build keeps it.
trap '[ -n "$restore" ] && cp "$restore.orig" "$restore" && rm -f "$restore.orig"' EXIT
trap 'exit 130' INT TERM  # through the EXIT trap, which puts the file back

# Replaces the one occurrence of $2 in file $1 with $3; fails when it is not there exactly once.
apply() {
  FROM="$2" TO="$3" perl -0777 -i -ne '
    my $n = () = /\Q$ENV{FROM}\E/g;
    die "found $n times\n" unless $n == 1;
    s/\Q$ENV{FROM}\E/$ENV{TO}/; print' "$1"
}

# A fault may make a test wait for ever; ten minutes is many times a suite's time on a loaded
# machine, so a suite still running then has caught the fault.
unitSuite() { timeout -k 10 600 "$build/tests/tessaline_unit_tests" --gtest_brief=1 "$@"; }
e2eSuite() { TESSALINE_BIN="$PWD/$build/tessaline-mcp" timeout -k 10 600 node --test --test-reporter=tap "${e2e[@]}"; }

# Prints where the fault was caught: unit, e2e, or survived.
verdict() {
  if ! unitSuite --gtest_fail_fast >>"$log" 2>&1; then
    echo unit
  elif ! e2eSuite >>"$log" 2>&1; then
    echo e2e
  else
    echo survived
  fi
}

# Prints "caught by" and the failing tests of both suites, or survived. A suite that fails
# without naming a test (a crash, a hang cut short) is named whole.
failingTests() {
  local out="$build/suite.out" unit="" e2eFailures=""
  if ! unitSuite >"$out" 2>&1; then
    unit=$(sed -n 's/^\[  FAILED  \] \([^ ,]*\).*/\1/p' "$out" | sort -u | paste -sd ' ' -)
    unit=${unit:-"(the whole run)"}
  fi
  cat "$out" >>"$log"
  if ! e2eSuite >"$out" 2>&1; then
    e2eFailures=$(sed -n 's/^ *not ok [0-9]* - \(.*\)/\1/p' "$out" | grep -v '^/' | paste -sd ';' -) || true
    e2eFailures=${e2eFailures:-"(the whole run)"}
  fi
  cat "$out" >>"$log"
  if [ -z "$unit$e2eFailures" ]; then echo survived; else echo "caught by ${unit:+unit: $unit }${e2eFailures:+e2e: $e2eFailures}"; fi
}

: >"$log"
caught=0 survived=0 stale=0
tab=$'\t'
while IFS= read -r line; do
  [[ -z "$line" || "$line" == \#* ]] && continue
  # Split by hand: read with a tab in IFS would take two tabs around an empty field as one.
  id=${line%%"$tab"*}; line=${line#*"$tab"}
  file=${line%%"$tab"*}; line=${line#*"$tab"}
  from=${line%%"$tab"*}; line=${line#*"$tab"}
  to=${line%%"$tab"*}; what=${line#*"$tab"}
  if [ ${#only[@]} -gt 0 ] && [[ ! " ${only[*]} " == *" $id "* ]]; then continue; fi
  echo "== $id $file: $what" >>"$log"
  cp "$file" "$file.orig"
  restore="$file"
  if ! apply "$file" "$from" "$to" 2>>"$log"; then
    result="stale (text not found once)"
    stale=$((stale + 1))
  elif ! cmake --build "$build" >>"$log" 2>&1; then
    result="stale (does not build)"
    stale=$((stale + 1))
  else
    if $which; then result=$(failingTests); else result=$(verdict); fi
    if [ "$result" = survived ]; then survived=$((survived + 1)); else caught=$((caught + 1)); fi
  fi
  cp "$file.orig" "$file" && rm -f "$file.orig"
  restore=""
  if $which; then printf '%-6s %s\n       %s\n' "$id" "$what" "$result"; else printf '%-6s %-10s %s\n' "$id" "${result%% *}" "$what"; fi
done <"$list"

# Leave the build matching the restored sources.
cmake --build "$build" >/dev/null
printf '%d caught, %d survived, %d stale\n' "$caught" "$survived" "$stale"
