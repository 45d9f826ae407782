#!/usr/bin/env bash
# run.sh BUILD CXX: installs the build into a scratch prefix, moves that prefix elsewhere, then
# builds a small client and the installed examples against it, through find_package and through
# pkg-config, runs them and compares what they write with expected/.
set -euo pipefail

build=$1 cxx=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

step() { echo "== $*"; }

# with_cmake DIR [OPTION...]: builds the project in DIR, into $scratch/cmake/NAME.
with_cmake() {
  local out=$scratch/cmake/${1##*/}
  cmake -S "$1" -B "$out" -G Ninja -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_PREFIX_PATH="$scratch/prefix" \
    "${@:2}" >"$out.log" && cmake --build "$out" >>"$out.log" || { cat "$out.log"; return 1; }
}

# with_pkg_config PACKAGE SOURCE: builds SOURCE, into $scratch/pc.
with_pkg_config() {
  local flags name=${2##*/}
  read -ra flags <<<"$(pkg-config --cflags --libs "$1")"
  "$cxx" -std=c++20 -Wall -Wextra -Wpedantic -Werror "$2" "${flags[@]}" -o "$scratch/pc/${name%.cpp}"
}

# gives STATUS NAME PROGRAM ARGUMENT...: the exit code, and on stdout what expected/NAME.txt holds.
gives() {
  local result=0
  "${@:3}" >"$scratch/out.txt" || result=$?
  diff -u "$here/expected/$2.txt" "$scratch/out.txt"
  [ "$result" -eq "$1" ] || { echo "$2: exit code $result; expected $1"; return 1; }
}

# run_all CLIENT LOOKUP WALK: runs the three programs.
run_all() {
  local dictionary=$examples/lookup/order.json
  gives 0 client "$1"
  gives 1 lookup "$2" "$dictionary" Order Quantity Currency Delivery
  gives 0 walk "$3" "$dictionary" "$examples/walk/order.txt"
}

step "install"
cmake --install "$build" --prefix "$scratch/first" >"$scratch/install.log"
mv "$scratch/first" "$scratch/prefix"
mkdir "$scratch/cmake" "$scratch/pc"
lookup_dir=$(find "$scratch/prefix" -path '*/examples/lookup')
examples=${lookup_dir%/*}

step "users of find_package; the dictionary alone asks for no other package"
without=()
for package in ICU XercesC LibXml2 fmt nlohmann_json; do
  without+=("-DCMAKE_DISABLE_FIND_PACKAGE_$package=ON")
done
with_cmake "$here" "${without[@]}" --no-warn-unused-cli
with_cmake "$examples/lookup" & lookup=$!
with_cmake "$examples/walk"
wait "$lookup"
run_all "$scratch/cmake/install/client" "$scratch/cmake/lookup/lookup" "$scratch/cmake/walk/walk"

step "users of pkg-config"
pc=$(find "$scratch/prefix" -name stddi.pc)
export PKG_CONFIG_PATH=${pc%/*}
with_pkg_config stddi "$here/client.cpp"
with_pkg_config stddi-models "$examples/lookup/lookup.cpp" & lookup=$!
with_pkg_config stddi-models "$examples/walk/walk.cpp"
wait "$lookup"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir stddi)
export LD_LIBRARY_PATH
run_all "$scratch/pc/client" "$scratch/pc/lookup" "$scratch/pc/walk"
unset LD_LIBRARY_PATH

if [ -x "$build/bin/stddict" ]; then
  step "the installed tool finds its library"
  "$scratch/prefix/bin/stddict" --help >"$scratch/help.txt"
fi
