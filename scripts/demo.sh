#!/usr/bin/env bash
# The main job: the command line's demonstration (generate, impair, analyze, compare).
set -euo pipefail
build=${1:-build}
sondar="$build/tools/sondar/sondar"
[ -x "$sondar" ] || { echo "demo: $sondar was not built" >&2; exit 1; }
exec "$sondar" demo
