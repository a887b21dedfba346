#!/usr/bin/env python3
"""Turns the generator rows of the LDPC(174,91) code into the C++ table of the simulator or of the host.

Usage: tools/make_ldpc_generator.py sim|host [ROWS.txt]   (default: tests/data/ft8/ldpc_174_91_generator.txt)

The input has 83 lines of 23 hex digits; '#' starts a comment line. The two programs share no code, so each
has a table of its own.
"""
import pathlib
import sys

TABLES = {  # file, namespace, name
    "sim": ("sim/ft8/ldpc_generator", "ferrow::sim", "kLdpcGenerator"),
    "host": ("host/ft8_generator", "ferrow", "kFt8Generator"),
}

root = pathlib.Path(__file__).resolve().parent.parent
where, namespace, name = TABLES[sys.argv[1]]
source = pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else root / "tests/data/ft8/ldpc_174_91_generator.txt"
rows = [line.strip() for line in source.read_text().splitlines() if line.strip() and not line.startswith("#")]
assert len(rows) == 83 and all(len(row) == 23 for row in rows)

lines = ["// Made by tools/make_ldpc_generator.py; the rows are the published generator of the code.",
         f'#include "{where}.hpp"', "", f"namespace {namespace} {{", "",
         f"const std::array<std::string_view, 83> {name} = {{"]
lines += ["    " + ", ".join(f'"{row}"' for row in rows[i:i + 3]) + "," for i in range(0, 83, 3)]
lines += ["};", "", f"}} // namespace {namespace}", ""]
(root / f"{where}.cpp").write_text("\n".join(lines))
