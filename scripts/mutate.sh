#!/usr/bin/env bash
# Runs the suite against hand-made faults in src/ and tells which of them it catches.
#
#   scripts/mutate.sh [LIST] [ID...]
#
# LIST (default scripts/mutations.tsv) has one fault a line: an id, the file, the exact text
# to replace (it must occur once in the file), the text to put instead, and what the fault
# means, separated by tabs; lines starting with # are comments. Each fault is applied alone
# to the working tree, built in build/mutate (the dev build's settings), and run against the unit
# tests (stopping at the first failure) and, when they all pass, the end-to-end tests. The
# file is restored afterwards, also on interrupt. The last line counts what was caught, so
# that runs before and after a change to the tests can be compared fault by fault.
# It edits files of src/ while it runs: build nothing else from this tree meanwhile, or that
# build may take a fault in.
set -euo pipefail
cd "$(dirname "$0")/.."
list="${1:-scripts/mutations.tsv}"
shift || true
only=("$@")

build=build/mutate
log="$build/mutate.log"
# The dev build's settings, but warnings are not errors: a fault may leave a variable unused.
cmake --preset dev -B "$build" -DTESSALINE_WERROR=OFF >/dev/null
cmake --build "$build" >/dev/null
(cd tests/e2e && npm ci --no-audit --no-fund --loglevel=error >/dev/null)

restore=""
trap '[ -n "$restore" ] && cp "$restore.orig" "$restore" && rm -f "$restore.orig"' EXIT INT TERM

# Replaces the one occurrence of $2 in file $1 with $3; fails when it is not there exactly once.
apply() {
  FROM="$2" TO="$3" perl -0777 -i -ne '
    my $n = () = /\Q$ENV{FROM}\E/g;
    die "found $n times\n" unless $n == 1;
    s/\Q$ENV{FROM}\E/$ENV{TO}/; print' "$1"
}

# Prints where the fault was caught: unit, e2e, or survived.
verdict() {
  if ! "$build/tests/tessaline_unit_tests" --gtest_fail_fast --gtest_brief=1 >>"$log" 2>&1; then
    echo unit
  elif ! TESSALINE_BIN="$PWD/$build/tessaline-mcp" node --test tests/e2e/ >>"$log" 2>&1; then
    echo e2e
  else
    echo survived
  fi
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
    result=$(verdict)
    if [ "$result" = survived ]; then survived=$((survived + 1)); else caught=$((caught + 1)); fi
  fi
  cp "$file.orig" "$file" && rm -f "$file.orig"
  restore=""
  printf '%-6s %-10s %s\n' "$id" "${result%% *}" "$what"
done <"$list"

# Leave the build matching the restored sources.
cmake --build "$build" >/dev/null
printf '%d caught, %d survived, %d stale\n' "$caught" "$survived" "$stale"
