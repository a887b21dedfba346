#!/usr/bin/env bash
# Every public header by itself, twice, as C11 and as C++20, without a warning.
#     headers_test.sh COMPILER INCLUDE_DIR       COMPILER: gcc or clang
# Ends with 77 and a reason if the compiler is not installed.
set -euo pipefail
case $1 in
gcc) c=gcc cxx=g++ ;;
clang) c=clang cxx=clang++ ;;
esac
command -v $c > /dev/null && command -v $cxx > /dev/null || { echo "skipped: no $1 on this machine"; exit 77; }
strict=(-Wall -Wextra -Wpedantic -Werror -fsyntax-only -I "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
count=0
for header in "$2"/ferrowcore/*.h; do
    name=ferrowcore/$(basename "$header")
    printf '#include <%s>\n#include <%s>\ntypedef int notEmpty;\n' "$name" "$name" > "$work/a.c"
    cp "$work/a.c" "$work/a.cpp"
    $c -std=c11 "${strict[@]}" "$work/a.c"
    $cxx -std=c++20 "${strict[@]}" "$work/a.cpp"
    count=$((count + 1))
done
[ $count -gt 15 ] || { echo "no headers in $2"; exit 1; }
# The flags do find something.
echo 'int f(int unused) { return 0; }' > "$work/a.c"
! $c -std=c11 "${strict[@]}" "$work/a.c" 2> /dev/null || { echo "$c does not warn"; exit 1; }
echo "$count headers, as C11 and C++20, by $($c --version | head -1)"
