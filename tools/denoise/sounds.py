"""What disturbs a voice on the short waves, made by formula: arrays of `size` samples at 12000 a second, of any level.

Every kind is a function of (rng, size, voices), rng a numpy Generator; voices are used by the splatter only.
"""
import numpy as np

RATE = 12000


def shaped(samples, gain):
    """Samples through a filter whose gain is gain(frequency in Hz)."""
    size = len(samples)
    spectrum = np.fft.rfft(samples)
    return np.fft.irfft(spectrum * gain(np.fft.rfftfreq(size, 1 / RATE)), size)


def band(low, high, edge=80.0):
    """Gain of a band-pass with raised-cosine flanks."""
    def gain(f):
        up = np.clip((f - low) / edge + 0.5, 0, 1)
        down = np.clip((high - f) / edge + 0.5, 0, 1)
        return np.sin(np.pi / 2 * up) ** 2 * np.sin(np.pi / 2 * down) ** 2
    return gain


def white(rng, size, voices=None):
    return rng.standard_normal(size)


def coloured(rng, size, voices=None):
    """A slope of -9 to 9 dB an octave and up to three broad humps."""
    slope = rng.uniform(-1.5, 1.5)
    humps = [(rng.uniform(300, 2800), rng.uniform(80, 500), rng.uniform(0, 3)) for _ in range(rng.integers(0, 4))]

    def gain(f):
        g = (np.maximum(f, 100) / 1000) ** slope
        for centre, width, height in humps:
            g = g * (1 + height * np.exp(-((f - centre) / width) ** 2))
        return g
    return shaped(rng.standard_normal(size), gain)


def slow(rng, size, rate, low=-1.0, high=1.0):
    """A smooth random walk between two values that changes about `rate` times a second."""
    points = rng.uniform(low, high, max(4, int(size / RATE * rate) + 4))
    return np.interp(np.linspace(0, len(points) - 1, size), np.arange(len(points)), points)


def crashes(rng, size, voices=None):
    """Static: bursts of noise of random strength that die away within milliseconds to a second."""
    out = 0.03 * rng.standard_normal(size)
    for _ in range(rng.poisson(size / RATE * rng.uniform(0.5, 6)) + 1):
        start = rng.integers(0, size)
        decay = RATE * 10 ** rng.uniform(-2.5, -0.7)
        length = min(size - start, int(6 * decay))
        strokes = 1 + rng.poisson(2)
        envelope = np.exp(-np.arange(length) / decay)
        for _ in range(strokes):
            at = rng.integers(0, max(1, length))
            envelope[at:] += rng.uniform(0, 1) * np.exp(-np.arange(length - at) / (0.3 * decay))
        out[start:start + length] += 10 ** rng.uniform(-1, 0.3) * envelope * rng.standard_normal(length)
    return out


def carriers(rng, size, voices=None):
    """One to four whistles, steady, drifting or swept, over weak noise."""
    t = np.arange(size) / RATE
    out = 10 ** rng.uniform(-2, -0.7) * rng.standard_normal(size)
    for _ in range(rng.integers(1, 5)):
        start = rng.uniform(200, 3000)
        course = rng.random()
        if course < 0.6:
            f = np.full(size, start)
        elif course < 0.85:
            f = start + rng.uniform(-30, 30) * slow(rng, size, 0.5)
        else:
            f = start + rng.uniform(-600, 600) * t / t[-1]
        level = 10 ** rng.uniform(-0.6, 0.3) * (1 + 0.5 * rng.random() * slow(rng, size, 0.7))
        out += level * np.cos(2 * np.pi * np.cumsum(f) / RATE + rng.uniform(0, 6.28))
    return out


