#!/usr/bin/env python3
"""Makes the Hellschreiber font from its drawing.

    tools/make_hell_font.py          writes modes/hell_font.cpp and docs/images/hell-font.png

The drawing, tools/hell_font.txt, holds the characters from 32 on in bands of eight: a line of widths in
columns, then seven rows. Needs nothing but Python.
"""
import pathlib

import grey_png

ROOT = pathlib.Path(__file__).resolve().parent.parent
FIRST = 32


def read_font():
    glyphs = []
    for band in (ROOT / "tools/hell_font.txt").read_text().split("\n\n"):
        lines = band.split("\n")
        widths = [int(w) for w in lines[0].split()]
        rows = [line.split() for line in lines[1:8]]
        for k, width in enumerate(widths):
            drawing = [row[k] for row in rows]
            assert all(len(line) == 5 and "#" not in line[width:] for line in drawing), (len(glyphs) + FIRST, drawing)
            columns = [sum(1 << (7 - r) for r in range(7) if drawing[r][c] == "#") for c in range(5)]
            glyphs.append((width, columns))
    assert len(glyphs) == 96
    return glyphs


def name(code):
    return {32: "space", 92: "backslash", 127: "127"}.get(code, chr(code))


def write_source(glyphs):
    lines = [
        "// Written by tools/make_hell_font.py from tools/hell_font.txt.",
        '#include "modes/hell_font.hpp"',
        "",
        "namespace ferrow {",
        "",
        "// clang-format off",
        "constinit const std::array<HellGlyph, 96> hellFont{{",
    ]
    for i, (width, columns) in enumerate(glyphs):
        bytes_ = ", ".join(f"0x{c:02X}" for c in columns)
        lines.append(f"    {{{width}, {{{bytes_}}}}}, // {name(i + FIRST)}")
    lines += ["}};", "// clang-format on", "", "} // namespace ferrow", ""]
    (ROOT / "modes/hell_font.cpp").write_text("\n".join(lines))


def draw(glyphs):
    """Sixteen characters a line, each dot a square of six pixels, columns beyond the width in grey."""
    dot, across = 6, 16
    cell_w, cell_h = 7 * dot, 10 * dot
    width, height = across * cell_w + dot, len(glyphs) // across * cell_h + dot
    pixels = bytearray([255]) * (width * height)

    def square(x, y, shade):
        for dy in range(dot - 1):
            for dx in range(dot - 1):
                pixels[(y + dy) * width + x + dx] = shade

    for i, (glyph_width, columns) in enumerate(glyphs):
        left, top = i % across * cell_w + dot, i // across * cell_h + dot
        for c in range(glyph_width):
            for r in range(8):
                square(left + c * dot, top + r * dot, 20 if columns[c] >> (7 - r) & 1 else 225)
    grey_png.write(ROOT / "docs/images/hell-font.png", width, height, pixels)


font = read_font()
write_source(font)
draw(font)
