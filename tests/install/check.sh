#!/usr/bin/env bash
# check.sh BUILD LIBDIR CC CXX SANITIZE: installs BUILD into a fresh folder and builds and runs programs against it.
set -euo pipefail
build=$1 libdir=$2 cc=$3 cxx=$4 sanitize=$5
here=$(cd "$(dirname "$0")" && pwd)
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT

flags=
case $sanitize in
    address) flags="-fsanitize=address,undefined" ;;
    thread) flags="-fsanitize=thread" ;;
esac
export ASAN_OPTIONS="${ASAN_OPTIONS:-}:detect_leaks=0"

cmake --install "$build" --prefix "$root/prefix" >"$root/install.log" || { cat "$root/install.log"; exit 1; }

echo "-- CMake package"
cmake -S "$here/program" -B "$root/build" -G Ninja -DCMAKE_PREFIX_PATH="$root/prefix" \
    -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build "$root/build" >"$root/build.log" || { cat "$root/build.log"; exit 1; }
"$root/build/c_program"
"$root/build/cpp_program"

echo "-- pkg-config"
# The installed .pc files name the prefix that was configured; here they stand in another place.
export PKG_CONFIG_PATH="$root/prefix/$libdir/pkgconfig"
prefix=(--define-variable=prefix="$root/prefix" --define-variable=libdir="$root/prefix/$libdir"
        --define-variable=includedir="$root/prefix/include")
test "$(pkg-config --modversion zefaline1)" = 1.3.0
# shellcheck disable=SC2046,SC2086 # the flags are words
"$cc" -std=c99 -Wall -Wextra -Wpedantic -Werror $flags "$here/program/main.c" -o "$root/c99" \
    $(pkg-config "${prefix[@]}" --cflags --libs zefaline1) -Wl,-rpath-link,"$root/prefix/$libdir"
LD_LIBRARY_PATH="$root/prefix/$libdir" "$root/c99"
# shellcheck disable=SC2046,SC2086
"$cxx" -std=c++11 -Wall -Wextra -Wpedantic -Werror $flags "$here/program/main.cpp" -o "$root/cpp11" \
    $(pkg-config "${prefix[@]}" --cflags --libs zefaline1 flowrail1)
LD_LIBRARY_PATH="$root/prefix/$libdir" "$root/cpp11"
