#!/usr/bin/python3
"""Sends an FT8 message to a simulated radio, smoothed and plain, and plots what arrived.

Usage: tools/plot_transmit_spectrum.py [BUILD] [IMAGE]
       (default: build/release docs/images/transmit_spectrum.png)

Takes about a minute, since the slots are those of the clock. Needs python3-numpy and python3-matplotlib.
"""
import csv
import pathlib
import subprocess
import sys
import tempfile
import wave

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402

RATE = 48000
ADDRESS = "127.62.5.1"
FREQUENCY = 1500
START_DELAY, FILTER_DELAY = 23040, 768  # samples from the press to the first symbol
BLACKMAN_HARRIS = (0.35875, -0.48829, 0.14128, -0.01168)


def window(size):
    n = 2 * np.pi * np.arange(size) / size
    return sum(a * np.cos(k * n) for k, a in enumerate(BLACKMAN_HARRIS))


def send(build, *options):
    """The samples on the wire, full scale 1, from the press to the unkeying."""
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        (folder / "scene.json").write_text('{"stations": []}')
        radio = subprocess.Popen(
            [build / "ferrow-sim", "--address", ADDRESS, "--scene", folder / "scene.json", "--tx-record",
             folder / "tx"], stdout=subprocess.PIPE)
        radio.stdout.readline()
        try:
            subprocess.run([build / "ferrow", "ft8", "--radio", ADDRESS, "--rate", "48", "--band", "20m", "--send",
                            "CQ K1ABC FN42", "--freq", str(FREQUENCY), "--slots", "1", *options], check=True)
        finally:
            radio.terminate()
            radio.wait()
        with wave.open(str(folder / "tx.wav")) as file:
            words = np.frombuffer(file.readframes(file.getnframes()), dtype="<i2").reshape(-1, 2)
        with open(folder / "tx.csv", newline="", encoding="ascii") as file:
            numbers = [int(row["sequence"]) for row in csv.DictReader(file) if row["event"] == "data"]
        assert numbers == list(range(numbers[0], numbers[0] + len(numbers))), "a packet was lost"
    return (words[:, 0] + 1j * words[:, 1]) / 32766


def decibel(power):
    return 10 * np.log10(np.maximum(power, 1e-18))


def average(samples, size=16384):
    """Power in one bin's width, averaged over the whole transmission."""
    w = window(size)
    steps = range(0, len(samples) - size + 1, size // 4)
    power = np.mean([np.abs(np.fft.fft(samples[i:i + size] * w)) ** 2 for i in steps], axis=0)
    return np.fft.fftfreq(size, 1 / RATE), power / np.sum(w) ** 2


def opening(samples, size=16384):
    """Spectrum around the moment at which the first symbol begins."""
    begin = START_DELAY + FILTER_DELAY - size // 2
    w = window(size)
    return np.fft.fftfreq(size, 1 / RATE), np.abs(np.fft.fft(samples[begin:begin + size] * w)) ** 2 / np.sum(w) ** 2


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    build = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else root / "build/release").resolve()
    image = pathlib.Path(sys.argv[2] if len(sys.argv) > 2 else root / "docs/images/transmit_spectrum.png")
    records = {"plain tones": send(build, "--plain"), "smoothed, with ramps": send(build)}
    figure, axes = plt.subplots(2, 1, figsize=(9, 8), sharex=True, layout="constrained")
    for axis, measure, title in ((axes[0], average, "FT8 on the wire: mean over the transmission"),
                                 (axes[1], opening, "0.34 s around the opening of the first symbol")):
        for name, samples in records.items():
            frequency, power = measure(samples)
            shown = np.abs(frequency - FREQUENCY) < 1500
            order = np.argsort(frequency[shown])
            axis.plot(frequency[shown][order], decibel(power[shown][order]), linewidth=0.8, label=name)
            for distance in (100, 200, 400):
                beyond = (np.abs(frequency - FREQUENCY - 22) > distance) & shown
                print(f"{title}, {name}: more than {distance} Hz away at most {decibel(power[beyond].max()):.1f} dB")
        axis.set_title(title)
        axis.set_ylabel("dB of full scale in 2.9 Hz")
        axis.set_ylim(-140, 0)
        axis.grid(alpha=0.3)
        axis.legend()
    axes[1].set_xlabel("Hz above the dial frequency")
    figure.savefig(image, dpi=110)


if __name__ == "__main__":
    main()
