"""A voice in noise as a receiver's gain control hands it on: pairs of what is heard and what is wanted of it, at 48000 samples a
second in the range of 16-bit integers, a whole number of frames of 512.
"""
import ctypes
import os

import numpy as np

import sounds

RATE = 48000
UP = RATE // sounds.RATE
FRAME = 512
BINS = 80  # of the spectra that the training sees: up to 3.75 kHz
FRAMES = 480  # of a scene: 5.12 s
SIZE = FRAMES * FRAME // UP
SCALE = 32000.0
SHARES = {"crashes": 2.0, "carriers": 2.0, "morse": 2.0}  # how often a kind comes in the training; the rest: 1


def upsample(samples):
    spectrum = np.fft.rfft(samples)
    spectrum[-1] *= 0.5
    return np.fft.irfft(np.pad(spectrum, (0, len(samples) * (UP - 1) // 2)), len(samples) * UP) * UP


def active_power(samples, rate=sounds.RATE):
    """Mean power of the 20 ms pieces within 40 dB of the loudest."""
    hop = rate // 50
    power = np.mean(samples[:len(samples) // hop * hop].reshape(-1, hop) ** 2, axis=1)
    return float(np.mean(power[power >= 1e-4 * np.max(power)])) if np.max(power) > 0 else 0.0


def gain_control(samples, attack, decay, hang, gain, limit=1e4):
    """The automatic gain of a receiver, per sample: in each block of 512 it falls to 1 / (1.2 peak) with one time constant, and
    after `hang` seconds rises to it with another."""
    n = np.arange(1, FRAME + 1)
    falls, rises = np.exp(-n / (RATE * attack)), np.exp(-n / (RATE * decay))
    gains = np.empty(len(samples))
    hold = 0
    for at in range(0, len(samples), FRAME):
        peak = np.max(np.abs(samples[at:at + FRAME]))
        target = 1 / (1.2 * peak) if peak > 0 else 200.0
        part = gains[at:at + FRAME]
        if gain > target:
            part[:] = target + (gain - target) * falls
            hold = int(RATE * hang)
        else:
            wait = min(hold, FRAME)
            hold -= wait
            part[:wait] = gain
            part[wait:] = target + (gain - target) * rises[:FRAME - wait]
        np.minimum(part, limit, out=part)
        gain = part[-1]
    return gains


def voice_line(rng, voices, size):
    """A voice with some pauses; sometimes none at all speaks."""
    name = rng.choice(sorted(voices))
    out = np.zeros(size)
    at = int(rng.uniform(-1, 1.2) * sounds.RATE)
    while at < size:
        length = int(rng.uniform(1.5, 5) * sounds.RATE)
        piece = sounds.piece_of(rng, {name: voices[name]}, length)
        edge = min(120, length // 4)
        piece[:edge] *= np.linspace(0, 1, edge)
        piece[-edge:] *= np.linspace(1, 0, edge)
        begin = max(0, -at)
        part = piece[begin:begin + size - max(at, 0)]
        out[max(at, 0):max(at, 0) + len(part)] += part
        at += length + int(rng.uniform(0.1, 1.2) * sounds.RATE)
    return out


def mix(rng, voice, noise, snr, low, high, faded=False):
    """Heard and wanted, after the receive filter from low to high Hz. SNR in dB between 300 and 2700 Hz: the voice's power while
    it speaks over the noise's mean power."""
    if faded:
        voice = sounds.fading(rng, voice)
    inner = sounds.band(300, 2700, 20)
    wanted_power = active_power(sounds.shaped(voice, inner))
    noise_power = float(np.mean(sounds.shaped(noise, inner) ** 2))
    if wanted_power > 0 and noise_power > 0:
        noise = noise * np.sqrt(wanted_power / noise_power / 10 ** (snr / 10))
    receive = sounds.band(low, high)
    return sounds.shaped(voice + noise, receive), sounds.shaped(voice, receive)


def level(heard, wanted, attack, decay, hang, start):
    """Through the gain control and to the range of 16-bit integers."""
    heard, wanted = upsample(heard), upsample(wanted)
    gains = gain_control(heard, attack, decay, hang, start)
    return np.clip(heard * gains, -1, 1) * SCALE, np.clip(wanted * gains, -1, 1) * SCALE


def random_scene(rng, voices, often=SHARES):
    """One for the training: everything at random, kinds of noise as `often` has it."""
    voice = np.zeros(SIZE) if rng.random() < 0.04 else voice_line(rng, voices, SIZE)
    voice = voice * 10 ** rng.uniform(-1, 0)
    names = sorted(sounds.KINDS)
    shares = np.array([often.get(name, 1.0) for name in names])
    kinds = rng.choice(names, rng.choice([1, 2, 3], p=[0.7, 0.2, 0.1]), replace=False, p=shares / shares.sum())
    noise = np.zeros(SIZE)
    for kind in kinds:
        one = sounds.KINDS[kind](rng, SIZE, voices)
        noise += one / (np.std(one) + 1e-12) * 10 ** rng.uniform(-0.5, 0.3)
    if not np.any(voice):
        noise *= 10 ** rng.uniform(-3, -0.5)
    high = rng.uniform(2200, 3300) if rng.random() < 0.8 else rng.uniform(3300, 5500)
    heard, wanted = mix(rng, voice, noise, rng.uniform(-5, 20) if rng.random() < 0.95 else 45.0, rng.uniform(80, 400),
                        high, faded=rng.random() < 0.35)
    if rng.random() < 0.2:  # a gain by hand
        gain = 10 ** rng.uniform(-1.7, 0) / (np.max(np.abs(heard)) + 1e-9)
        return (np.clip(upsample(heard) * gain, -1, 1) * SCALE), upsample(wanted) * gain * SCALE
    return level(heard, wanted, 0.01 * 10 ** rng.uniform(-0.5, 0.5), 0.2 * 10 ** rng.uniform(-0.5, 0.7), rng.uniform(0, 2),
                 10 ** rng.uniform(-0.5, 2.3))


class Library:
    """The C++ analysis and frame call, of the target denoise_features."""

    def __init__(self, path=None):
        here = os.path.dirname(os.path.abspath(__file__))
        path = path or os.environ.get("DENOISE_FEATURES") or os.path.join(here, "../../build/release/tools/libdenoise_features.so")
        self.library = ctypes.CDLL(path)

    def features(self, heard, wanted):
        """By frames: features, noisy and wanted energies and their correlation, silence, and spectra by (noisy, pitch-delayed,
        wanted), bin, (real, imaginary)."""
        frames = len(heard) // FRAME
        heard, wanted = (np.ascontiguousarray(x, np.float32) for x in (heard, wanted))
        out = [np.zeros((frames, n), np.float32) for n in (42, 22, 22, 22)]
        silent = np.zeros(frames, np.uint8)
        spectra = np.zeros((frames, 3, BINS, 2), np.float32)
        pointers = [ctypes.c_void_p(array.ctypes.data) for array in [heard, wanted] + out + [silent, spectra]]
        self.library.denoiseFeatures(*pointers[:2], frames, *pointers[2:])
        return (*out, silent, spectra)

    def process(self, heard, percent):
        """What comes out, still one frame late, and the voice probabilities."""
        frames = len(heard) // FRAME
        heard = np.ascontiguousarray(heard, np.float32)
        out, voice = np.zeros(frames * FRAME, np.float32), np.zeros(frames, np.float32)
        self.library.denoiseProcess(ctypes.c_void_p(heard.ctypes.data), frames, ctypes.c_float(percent),
                                    ctypes.c_void_p(out.ctypes.data), ctypes.c_void_p(voice.ctypes.data))
        return out, voice

    def with_gains(self, heard, gains, percent=100):
        """The same with 22 gains for each frame."""
        frames = len(heard) // FRAME
        heard, gains = (np.ascontiguousarray(x, np.float32) for x in (heard, gains))
        out = np.zeros(frames * FRAME, np.float32)
        pointers = [ctypes.c_void_p(array.ctypes.data) for array in (heard, gains, out)]
        self.library.denoiseGains(pointers[0], frames, ctypes.c_float(percent), *pointers[1:])
        return out
