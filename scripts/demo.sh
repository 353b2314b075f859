#!/usr/bin/env bash
# The main job: until the command line exists, run the built test programs as the demonstration.
set -euo pipefail
build=${1:-build}
if [ -x "$build/tools/sondar/sondar" ]; then exec "$build/tools/sondar/sondar" demo; fi
for t in "$build"/tests/*_tests; do [ -x "$t" ] && "$t" --gtest_brief=1; done