def buzz(rng, size, voices=None):
    """Power lines: pulses at twice the mains' frequency, each a short burst, over weak noise."""
    mains = rng.choice([100.0, 120.0]) * (1 + 0.001 * rng.standard_normal())
    width = rng.uniform(0.03, 0.3)
    phase = np.cumsum(np.full(size, mains / RATE)) + rng.random()
    burst = np.maximum(0, 1 - np.abs((phase % 1) - 0.5) / width) ** 2
    steady = shaped((np.diff(np.floor(phase), prepend=phase[0] // 1) != 0).astype(float), lambda f: 1 / (1 + f / 2000))
    noisy = burst * rng.standard_normal(size)
    share = rng.random()
    level = 1 + 0.5 * slow(rng, size, 1)
    out = level * (share * noisy / np.std(noisy) + (1 - share) * steady / np.std(steady))
    return out + 10 ** rng.uniform(-2, -0.7) * rng.standard_normal(size)


def morse(rng, size, voices=None):
    """One to three Morse stations, keyed softly, over weak noise."""
    t = np.arange(size) / RATE
    out = 10 ** rng.uniform(-2, -0.7) * rng.standard_normal(size)
    for _ in range(rng.integers(1, 4)):
        dot = 1.2 / rng.uniform(12, 32)
        keys = []
        while sum(keys) * dot < size / RATE + 1:
            for _ in range(rng.integers(1, 6)):
                keys += [rng.choice([1, 3]), 1]
            keys[-1] = rng.choice([3, 3, 7])
        edges = np.cumsum(np.array(keys) * dot) - rng.uniform(0, 1)
        key = (np.searchsorted(edges, t) % 2 == 0).astype(float)
        soft = int(RATE * 0.004)
        key = np.convolve(key, np.hanning(soft) / np.sum(np.hanning(soft)), "same")
        level = 10 ** rng.uniform(-0.5, 0.3) * (1 + 0.5 * rng.random() * slow(rng, size, 0.7))
        out += level * key * np.cos(2 * np.pi * rng.uniform(300, 2800) * t + rng.uniform(0, 6.28))
    return out


def teletype(rng, size, voices=None):
    """A teletype station: two tones, keyed by random bits without a break in phase."""
    baud = rng.choice([45.45, 50, 75, 100])
    shift = rng.choice([170, 200, 450, 850])
    centre = rng.uniform(500, 2600)
    bits = rng.integers(0, 2, int(size / RATE * baud) + 2)
    f = centre + shift * (bits[(np.arange(size) * baud / RATE).astype(int)] - 0.5)
    level = 1 + 0.4 * slow(rng, size, 0.7)
    out = level * np.cos(2 * np.pi * np.cumsum(f) / RATE)
    return out + 10 ** rng.uniform(-2, -0.7) * rng.standard_normal(size)


def piece_of(rng, voices, size):
    """A piece of a voice chosen at random."""
    voice = voices[rng.choice(sorted(voices))]
    start = rng.integers(0, max(1, len(voice) - size))
    piece = voice[start:start + size].astype(float)
    return np.pad(piece, (0, size - len(piece)))


def splatter(rng, size, voices):
    """A neighbour's overdriven single sideband, off in frequency and often inverted, over weak noise."""
    other = piece_of(rng, voices, size)
    other = np.clip(other * rng.uniform(3, 20) / (np.max(np.abs(other)) + 1e-9), -1, 1)
    spectrum = np.fft.fft(shaped(other, band(200, 3000)))
    spectrum[size // 2:] = 0
    analytic = 2 * np.fft.ifft(spectrum)
    if rng.random() < 0.5:
        analytic = np.conj(analytic)
        offset = rng.uniform(2500, 5000)
    else:
        offset = rng.choice([-1, 1]) * rng.uniform(900, 2500)
    out = np.real(analytic * np.exp(2j * np.pi * offset * np.arange(size) / RATE))
    return out / (np.std(out) + 1e-9) + 10 ** rng.uniform(-1.5, -0.5) * rng.standard_normal(size)


KINDS = {"white": white, "coloured": coloured, "crashes": crashes, "carriers": carriers, "buzz": buzz, "morse": morse,
         "teletype": teletype, "splatter": splatter}


def fading(rng, samples, rate=None):
    """Two paths of random gains with Gaussian Doppler spectra of `rate` Hz (0.1 to 1) and 0.5 to 3 ms between them."""
    size = len(samples)
    rate = rng.uniform(0.1, 1.0) if rate is None else rate
    spectrum = np.fft.fft(samples)
    frequency = np.fft.fftfreq(size, 1 / RATE)
    spectrum[frequency < 0] = 0
    delay = np.exp(-2j * np.pi * frequency * rng.uniform(0.0005, 0.003))
    doppler = np.exp(-frequency ** 2 / (2 * (rate / 2) ** 2))
    out = np.zeros(size, complex)
    for path in (spectrum, spectrum * delay):
        gain = np.fft.ifft(doppler * np.fft.fft(rng.standard_normal(size) + 1j * rng.standard_normal(size)))
        out += np.fft.ifft(2 * path) * gain / np.sqrt(np.mean(np.abs(gain) ** 2) * 2)
    return np.real(out)
