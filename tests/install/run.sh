#!/usr/bin/env bash
# run.sh BUILD CXX: installs the build into a scratch prefix, moves that prefix elsewhere, then builds
# and runs a small client against it, once through find_package and once through pkg-config.
set -euo pipefail

build=$1 cxx=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

step() { echo "== $*"; }

step "install"
cmake --install "$build" --prefix "$scratch/first" >"$scratch/install.log"
mv "$scratch/first" "$scratch/prefix"

step "a client that uses find_package"
cmake -S "$here" -B "$scratch/client" -G Ninja -DCMAKE_CXX_COMPILER="$cxx" \
  -DCMAKE_PREFIX_PATH="$scratch/prefix"
cmake --build "$scratch/client"
"$scratch/client/client"

step "a client that uses pkg-config"
pc=$(find "$scratch/prefix" -name stddi.pc)
export PKG_CONFIG_PATH=${pc%/*}
read -ra flags <<<"$(pkg-config --cflags --libs stddi)"
"$cxx" -std=c++20 "$here/client.cpp" "${flags[@]}" -o "$scratch/client-pc"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir stddi) "$scratch/client-pc"

if [ -x "$build/bin/stddict" ]; then
  step "the installed tool finds its library"
  "$scratch/prefix/bin/stddict" --help >"$scratch/help.txt"
fi
