"""What the training makes small: what is wrong with the sound that the network's gains give, by the measures of measures.py as far
as frames of spectra show them."""
import torch
from torch import nn

import synthesis

LOW, HIGH = 7, 58  # bins between 300 and 2700 Hz
SPAN, STEP = 36, 9  # frames of an envelope: 384 ms
SPOKEN = 1e-4  # of the loudest frame's energy


def thirds():
    """(bins, third octaves)."""
    frequency = 46.875 * torch.arange(synthesis.BINS)
    centres = [150 * 2 ** (k / 3) for k in range(3, 13)]
    return torch.stack([((frequency >= c * 2 ** (-1 / 6)) & (frequency < c * 2 ** (1 / 6))).float() for c in centres], 1)


THIRDS = thirds()
NAMES = ("amplitude", "segmental", "envelopes", "spectrum", "voice")
ENVELOPES = 3.0  # weight of that part


def envelopes(wanted, got, speech):
    """The mean correlation of third octaves' courses over 384 ms, of pieces in which someone speaks for half the time."""
    s, g = (torch.sqrt(x @ THIRDS + 1e-3).unfold(1, SPAN, STEP) for x in (wanted, got))
    g = g * (s.norm(dim=3, keepdim=True) / (g.norm(dim=3, keepdim=True) + 1e-3))
    g = torch.minimum(g, s * (1 + 10 ** (15 / 20)))
    s, g = (x - x.mean(3, keepdim=True) for x in (s, g))
    both = (s * g).sum(3) / torch.sqrt((s ** 2).sum(3) * (g ** 2).sum(3) + 1e-3)
    spoken = (speech.unfold(1, SPAN, STEP).mean(2) > 0.5).float()[..., None]
    return (both * spoken).sum() / (spoken.sum() * both.shape[2] + 1)


def segmental(energy, error, speech):
    """The mean logarithm of the error over the energy, of pieces of two frames, about 20 ms; beyond 1 it counts less."""
    energy, error = (x[:, 1:] + x[:, :-1] for x in (energy, error))
    fault = torch.log10(error / (energy + 1e-3) + 3e-4)
    fault = torch.where(fault > 1, 1 + 0.1 * (fault - 1), fault)
    return (fault * speech[:, 1:]).sum() / (speech[:, 1:].sum() + 1)


def loss(gain_logits, voice_logits, batch):
    """Five parts, NAMES:

    - the square roots of gains against those of the wanted amplitude ratio, in bands with any sound, speech or not;
    - where someone speaks, the logarithm of the error's energy over the wanted one: the segmental SNR;
    - the likeness of envelopes, on which intelligibility depends;
    - the distance of logarithmic spectra;
    - the voice probability.
    """
    noisy, wanted, cross, silent = batch["noisy"], batch["wanted"], batch["cross"], batch["silent"]
    present = noisy / (noisy + 0.01) * (1 - silent)[..., None]
    gain = torch.sigmoid(gain_logits)
    ratio = wanted / (noisy + 1e-6)
    ideal = 0.5 * (torch.sqrt(ratio.clamp(0, 1)) + (cross / (noisy + 1e-6)).clamp(0, 1))
    root = (torch.sqrt(gain + 1e-6) - torch.sqrt(ideal + 1e-6)) ** 2
    amplitude = (root * present).sum(2) / (present.sum(2) + 1e-3)

    frames = synthesis.Frames(batch["spectra"])
    real, imaginary = frames.out(gain[..., :synthesis.BANDS])
    s, g = frames.power(frames.wanted), real ** 2 + imaginary ** 2
    energy, error = (x[..., LOW:HIGH].sum(2) for x in (s, frames.error((real, imaginary))))
    peak = torch.quantile(energy, 0.98, dim=1, keepdim=True)  # no short overload
    speech = ((energy > SPOKEN * peak) & (peak > 1)).float()

    least = 1e-5 * torch.quantile(s[..., LOW:HIGH].amax(2), 0.98, dim=1)[:, None, None] + 1e-6
    logs = [torch.log10(torch.maximum(x[..., LOW:HIGH], least)) for x in (s, g)]
    distance = torch.sqrt(((logs[0] - logs[1]) ** 2).mean(2) + 1e-4)
    spectrum = (distance * speech).sum() / (speech.sum() + 1)

    known = (1 - silent) * (1 - ((energy > 1e-5 * peak) & (energy <= 3e-3 * peak) & (peak > 1)).float())
    voice = nn.functional.binary_cross_entropy_with_logits(
        voice_logits, ((energy > 3e-3 * peak) & (peak > 1)).float(), reduction="none") * known
    return (amplitude.mean(), 0.5 * segmental(energy, error, speech), ENVELOPES * (1 - envelopes(s, g, speech)), 0.3 * spectrum, 0.05 * voice.mean())
