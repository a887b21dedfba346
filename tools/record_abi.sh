#!/usr/bin/env bash
# Writes down what the library offers at its binary interface, for the tests to compare with.
#     tools/record_abi.sh LIBRARY [FILE]
# FILE is tests/data/ferrowcore.abi by default. Take a release build: others may lack the types.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
abidw --no-show-locs --exported-interfaces-only --no-corpus-path --no-comp-dir-path --no-elf-needed --no-parameter-names \
    --type-id-style hash "$1" --out-file "${2:-$root/tests/data/ferrowcore.abi}"
