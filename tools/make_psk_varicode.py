#!/usr/bin/env python3
"""Writes modes/psk/varicode_table.cpp and sim/sky/psk_varicode.cpp from the published PSK31 Varicode.

Usage: tools/make_psk_varicode.py [CODES.txt]     (default: tests/data/psk_varicode.txt)

The input has a byte value and its code, first-sent bit on the left, on each line; '#' starts a comment.
"""
import pathlib
import sys


def read_codes(path):
    lines = (line.split("#")[0].split() for line in path.read_text().splitlines())
    codes = [code for _, code in sorted((int(value), code) for value, code in filter(None, lines))]
    assert len(codes) == 256 and len(set(codes)) == 256
    assert all(code[0] == code[-1] == "1" and "00" not in code and len(code) <= 12 for code in codes)
    return codes


def library_table(codes):
    words = [f"0x{int(code.ljust(16, '0'), 2):04x}" for code in codes]
    rows = "\n".join("    " + ", ".join(words[i : i + 12]) + "," for i in range(0, 256, 12))
    return f"""// Written by tools/make_psk_varicode.py; do not edit.
#include "modes/psk/varicode.hpp"

namespace ferrow {{

// clang-format off
const std::array<std::uint16_t, 256> kVaricode = {{
{rows}
}};
// clang-format on

}} // namespace ferrow
"""


def simulator_table(codes):
    rows = "\n".join("    " + ", ".join(f'"{code}"' for code in codes[i : i + 6]) + "," for i in range(0, 256, 6))
    return f"""// Written by tools/make_psk_varicode.py; do not edit.
#include "sim/sky/psk_station.hpp"

namespace ferrow::sim {{

// clang-format off
const std::array<std::string_view, 256> kPskCodes = {{
{rows}
}};
// clang-format on

}} // namespace ferrow::sim
"""


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    source = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else root / "tests/data/psk_varicode.txt"
    codes = read_codes(source)
    (root / "modes/psk/varicode_table.cpp").write_text(library_table(codes))
    (root / "sim/sky/psk_varicode.cpp").write_text(simulator_table(codes))


if __name__ == "__main__":
    main()
