#!/usr/bin/env bash
# Makes the Debian packages, and looks at what they hold and ask for.
#     deb_test.sh BUILD_DIR
# Ends with 77 and a reason where packages cannot be made.
set -euo pipefail
build=$1
for tool in cpack dpkg-shlibdeps file; do
    command -v $tool > /dev/null || { echo "skipped: no $tool on this machine"; exit 77; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "$*"; exit 1; }

(cd "$build" && cpack -G DEB -B "$work") > "$work/cpack.log" 2>&1 || fail "$(cat "$work/cpack.log")"
library=$(ls "$work"/libferrowcore-avx2-0_*.deb) dev=$(ls "$work"/libferrowcore-dev_*.deb) host=$(ls "$work"/ferrow_*.deb)

in_library=$(dpkg-deb -c "$library") in_dev=$(dpkg-deb -c "$dev") in_host=$(dpkg-deb -c "$host")
grep -q ' ./usr/lib/.*libferrowcore_avx2.so.0 -> libferrowcore_avx2.so.0\.' <<< "$in_library" || fail "no soname in the library's package"
grep -qE '\.so$|\.so ->|include|/bin/' <<< "$in_library" && fail "the library's package holds more than the library"
for name in ferrowcore.h ferrowcore.pc ferrowcoreConfig.cmake 'libferrowcore_avx2.so -> '; do
    grep -q "/$name" <<< "$in_dev" || fail "no $name in the development package"
done
for name in ferrow ferrow-sim; do
    grep -q " ./usr/bin/$name\$" <<< "$in_host" || fail "no $name in the host's package"
done
depends=$(dpkg-deb -f "$library" Depends)
for name in libfftw3-double3 libfftw3-single3 libportaudio2 libkissfft-float libfmt libc6; do
    [[ $depends == *$name* ]] || fail "the library does not ask for $name: $depends"
done
version=$(dpkg-deb -f "$library" Version)
for package in "$dev" "$host"; do
    [[ $(dpkg-deb -f "$package" Depends) == *"libferrowcore-avx2-0 (= $version)"* ]] || fail "$package is not tied to its library"
done
[ "$(dpkg-deb -I "$library" shlibs)" = "libferrowcore_avx2 0 libferrowcore-avx2-0 (>= $version)" ] ||
    fail "shlibs: $(dpkg-deb -I "$library" shlibs)"
[[ $(dpkg-deb -I "$library" postinst) == *ldconfig* ]] || fail "nobody runs ldconfig"
echo "three packages as they should be"
