"""How far gains can go at all: with the wanted sound known, the 22 gains of each frame that make the segmental SNR highest behind the
library's own synthesis, found by descent from the least-squares ones. What the pitch filter, bands of 190 Hz, the floor of 0.6 and
the high-pass cost lies in it.
"""
import numpy as np
import torch

import loss
import synthesis


def best_gains(features, rounds=150):
    """Of what scene.Library.features returns."""
    _, noisy, _, cross, _, spectra = features
    gains = np.clip(cross / (noisy + 1e-6), 0, 1)
    frames = synthesis.Frames(torch.from_numpy(spectra)[None])
    energy = frames.power(frames.wanted)[..., loss.LOW:loss.HIGH].sum(2)
    spoken = (energy > loss.SPOKEN * energy.max()).float()
    logits = torch.logit(torch.from_numpy(gains).clamp(0.003, 0.997))[None, :, :synthesis.BANDS].clone().requires_grad_()
    optimiser = torch.optim.Adam([logits], 0.1)
    for _ in range(rounds):
        optimiser.zero_grad()
        loss.segmental(energy, frames.error(frames.out(torch.sigmoid(logits)))[..., loss.LOW:loss.HIGH].sum(2), spoken).backward()
        optimiser.step()
    gains[:, :synthesis.BANDS] = torch.sigmoid(logits)[0].detach().numpy()
    return gains
