#!/usr/bin/env python3
"""Turns the generator rows of the LDPC(174,91) code into the simulator's C++ table.

Usage: tools/make_sim_ldpc_table.py ldpc_174_91_generator.txt > sim/ft8/ldpc_generator.cpp
The input has 83 lines of 23 hex digits; '#' starts a comment line.
"""
import sys

with open(sys.argv[1], encoding="utf-8") as table:
    rows = [line.strip() for line in table if line.strip() and not line.startswith("#")]
assert len(rows) == 83 and all(len(row) == 23 for row in rows)

print('// Made by tools/make_sim_ldpc_table.py; the rows are the published generator of the code.')
print('#include "sim/ft8/ldpc_generator.hpp"\n')
print("namespace ferrow::sim {\n")
print("const std::array<std::string_view, 83> kLdpcGenerator = {")
for i in range(0, 83, 3):
    print("    " + ", ".join(f'"{row}"' for row in rows[i:i + 3]) + ",")
print("};\n")
print("} // namespace ferrow::sim")
