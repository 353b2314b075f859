#!/usr/bin/env bash
# The main job. When the command line is built it runs its demonstration; until then the built
# test programs are the demonstration, each printing what it checked.
set -euo pipefail
build=${1:-build}
if [ -x "$build/tools/sondar/sondar" ]; then exec "$build/tools/sondar/sondar" demo; fi
shopt -s nullglob
ran=0
for t in "$build"/tests/*_tests; do
  [ -x "$t" ] || continue
  echo "== $(basename "$t")"
  "$t" --gtest_brief=1
  ran=1
done
[ $ran -eq 1 ] || { echo "demo: nothing built in $build/tests" >&2; exit 1; }
echo "demo: every program passed"
