#!/usr/bin/env bash
# Runs every benchmark program; each prints its ratios beside their goals.
set -euo pipefail
build=${1:-build}
shopt -s nullglob
ran=0
for b in "$build"/bench/*_bench; do
  echo "== $(basename "$b")"
  "$b"
  ran=1
done
[ $ran -eq 1 ] || echo "no benchmarks built"
