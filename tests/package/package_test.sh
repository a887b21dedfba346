#!/usr/bin/env bash
# Installs the library into a prefix and builds a small C host from there, by CMake and by pkg-config.
#     package_test.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
# No grep -q behind a pipe: it leaves at its first line, and what writes to it fails of that.
build=$1 source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" > "$work/install.log"
library=$(find "$work/prefix" -name 'libferrowcore_avx2.so.*.*.*')
[ -n "$library" ] || { echo "no library in the prefix"; exit 1; }
readelf -d "$library" | grep 'SONAME.*libferrowcore_avx2.so.0' > /dev/null || { echo "no versioned soname"; exit 1; }
libdir=$(dirname "$library")

cat > "$work/host.c" <<'C'
#include <ferrowcore/ferrowcore.h>
#include <stdio.h>
static int echoed;
static void onEcho(int value) { echoed = value; }
int main(int argc, char** argv) {
    (void)argc;
    init(argv[1], 0);
    void* object = asyncObject_create();
    asyncObject_bindEcho(object, onEcho);
    asyncObject_Ping(object, 42);
    while (echoed == 0)
        getUpdates();
    asyncObject_release(object);
    printf("echo %d\n", echoed);
    return 0;
}
C
mkdir "$work/cmake"
cat > "$work/cmake/CMakeLists.txt" <<'C'
cmake_minimum_required(VERSION 3.25)
project(host C)
find_package(ferrowcore 0.1 CONFIG REQUIRED)
add_executable(host ../host.c)
target_link_libraries(host PRIVATE ferrowcore::ferrowcore)
C
cmake -G Ninja -S "$work/cmake" -B "$work/cmake/build" -DCMAKE_PREFIX_PATH="$work/prefix" > "$work/cmake.log"
cmake --build "$work/cmake/build" >> "$work/cmake.log"
"$work/cmake/build/host" "$work/a.log" | grep -x "echo 42" > /dev/null

export PKG_CONFIG_PATH=$libdir/pkgconfig
flags=$(pkg-config --cflags --libs ferrowcore)
case $flags in *"$work/prefix"*) ;; *) echo "ferrowcore.pc does not know where it lies: $flags"; exit 1 ;; esac
# shellcheck disable=SC2086
cc -std=c11 -Wall -Wextra -Wpedantic -Werror "$work/host.c" $flags -Wl,-rpath,"$libdir" -o "$work/host"
"$work/host" "$work/b.log" | grep -x "echo 42" > /dev/null
# shellcheck disable=SC2086
cc -std=c11 -D_POSIX_C_SOURCE=200809L -Wall -Wextra -Wpedantic -Werror "$source/examples/first_host.c" $flags \
    -Wl,-rpath,"$libdir" -o "$work/first_host"
for example in "$source"/examples/*.c; do
    # shellcheck disable=SC2086
    cc -std=c11 -D_POSIX_C_SOURCE=200809L -Wall -Wextra -Wpedantic -Werror "$example" $flags -o "$work/example"
done

# The reference host asks for nothing that a host could not have: its objects link against the installed library.
# shellcheck disable=SC2086
c++ "$build"/host/CMakeFiles/ferrow.dir/main.cpp.o "$build"/host/libferrow_host.a "$build"/host/libferrow_host_ft8.a \
    "$build"/host/neighbours/libferrow_neighbours.a $flags $(pkg-config --libs fmt libpng opus) -pthread -Wl,-rpath,"$libdir" -Wl,--no-undefined -o "$work/ferrow"
ldd "$work/ferrow" | grep "$libdir/libferrowcore_avx2.so.0" > /dev/null || { echo "ferrow does not use the installed library"; exit 1; }
"$work/ferrow" devices --log "$work/c.log" > "$work/devices.txt" || { echo "ferrow fails"; cat "$work/devices.txt"; exit 1; }
echo "package test passed"
