"""The second half of a frame call once more, in PyTorch, so that a loss can look at what comes out: pitch filter, floor of gains
and straight lines between bands, for the bins up to 2.7 kHz.

    synthesis.py VOICES      says how far it is from the library's own with random gains
"""
import math

import torch

BINS, BANDS = 64, 13  # of which the bins up to the twelfth band's edge are exact
EDGES = [0, 4, 8, 12, 16, 20, 24, 28, 32, 40, 48, 56, 64]
FLOOR = 0.6  # of a gain beside the last frame's


def lines():
    """(bins, bands): the share of each band's value in a bin."""
    table = torch.zeros(BINS, BANDS)
    for b, (low, high) in enumerate(zip(EDGES, EDGES[1:])):
        for k in range(low, high):
            table[k, b + 1] = (k - low) / (high - low)
            table[k, b] = 1 - table[k, b + 1]
    return table


LINES = lines()
SUMS = LINES * torch.tensor([2.0] + [1.0] * (BANDS - 2) + [2.0])  # the last band has but one flank here


class Frames:
    """What the synthesis needs of frames: spectra (..., frames, 3, bins, 2) of the noisy, the pitch-delayed and the wanted
    frame."""

    def __init__(self, spectra):
        with torch.no_grad():
            spectra = spectra[..., :BINS, :].float()
            self.x, self.p, self.wanted = ([spectra[..., i, :, j].contiguous() for j in (0, 1)] for i in range(3))
            self.ex, ep = self.power(self.x) @ SUMS, self.power(self.p) @ SUMS
            both = (self.x[0] * self.p[0] + self.x[1] * self.p[1]) @ SUMS
            self.likeness = both / torch.sqrt(0.001 + self.ex * ep)
            self.scale = torch.sqrt(self.ex / (1e-8 + ep))

    @staticmethod
    def power(pair):
        return pair[0] ** 2 + pair[1] ** 2

    def error(self, got):
        """Energies of the difference from the wanted spectrum."""
        return self.power([a - b for a, b in zip(got, self.wanted)])

    def out(self, gains):
        """Real and imaginary part of the spectrum behind the gains of the first bands (..., frames, bands)."""
        l2, g2 = self.likeness ** 2, gains ** 2
        strength = torch.sqrt((l2 * (1 - g2) / (0.001 + g2 * (1 - l2))).clamp(1e-6, 1))
        strength = torch.where(self.likeness > gains, torch.ones_like(strength), strength)
        share = (strength * self.scale) @ LINES.T
        filtered = [x + share * p for x, p in zip(self.x, self.p)]
        back = torch.sqrt((self.ex + 1e-9) / (1e-8 + self.power(filtered) @ SUMS))  # 1e-9: no slope of sqrt at 0
        factor = (back @ LINES.T) * (floored(gains) @ LINES.T)
        return [f * factor for f in filtered]


def floored(gains):
    """Gains that fall to no less than 0.6 of the last frame's."""
    decay = -math.log(FLOOR) * torch.arange(gains.shape[-2], dtype=gains.dtype)[:, None]
    return torch.exp(torch.cummax(torch.log(gains + 1e-6) + decay, dim=-2)[0] - decay)


def difference(library, heard, wanted, rng):
    """In dB beside the library's sound, from 300 to 2400 Hz."""
    import numpy as np
    import reference
    import scene
    gains = rng.random((scene.FRAMES, 22), dtype=np.float32)
    frames = Frames(torch.from_numpy(library.features(heard, wanted)[-1]))
    real, imaginary = frames.out(torch.from_numpy(gains[:, :BANDS]))
    spectra = np.pad((real + 1j * imaginary).numpy(), ((0, 0), (0, reference.BINS - BINS)))
    waves = reference.SLOPE * np.fft.irfft(spectra * reference.WINDOW, axis=1)
    ours = np.zeros(len(heard) + scene.FRAME)
    for i, wave in enumerate(waves):
        ours[i * scene.FRAME:i * scene.FRAME + reference.WINDOW] += wave
    inside = slice(int(300 * len(heard) / scene.RATE), int(2400 * len(heard) / scene.RATE))
    a, b = (np.fft.rfft(x)[inside] for x in (library.with_gains(heard, gains), ours[:len(heard)]))
    return 10 * np.log10(np.sum(np.abs(a - b) ** 2) / np.sum(np.abs(a) ** 2))


def main():
    import sys

    import numpy as np
    import scene
    import speech
    rng = np.random.default_rng(1)
    heard, wanted = scene.random_scene(rng, speech.load(sys.argv[1], {"check"}))
    print(f"{difference(scene.Library(), heard, wanted, rng):.0f} dB")


if __name__ == "__main__":
    main()
