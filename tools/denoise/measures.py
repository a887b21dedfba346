"""How much a signal resembles the one that was wanted: measures on signals of 12000 samples a second, between 300 and 2700 Hz.
From their published definitions.
"""
import numpy as np

import sounds

RATE = sounds.RATE
LOW, HIGH = 300.0, 2700.0


def in_band(samples):
    return sounds.shaped(samples, sounds.band(LOW, HIGH, 40))


def pieces(samples, size, hop, window=None):
    count = (len(samples) - size) // hop + 1
    index = np.arange(size)[None, :] + hop * np.arange(count)[:, None]
    return samples[index] * (1 if window is None else window)


def segmental_snr(wanted, got):
    """Mean over pieces of 20 ms in which someone speaks (within 40 dB of the loudest) of their SNR in dB, each limited to -10 to
    35 dB."""
    size = RATE // 50
    s, e = pieces(in_band(wanted), size, size), pieces(in_band(got - wanted), size, size)
    signal, error = np.sum(s ** 2, axis=1), np.sum(e ** 2, axis=1)
    speech = signal > 1e-4 * np.max(signal)
    ratio = 10 * np.log10((signal[speech] + 1e-12) / (error[speech] + 1e-12))
    return float(np.mean(np.clip(ratio, -10, 35)))


def log_spectral_distance(wanted, got):
    """Mean over pieces of 32 ms in which someone speaks of the root mean square difference in dB of the two spectra, both held at
    50 dB below the wanted signal's strongest bin or above."""
    size = 384
    window = np.hanning(size + 2)[1:-1]
    bins = np.fft.rfftfreq(size, 1 / RATE)
    inside = (bins >= LOW) & (bins <= HIGH)
    s, g = (np.abs(np.fft.rfft(pieces(x, size, size // 2, window), axis=1))[:, inside] ** 2 for x in (wanted, got))
    energy = np.sum(s, axis=1)
    speech = energy > 1e-4 * np.max(energy)
    floor = 1e-5 * np.max(s)
    difference = 10 * np.log10(np.maximum(g[speech], floor) / np.maximum(s[speech], floor))
    return float(np.mean(np.sqrt(np.mean(difference ** 2, axis=1))))


def stoi(wanted, got):
    """Short-time objective intelligibility (C. H. Taal, R. C. Hendriks, R. Heusdens, J. Jensen, "An Algorithm for Intelligibility
    Prediction of Time-Frequency Weighted Noisy Speech", 2011): the mean correlation of third-octave envelopes over 384 ms, the
    processed one limited to 15 dB of distortion. Of its bands those between 300 and 2700 Hz."""
    rate, size, hop, length = 10000, 256, 128, 30
    count = len(wanted) * rate // RATE
    spectra = [np.fft.rfft(x) for x in (wanted, got)]
    keep = count // 2 + 1
    x, y = (np.fft.irfft(s[:keep], count) * count / len(wanted) for s in spectra)
    window = np.hanning(size + 2)[1:-1]
    a, b = pieces(x, size, hop, window), pieces(y, size, hop, window)
    energy = 20 * np.log10(np.linalg.norm(a, axis=1) + 1e-12)
    speech = energy > np.max(energy) - 40  # pieces of silence are left out, and the rest put together again
    joined = []
    for frames in (a[speech], b[speech]):
        out = np.zeros((len(frames) - 1) * hop + size)
        for i, frame in enumerate(frames):
            out[i * hop:i * hop + size] += frame
        joined.append(np.abs(np.fft.rfft(pieces(out, size, hop, window), 512, axis=1)) ** 2)
    frequency = np.fft.rfftfreq(512, 1 / rate)
    centres = 150 * 2 ** (np.arange(15) / 3)
    bands = np.array([(frequency >= c * 2 ** (-1 / 6)) & (frequency < c * 2 ** (1 / 6)) for c in centres
                      if c >= LOW * 0.99 and c <= HIGH])
    x, y = (np.sqrt(j @ bands.T.astype(float)) for j in joined)  # frames by bands
    s, p = (np.lib.stride_tricks.sliding_window_view(part, length, 0) for part in (x, y))  # pieces by bands by frames
    p = p * (np.linalg.norm(s, axis=2) / (np.linalg.norm(p, axis=2) + 1e-12))[..., None]
    p = np.minimum(p, s * (1 + 10 ** (15 / 20)))
    s, p = (part - np.mean(part, axis=2, keepdims=True) for part in (s, p))
    return float(np.mean(np.sum(s * p, axis=2) / (np.linalg.norm(s, axis=2) * np.linalg.norm(p, axis=2) + 1e-12)))


def spectral_subtraction(samples):
    """The classical way, for comparison: power spectra of 21 ms with half overlap, the noise as the least of the smoothed power in
    the last 1.5 s, raised for its bias, taken away twice over and with a floor of a tenth of the amplitude."""
    size, hop = 256, 128
    window = np.sqrt(np.hanning(size + 1)[:-1])
    padded = np.concatenate((np.zeros(hop), samples, np.zeros(size)))
    spectra = np.fft.rfft(pieces(padded, size, hop, window), axis=1)
    power = np.abs(spectra) ** 2
    smooth = np.empty_like(power)
    state = np.mean(power[:8], axis=0)
    for i, row in enumerate(power):
        state = 0.8 * state + 0.2 * row
        smooth[i] = state
    reach = int(1.5 * RATE / hop)
    noise = np.array([2.0 * np.min(smooth[max(0, i - reach):i + 1], axis=0) for i in range(len(smooth))])
    gain = np.sqrt(np.maximum(1 - 2 * noise / (power + 1e-12), 0.01))
    out = np.zeros(len(padded) + size)
    for i, frame in enumerate(np.fft.irfft(spectra * gain, axis=1) * window):
        out[i * hop:i * hop + size] += frame
    return out[hop:hop + len(samples)]
