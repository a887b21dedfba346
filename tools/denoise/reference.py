"""The noise reduction once more, in double precision and plain formulas: the oracle of the C++ code.

    reference.py FOLDER      writes FOLDER/features.txt and FOLDER/gains.txt, the vectors of tests/trx/denoise

Needs numpy only.
"""
import math
import os
import sys

import numpy as np

import weights

FRAME, WINDOW, BINS, BANDS = 512, 1024, 513, 22
LONGEST, BUFFER = 768, 1792
EDGES = [4 * e for e in (0, 1, 2, 3, 4, 5, 6, 7, 8, 10, 12, 14, 16, 20, 24, 28, 34, 40, 48, 60, 78, 100)]


def band_weights():
    """Row b: the weight of band b in every bin, a triangle between its neighbours' edges."""
    table = np.zeros((BANDS, BINS))
    for b in range(BANDS):
        for k in range(BINS):
            if k <= EDGES[b] and b > 0 and k > EDGES[b - 1]:
                table[b, k] = (k - EDGES[b - 1]) / (EDGES[b] - EDGES[b - 1])
            elif k >= EDGES[b] and b + 1 < BANDS and k < EDGES[b + 1]:
                table[b, k] = 1 - (k - EDGES[b]) / (EDGES[b + 1] - EDGES[b])
    return table


WEIGHTS = band_weights()
SUMS = WEIGHTS * np.array([2] + [1] * (BANDS - 2) + [2])[:, None]
SUMS[:, EDGES[-1]:] = 0  # the sums end below the last edge
SLOPE = np.sin(np.pi / 2 * np.sin(np.pi * (np.arange(WINDOW) + 0.5) / WINDOW) ** 2)
COSINES = np.array([[math.cos((i + 0.5) * k * math.pi / BANDS) * math.sqrt((1 if k == 0 else 2) / BANDS)
                     for i in range(BANDS)] for k in range(BANDS)])


def per_bin(values):
    """Straight lines between the bands' edges, level beyond the last."""
    return np.interp(np.arange(BINS), EDGES, values)


def prediction(x):
    """Coefficients of the fourth-order prediction of x, from the normal equations."""
    r = np.array([np.dot(x[:len(x) - k], x[k:]) * (1.0001 if k == 0 else 1 - (0.008 * k) ** 2) for k in range(5)])
    if r[0] <= 0:
        return np.zeros(4)
    # The order stops where nearly nothing is left to predict.
    for order in range(1, 5):
        matrix = np.array([[r[abs(i - j)] for j in range(order)] for i in range(order)])
        a = np.linalg.solve(matrix, r[1:order + 1])
        if r[0] - np.dot(a, r[1:order + 1]) < 1e-3 * r[0]:
            break
    return np.pad(a, (0, 4 - len(a)))


def flattened(signal):
    """At half the rate, without formants and tilt."""
    padded = np.concatenate(([0.0], signal))
    half = 0.25 * padded[0:-1:2] + 0.5 * padded[1::2] + 0.25 * np.append(padded[2::2], 0)[:len(padded[1::2])]
    a = prediction(half) * 0.9 ** np.arange(1, 5)
    taps = np.convolve(np.concatenate(([1.0], -a)), [1, 0.8])
    return np.convolve(half, taps)[:len(half)]


class Repeats:
    """How well the last `size` samples of x resemble those one period earlier."""

    def __init__(self, x, size):
        self.x, self.size = x, size
        self.frame = x[len(x) - size:]

    def earlier(self, period):
        return self.x[len(self.x) - self.size - period:len(self.x) - period]

    def correlation(self, period):
        return float(np.dot(self.frame, self.earlier(period)))

    def energy(self, period):
        return float(np.dot(self.earlier(period), self.earlier(period)))

    def likeness(self, period):
        c = self.correlation(period)
        return c * c / (self.energy(period) + 1e-3) if c > 0 else 0.0

    def gain(self, *periods):
        c = sum(self.correlation(p) for p in periods)
        e = sum(self.energy(p) for p in periods)
        return c / math.sqrt(len(periods) * self.energy(0) * e + 1e-3)


def rounded(x):
    return int(math.floor(x + 0.5))


