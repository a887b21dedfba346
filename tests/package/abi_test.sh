#!/usr/bin/env bash
# The library's binary interface against the one that is written down, and proof that the comparison would notice.
#     abi_test.sh LIBRARY SOURCE_DIR
# Ends with 77 and a reason without libabigail, or without debug information in the library.
set -euo pipefail
library=$1 source=$2 recorded=$2/tests/data/ferrowcore.abi
command -v abidiff > /dev/null || { echo "skipped: no abidiff (package abigail-tools) on this machine"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$source/tools/record_abi.sh" "$library" "$work/present.abi"
grep -q '<parameter type-id' "$work/present.abi" || { echo "skipped: the library has no debug information"; exit 77; }

differs() { ! abidiff --no-default-suppression "$1" "$2" > "$work/report" 2>&1; }
if differs "$recorded" "$work/present.abi"; then
    cat "$work/report"
    echo "The binary interface has changed. Hosts that were built before may break; if that is meant, and the soname's number has"
    echo "been raised where it must be, record the new one: tools/record_abi.sh LIBRARY"
    exit 1
fi
# What must not go unnoticed: a function gone, one that is new, an argument of another size, a record that has grown.
notices() {
    sed "$2" "$recorded" > "$work/changed.abi"
    cmp -s "$recorded" "$work/changed.abi" && { echo "no such place in the description: $1"; exit 1; }
    differs "$work/changed.abi" "$work/present.abi" || { echo "unnoticed: $1"; exit 1; }
}
notices "a function that is gone" 's/agc_setHang/agc_setHung/g'
notices "a record of another size" "/struct-decl.*'ferrow_ft8_result'\|class-decl.*ferrow_ft8_result/s/size-in-bits='256'/size-in-bits='192'/"
float=$(sed -n "s/.*type-decl name='float'.* id='\([^']*\)'.*/\1/p" "$recorded" | head -1)
double=$(sed -n "s/.*type-decl name='double'.* id='\([^']*\)'.*/\1/p" "$recorded" | head -1)
notices "an argument of another type" "/name='agc_setHang' mangled/,/function-decl>/s/$float/$double/"
echo "$(grep -c '<elf-symbol ' "$recorded") symbols as they were"
