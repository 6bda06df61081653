#!/usr/bin/env bash
# Installs the built library into a scratch prefix and builds a small program
# against it twice: through find_package(Tarnovelle) and through pkg-config.
set -euo pipefail
build_dir=$1
here=$2
cxx=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build_dir" --prefix "$prefix" >/dev/null
test -f "$prefix/include/tarnovelle/tarnovelle.h"
libdir=$(ls -d "$prefix"/lib*/ | head -n 1)
libdir=${libdir%/}

# find_package
cmake -S "$here/consumer" -B "$work/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" \
      -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS="${TNVL_CONSUMER_FLAGS:-}" >/dev/null
cmake --build "$work/cmake-build" >/dev/null
LD_LIBRARY_PATH="$libdir" "$work/cmake-build/consumer"

# pkg-config
export PKG_CONFIG_PATH="$libdir/pkgconfig"
"$cxx" -std=c++20 ${TNVL_CONSUMER_FLAGS:-} "$here/consumer/main.cpp" -o "$work/pc-consumer" \
       $(pkg-config --cflags --libs tarnovelle)
LD_LIBRARY_PATH="$libdir" "$work/pc-consumer"
echo "install package test passed"
