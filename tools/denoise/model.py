"""The network in PyTorch, its loss, and its way to the weight tables."""
import torch
from torch import nn

import weights


class Rounded(torch.autograd.Function):
    """A table as its signed bytes will hold it; gradients pass as if it were not rounded."""

    @staticmethod
    def forward(context, table):
        step = table.abs().max().clamp_min(1e-12) / 127
        return torch.round(table / step) * step

    @staticmethod
    def backward(context, gradient):
        return gradient


class Network(nn.Module):
    """Layers as trx/denoise/network.hpp has them. A GRU of PyTorch is the same one, with its second bias at zero."""

    def __init__(self):
        super().__init__()
        for name, _, inputs, columns, state in weights.LAYERS:
            if state:
                layer = nn.GRU(inputs, state, batch_first=True)
                nn.init.zeros_(layer.bias_hh_l0)
                nn.init.zeros_(layer.bias_ih_l0)
                with torch.no_grad():
                    layer.bias_ih_l0[state:2 * state] = 1.0
                layer.bias_hh_l0.requires_grad_(False)
            else:
                layer = nn.Linear(inputs, columns)
            setattr(self, name, layer)

    def forward(self, features, states=None):
        """Features (batch, frames, 42) to gains (batch, frames, 22), voice (batch, frames), both before their sigmoids."""
        states = states or [None] * 3
        dense = torch.tanh(self.input_dense(features))
        vad, s0 = self.vad_gru(dense, states[0])
        noise, s1 = self.noise_gru(torch.cat((dense, vad, features), 2), states[1])
        denoise, s2 = self.denoise_gru(torch.cat((vad, noise, features), 2), states[2])
        return self.denoise_output(denoise), self.vad_output(vad)[..., 0], [s0, s1, s2]

    def tables(self):
        """Trainable tables; all of them are rounded for the library."""
        return [p for p in self.parameters() if p.requires_grad]

    def layers(self):
        """As weights.py takes them. PyTorch's order of gates is ours."""
        out = {}
        for name, _, _, _, state in weights.LAYERS:
            layer = getattr(self, name)
            pick = (lambda p: p.detach().cpu().double().numpy().T.copy())
            if state:
                out[name] = {"input": pick(layer.weight_ih_l0), "recurrent": pick(layer.weight_hh_l0),
                             "bias": pick(layer.bias_ih_l0)}
            else:
                out[name] = {"input": pick(layer.weight), "bias": pick(layer.bias)}
        return out


class RoundedWeights:
    """While it lasts the network computes with rounded tables; afterwards it has its own back."""

    def __init__(self, network):
        self.tables = network.tables()

    def __enter__(self):
        self.kept = [table.data for table in self.tables]
        for table in self.tables:
            table.data = Rounded.apply(table.data)

    def __exit__(self, *_):
        for table, kept in zip(self.tables, self.kept):
            table.data = kept


def likeness(wanted, got, speech, length=36, step=9):
    """Mean correlation of the two amplitudes' courses over 384 ms in the bands from 190 to 2800 Hz, where someone speaks at least
    for a third of that time: what intelligibility measures look at."""
    s, g = (x[:, :, 1:13].unfold(1, length, step) for x in (wanted, got))
    s, g = (x - x.mean(3, keepdim=True) for x in (s, g))
    both = (s * g).sum(3) / torch.sqrt((s ** 2).sum(3) * (g ** 2).sum(3) + 1e-3)
    spoken = (speech.unfold(1, length, step).mean(2) > 0.33).float()[..., None]
    return (both * spoken).sum() / (spoken.sum() * both.shape[2] + 1)


def loss(gain_logits, voice_logits, batch):
    """What is wrong with the gains: four parts.

    - the square roots of gains against those of the wanted amplitude ratio, in bands with any sound;
    - while someone speaks, the logarithm of the error's energy over the wanted energy, the segmental SNR;
    - the likeness of the bands' envelopes;
    - the voice probability.
    """
    noisy, wanted, cross = batch["noisy"], batch["wanted"], batch["cross"]
    present = noisy / (noisy + 0.01) * (1 - batch["silent"])[..., None]
    gain = torch.sigmoid(gain_logits)
    ratio = wanted / (noisy + 1e-6)
    ideal = 0.5 * (torch.sqrt(ratio.clamp(0, 1)) + (cross / (noisy + 1e-6)).clamp(0, 1))
    root = (torch.sqrt(gain + 1e-6) - torch.sqrt(ideal + 1e-6)) ** 2
    amplitude = (root * present).sum(2) / (present.sum(2) + 1e-3)
    energy = wanted.sum(2)
    peak = torch.quantile(energy, 0.95, dim=1, keepdim=True)
    speech = ((energy > 3e-3 * peak) & (peak > 1)).float()
    error = (wanted - 2 * gain * cross + gain ** 2 * noisy).sum(2).clamp_min(0)
    segmental = torch.log10(error / (energy + 1e-3) + 1e-3) * speech
    envelopes = likeness(torch.sqrt(wanted), gain * torch.sqrt(noisy + 1e-9), speech)
    known = ((energy > 3e-3 * peak) | (energy < 1e-5 * peak) | (peak <= 1)).float() * (1 - batch["silent"])
    voice = nn.functional.binary_cross_entropy_with_logits(voice_logits, speech, reduction="none") * known
    return (2 * amplitude.mean(), 0.4 * segmental.sum() / (speech.sum() + 1), 1.5 * (1 - envelopes),
            0.05 * voice.mean())
