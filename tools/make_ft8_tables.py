#!/usr/bin/env python3
"""Writes modes/ft8/ldpc_tables.cpp from the published LDPC(174,91) parity matrix.

Usage: tools/make_ft8_tables.py [CHECKS.txt]     (default: tests/data/ft8/ldpc_174_91_checks.txt)

The input has one line per parity check with the 0-based codeword bits it adds up; '#' starts a comment.
The bit-to-check list is worked out as the transpose, so the two can't disagree.
"""
import pathlib
import sys
import textwrap

BITS, CHECKS, WIDEST = 174, 83, 7


def read_checks(path):
    lines = (line.split("#")[0].split() for line in path.read_text().splitlines())
    checks = [[int(word) for word in line] for line in lines if line]
    assert len(checks) == CHECKS and all(6 <= len(c) <= WIDEST for c in checks)
    return checks


def transpose(checks):
    of_bit = [[k for k, bits in enumerate(checks) if bit in bits] for bit in range(BITS)]
    assert all(len(c) == 3 for c in of_bit)
    return of_bit


def table(rows):
    cells = ["{" + ", ".join(str(n) for n in row) + "}" for row in rows]
    lines, line = [], "   "
    for cell in cells:
        if len(line) + len(cell) + 2 > 108:
            lines.append(line)
            line = "   "
        line += " " + cell + ","
    return "\n".join(lines + [line])


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    source = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else root / "tests/data/ft8/ldpc_174_91_checks.txt"
    checks = read_checks(source)
    padded = [bits + [0] * (WIDEST - len(bits)) for bits in checks]
    sizes = textwrap.indent(textwrap.fill(", ".join(str(len(bits)) for bits in checks), 104), "    ")
    text = f"""// Written by tools/make_ft8_tables.py; do not edit.
#include "modes/ft8/ldpc_tables.hpp"

namespace ferrow {{

// clang-format off
const std::uint8_t kLdpcBitChecks[kLdpcBits][kLdpcChecksPerBit] = {{
{table(transpose(checks))}
}};

const std::uint8_t kLdpcCheckBits[kLdpcChecks][kLdpcWidestCheck] = {{
{table(padded)}
}};

const std::uint8_t kLdpcCheckSizes[kLdpcChecks] = {{
{sizes}
}};
// clang-format on

}} // namespace ferrow
"""
    (root / "modes/ft8/ldpc_tables.cpp").write_text(text)


if __name__ == "__main__":
    main()