def pitch(signal, last_period, last_gain):
    half = flattened(signal)
    quarter = Repeats(half[::2], 256)
    coarse = sorted(range(147), key=lambda offset: (-quarter.likeness(192 - offset), offset))[:2]
    fine = Repeats(half, 512)
    near = [offset for offset in range(294) if any(abs(offset - 2 * c) <= 2 for c in coarse)]
    longer = 384 - max(near, key=lambda offset: (fine.likeness(384 - offset), -offset))
    gain = longer_gain = fine.gain(longer)
    period = longer
    for fraction in range(2, 16):
        shorter = rounded(longer / fraction)
        if shorter < 30:
            break
        multiple = next(m for m in range(2, 99) if math.gcd(m, fraction) == 1)
        other = rounded(multiple * longer / fraction)
        both = fine.gain(shorter, other if other <= 384 else longer)
        shortness = min(1.0, max(0.0, 2 - shorter / 45))
        bonus = {0: last_gain, 1: last_gain, 2: last_gain / 2}.get(abs(shorter - last_period // 2), 0.0)
        if both > max(0.3 + 0.2 * shortness, (0.75 + 0.15 * shortness) * longer_gain - bonus):
            period, gain = shorter, both
    lean = 0
    if 30 < period < 384:
        below, at, above = (fine.correlation(p) for p in (period - 1, period, period + 1))
        curvature = below - 2 * at + above
        if curvature < 0:
            vertex = (below - above) / curvature
            lean = 1 if vertex > 0.5 else -1 if vertex < -0.5 else 0
    return min(768, max(60, 2 * period + lean)), min(1.0, max(0.0, gain))


class Reduction:
    """All memories of one stream. `tables` are layers as weights.read_source gives them, or None for the features alone."""

    def __init__(self, tables=None):
        self.tables = tables
        self.high_pass = [0.0, 0.0]
        self.samples = np.zeros(BUFFER)
        self.overlap = np.zeros(FRAME)
        self.cepstra = []  # the latest first
        self.period, self.gain = 0, 0.0
        self.floor = np.zeros(BANDS)
        self.states = {name: np.zeros(size) for name, _, _, _, size in weights.LAYERS if size}

    def passed_high(self, frame):
        out = np.empty(FRAME)
        a1, a2 = float(np.float32(-1.99599)), float(np.float32(0.996))
        m0, m1 = self.high_pass  # in single precision
        for i, x in enumerate(frame):
            y = out[i] = float(np.float32(x + m0))
            m0 = float(np.float32(m1 + (-2 * x - a1 * y)))
            m1 = float(np.float32(x - a2 * y))
        self.high_pass = [m0, m1]
        return out

    def analyse(self, frame):
        """Features, or None for silence; sets x, p and the band values."""
        self.samples = np.concatenate((self.samples[FRAME:], self.passed_high(frame)))
        self.period, self.gain = pitch(self.samples, self.period, self.gain)
        begin = BUFFER - WINDOW
        self.x = np.fft.rfft(SLOPE * self.samples[begin:]) / WINDOW
        self.p = np.fft.rfft(SLOPE * self.samples[begin - self.period:BUFFER - self.period]) / WINDOW
        self.ex, self.ep = SUMS @ np.abs(self.x) ** 2, SUMS @ np.abs(self.p) ** 2
        self.likeness = SUMS @ np.real(self.x * np.conj(self.p)) / np.sqrt(0.001 + self.ex * self.ep)
        if np.sum(self.ex) < 0.04:
            return None
        logs, loudest, follower = [], -2.0, -2.0
        for energy in self.ex:
            logs.append(max(math.log10(0.01 + energy), loudest - 7, follower - 1.5))
            loudest, follower = max(loudest, logs[-1]), max(follower - 1.5, logs[-1])
        cepstrum = COSINES @ np.array(logs)
        cepstrum[:2] -= (12, 4)
        self.cepstra = ([cepstrum] + self.cepstra + [np.zeros(BANDS)] * 8)[:8]
        zero, one, two = (c[:6] for c in self.cepstra[:3])
        correlation = (COSINES @ self.likeness)[:6]
        correlation[:2] -= (1.3, 0.9)
        nearest = [min(np.sum((a - b) ** 2) for j, b in enumerate(self.cepstra) if j != i)
                   for i, a in enumerate(self.cepstra)]
        return np.concatenate((zero + one + two, cepstrum[6:], zero - two, zero - 2 * one + two, correlation,
                               [0.01 * (self.period - 300), sum(nearest) / 8 - 2.1]))

    def network(self, features):
        """Gains and voice probability."""
        def sigmoid(x):
            return 1 / (1 + np.exp(-x))

        def gru(name, x):
            layer, h = self.tables[name], self.states[name]
            size = len(h)
            w = x @ layer["input"].astype(float) + layer["bias"]
            u = h @ layer["recurrent"].astype(float)
            r, z = (sigmoid(w[i * size:(i + 1) * size] + u[i * size:(i + 1) * size]) for i in (0, 1))
            n = np.tanh(w[2 * size:] + r * u[2 * size:])
            self.states[name] = z * h + (1 - z) * n
            return self.states[name]

        def dense(name, x):
            return x @ self.tables[name]["input"].astype(float) + self.tables[name]["bias"]

        first = np.tanh(dense("input_dense", features))
        vad = gru("vad_gru", first)
        noise = gru("noise_gru", np.concatenate((first, vad, features)))
        denoise = gru("denoise_gru", np.concatenate((vad, noise, features)))
        return sigmoid(dense("denoise_output", denoise)), float(sigmoid(dense("vad_output", vad))[0])

    def process(self, frame, percent):
        """The frame before this one with less noise, the gains of the network and the voice probability."""
        features = self.analyse(frame)
        x, gains, voice = self.x, np.zeros(BANDS), 0.0
        if features is not None:
            gains, voice = self.network(features)
            mixed = percent / 100 * gains + 1 - percent / 100
            e2, g2 = self.likeness ** 2, mixed ** 2
            strength = np.where(self.likeness > mixed, 1.0,
                                np.sqrt(np.clip(e2 * (1 - g2) / (0.001 + g2 * (1 - e2)), 0, 1)))
            x = x + per_bin(strength * np.sqrt(self.ex / (1e-8 + self.ep))) * self.p
            x = x * per_bin(np.sqrt(self.ex / (1e-8 + SUMS @ np.abs(x) ** 2)))
            self.floor = np.maximum(mixed, 0.6 * self.floor)
            x = x * per_bin(self.floor)
        wave = SLOPE * np.fft.irfft(x * WINDOW)
        out = wave[:FRAME] + self.overlap
        self.overlap = wave[FRAME:]
        return out, gains, voice


def test_signal(frames):
    """Integers that any language makes alike: a buzz of gliding period, shaped by a two-pole resonance in integers, in noise of
    a linear congruential generator, after four frames of silence."""
    out, seed, count, a, b = [], 12345, 0, 0, 0
    for n in range(frames * FRAME):
        seed = (seed * 1103515245 + 12345) % (1 << 31)
        noise = (seed >> 16) % 2001 - 1000
        period = 300 + (n // 4096) * 17 % 240
        count += 1
        pulse = 0
        if count >= period:
            count, pulse = 0, 9000
        a, b = pulse + (31000 * a - 15700 * b) // 16384, a
        voiced = (n // 8192) % 3 != 2
        out.append((a if voiced else 0) + (noise if n // FRAME % 29 < 26 else 0) // (1 if n < 16384 else 4))
    out = np.clip(np.array(out), -32000, 32000)
    out[:4 * FRAME] = 0
    return out


def main():
    folder = sys.argv[1]
    os.makedirs(folder, exist_ok=True)
    here = os.path.dirname(os.path.abspath(__file__))
    tables = weights.read_source(os.path.join(here, "../../trx/denoise/weights.cpp"))
    frames = 90
    signal = test_signal(frames)
    analysis, whole = Reduction(), Reduction(tables)
    with open(os.path.join(folder, "features.txt"), "w") as features, open(os.path.join(folder, "gains.txt"), "w") as gains:
        features.write("# Written by tools/denoise/reference.py: per frame its sum of samples, period, and 42 features (none: silent)\n")
        gains.write("# Written by tools/denoise/reference.py for the present weights: per frame the voice probability, the sum and\n"
                    "# the sum of squares of the output at a mix of 80\n")
        for i in range(frames):
            frame = signal[i * FRAME:(i + 1) * FRAME].astype(float)
            found = analysis.analyse(frame)
            features.write(f"{int(frame.sum())} {analysis.period} " +
                           ("" if found is None else " ".join(f"{v:.6f}" for v in found)) + "\n")
            out, _, voice = whole.process(frame, 80)
            gains.write(f"{voice:.7f} {out.sum():.4f} {np.sum(out ** 2):.3f}\n")


if __name__ == "__main__":
    main()
