#!/usr/bin/env bash
# Installs the build tree into a temporary prefix and builds tests/install/main.cpp against it
# twice, as a user would: with find_package(Sondar) and with pkg-config. Both programs must run.
# usage: run.sh <build dir> <c++ compiler> <generator> [extra compile and link flags]
set -euo pipefail
build=$1 cxx=$2 generator=$3 extra=${4:-}
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null
for h in Rix/Ptr.h Rix/Log.h Sondar/stats/Epoch.h; do
  [ -f "$prefix/include/sondar/$h" ] || { echo "not installed: include/sondar/$h"; exit 1; }
done
lib=$(dirname "$(find "$prefix" -name 'libsondar_platform.so.*.*' | head -1)")
[ -n "$lib" ] && [ -L "$lib/libsondar_platform.so" ] || { echo "no libsondar_platform with soname links"; exit 1; }

echo "== find_package(Sondar)"
cmake -S "$here" -B "$work/cmake" -G "$generator" -DCMAKE_CXX_COMPILER="$cxx" \
      -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS="$extra" -DCMAKE_EXE_LINKER_FLAGS="$extra" >/dev/null
cmake --build "$work/cmake"
"$work/cmake/downstream"

echo "== pkg-config sondar"
pc=$(dirname "$(find "$prefix" -name sondar.pc | head -1)")
export PKG_CONFIG_PATH=$pc
# shellcheck disable=SC2046,SC2086
"$cxx" -std=c++20 $extra $(pkg-config --cflags sondar) "$here/main.cpp" -o "$work/pc-downstream" \
       $(pkg-config --libs sondar) -Wl,-rpath,"$lib"
"$work/pc-downstream"
