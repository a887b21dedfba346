#!/usr/bin/env python3
"""Draws the spectrogram of a chirp beacon.

    build/release/tests/modes/keyboard/keyboard_error_rates chirp-wav /tmp/chirp.wav
    tools/make_chirp_picture.py /tmp/chirp.wav docs/images/chirp.png

Time runs to the right, 15 ms a column; 0 to 3000 Hz upward; 40 dB from white to black. Needs nothing but Python.
"""
import cmath
import math
import pathlib
import sys
import wave

import grey_png

FOLD, POINTS, HOP, SCALE = 8, 256, 90, 2  # 48000 to 6000 samples a second
RANGE_DB = 40


def fft(x):
    if len(x) == 1:
        return x
    even, odd = fft(x[0::2]), fft(x[1::2])
    half = len(even)
    turned = [cmath.exp(-2j * math.pi * k / len(x)) * odd[k] for k in range(half)]
    return [even[k] + turned[k] for k in range(half)] + [even[k] - turned[k] for k in range(half)]


def main(source, target):
    with wave.open(source) as file:
        raw = memoryview(file.readframes(file.getnframes())).cast("h")
    audio = [sum(raw[i:i + FOLD]) / (32768 * FOLD) for i in range(0, len(raw) - FOLD, FOLD)]
    window = [0.5 - 0.5 * math.cos(2 * math.pi * (i + 0.5) / POINTS) for i in range(POINTS)]
    columns = []
    for at in range(0, len(audio) - POINTS, HOP):
        bins = fft([a * w for a, w in zip(audio[at:at + POINTS], window)])[:POINTS // 2]
        columns.append([10 * math.log10(abs(b) ** 2 + 1e-12) for b in bins])
    top = max(map(max, columns))
    width, height = len(columns), SCALE * POINTS // 2
    pixels = bytearray(width * height)
    for x, column in enumerate(columns):
        for y in range(height):
            level = (column[POINTS // 2 - 1 - y // SCALE] - top) / RANGE_DB + 1
            pixels[y * width + x] = 255 - int(255 * min(max(level, 0), 1))
    grey_png.write(pathlib.Path(target), width, height, pixels)


if len(sys.argv) != 3:
    sys.exit(__doc__)
main(*sys.argv[1:])
