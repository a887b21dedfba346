"""Trains the network on the scenes of scenes.py: train.py SCENES CHECKPOINT [--minutes M] [--rate R] [--last-rate R]
[--envelopes WEIGHT] [--round]

Goes on from the checkpoint if it is there, else from the weights that are compiled in with --from-weights, else from nothing. Reads
new scenes as they appear, and writes the checkpoint every few minutes; the first two shards are kept for the check. With --round the
tables are rounded to signed bytes in every step, for the end of a training.
"""
import argparse
import glob
import os
import time

os.environ.setdefault("OPENBLAS_NUM_THREADS", "1")  # its threads spend their time waiting for one another with matrices this small

import numpy as np
import torch

import loss
import model
import synthesis
import weights

CHECK_SHARDS = 2
PART = 8  # sequences whose loss is computed at a time: what fits the processor's caches


def load(path):
    with np.load(path) as file:
        out = {name: torch.from_numpy(file[name]) for name in file.files}
    out["spectra"] = out["spectra"][:, :, :, :synthesis.BINS].float()
    return out


class Scenes:
    """All scenes that exist, in memory."""

    def __init__(self, folder):
        self.folder, self.known, self.parts, self.check = folder, set(), [], []
        self.refresh()

    def refresh(self):
        paths = sorted(p for p in glob.glob(os.path.join(self.folder, "*.npz")) if ".part." not in p)
        for path in paths:
            if path in self.known:
                continue
            self.known.add(path)
            (self.check if len(self.check) < CHECK_SHARDS else self.parts).append(load(path))

    def batch(self, rng, size, frames):
        """Sequences of `frames` from random places of random scenes."""
        rows = []
        for _ in range(size):
            part = self.parts[rng.integers(len(self.parts))]
            scene = rng.integers(part["features"].shape[0])
            start = rng.integers(0, part["features"].shape[1] - frames + 1)
            rows.append({name: table[scene, start:start + frames] for name, table in part.items()})
        return {name: torch.stack([row[name] for row in rows]) for name in rows[0]}

    def __len__(self):
        return sum(part["features"].shape[0] for part in self.parts)


def losses(gains, voice, batch, backwards=True):
    """Mean losses; with `backwards` their gradients lie in gains.grad and voice.grad."""
    sums = np.zeros(len(loss.NAMES))
    count = len(gains)
    for at in range(0, count, PART):
        piece = {name: table[at:at + PART].float() for name, table in batch.items()}
        share = len(piece["noisy"]) / count
        parts = loss.loss(gains[at:at + PART], voice[at:at + PART], piece)
        if backwards:
            (share * sum(parts)).backward()
        sums += [share * float(p) for p in parts]
    return sums


def step(network, optimiser, batch):
    gains, voice = network(batch["features"])
    leaves = [x.detach().requires_grad_() for x in (gains, voice)]
    sums = losses(*leaves, batch)
    optimiser.zero_grad()
    torch.autograd.backward((gains, voice), [leaf.grad for leaf in leaves])
    return sums


def check(network, scenes):
    with torch.no_grad(), model.RoundedWeights(network):
        return np.mean([losses(*network(part["features"]), part, False) for part in scenes.check], axis=0)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("scenes")
    parser.add_argument("checkpoint")
    parser.add_argument("--minutes", type=float, default=25)
    parser.add_argument("--rate", type=float, default=2e-3)
    parser.add_argument("--last-rate", type=float, default=1e-4)
    parser.add_argument("--batch", type=int, default=64)
    parser.add_argument("--frames", type=int, default=240)
    parser.add_argument("--envelopes", type=float, default=loss.ENVELOPES, metavar="WEIGHT")
    parser.add_argument("--round", action="store_true")
    parser.add_argument("--from-weights", action="store_true")
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    loss.ENVELOPES = options.envelopes
    torch.set_num_threads(1)
    torch.manual_seed(options.seed)
    torch.set_flush_denormal(True)
    network = model.Network()
    steps = 0
    optimiser = torch.optim.Adam(network.tables(), options.rate, betas=(0.9, 0.98))
    if os.path.exists(options.checkpoint):
        saved = torch.load(options.checkpoint)
        network.load_state_dict(saved["network"])
        optimiser.load_state_dict(saved["optimiser"])
        steps = saved["steps"]
    elif options.from_weights:
        network.take(weights.read_source(weights.SOURCE))
        steps = weights.read_steps(weights.SOURCE)
    scenes = Scenes(options.scenes)
    rng = np.random.default_rng([options.seed, steps])
    began = saved_at = told = time.monotonic()
    sums, count = np.zeros(len(loss.NAMES)), 0

    def save():
        state = {"network": network.state_dict(), "optimiser": optimiser.state_dict(), "steps": steps}
        torch.save(state, options.checkpoint + ".part")
        os.rename(options.checkpoint + ".part", options.checkpoint)

    while (spent := (time.monotonic() - began) / 60) < options.minutes:
        share = spent / options.minutes
        for group in optimiser.param_groups:
            group["lr"] = options.last_rate + (options.rate - options.last_rate) * 0.5 * (1 + np.cos(np.pi * share))
        batch = scenes.batch(rng, options.batch, options.frames)
        if options.round:
            with model.RoundedWeights(network):
                found = step(network, optimiser, batch)
        else:
            found = step(network, optimiser, batch)
        torch.nn.utils.clip_grad_norm_(network.tables(), 1.0)
        optimiser.step()
        steps += 1
        sums += found
        count += 1
        now = time.monotonic()
        if now - told > 180:
            checked = check(network, scenes)
            print(f"{steps} steps, {spent:.1f} min, {len(scenes)} scenes, loss "
                  f"{' '.join(f'{v:.4f}' for v in sums / count)} = {sums.sum() / count:.4f}, check "
                  f"{' '.join(f'{v:.4f}' for v in checked)} = {checked.sum():.4f}", flush=True)
            sums, count, told = np.zeros(len(loss.NAMES)), 0, now
            scenes.refresh()
        if now - saved_at > 90:
            save()
            saved_at = now
    save()


if __name__ == "__main__":
    main()
