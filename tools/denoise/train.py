"""Trains the network on the scenes of scenes.py: train.py SCENES CHECKPOINT [--minutes M] [--rate R] [--round]

Goes on from the checkpoint if it is there, reads new scenes as they appear, and writes the checkpoint every few minutes; the first
two shards are kept for the check. With --round the tables are rounded to signed bytes in every step, for the end of a
training.
"""
import argparse
import glob
import os
import time

import numpy as np
import torch

import model

CHECK_SHARDS = 2


def load(path):
    with np.load(path) as file:
        return {name: torch.from_numpy(file[name].astype(np.float32)) for name in file.files}


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


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("scenes")
    parser.add_argument("checkpoint")
    parser.add_argument("--minutes", type=float, default=25)
    parser.add_argument("--rate", type=float, default=2e-3)
    parser.add_argument("--last-rate", type=float, default=1e-4)
    parser.add_argument("--batch", type=int, default=48)
    parser.add_argument("--frames", type=int, default=240)
    parser.add_argument("--round", action="store_true")
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
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
    scenes = Scenes(options.scenes)
    rng = np.random.default_rng([options.seed, steps])
    began = saved_at = told = time.monotonic()
    sums, count = np.zeros(4), 0

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
                gains, voice, _ = network(batch["features"])
                parts = model.loss(gains, voice, batch)
                optimiser.zero_grad()
                sum(parts).backward()
        else:
            gains, voice, _ = network(batch["features"])
            parts = model.loss(gains, voice, batch)
            optimiser.zero_grad()
            sum(parts).backward()
        torch.nn.utils.clip_grad_norm_(network.tables(), 1.0)
        optimiser.step()
        steps += 1
        sums += [float(p) for p in parts]
        count += 1
        now = time.monotonic()
        if now - told > 30:
            with torch.no_grad(), model.RoundedWeights(network):
                checks = []
                for part in scenes.check:
                    gains, voice, _ = network(part["features"])
                    checks.append([float(p) for p in model.loss(gains, voice, part)])
            check = np.mean(checks, axis=0)
            print(f"{steps} steps, {spent:.1f} min, {len(scenes)} scenes, loss "
                  f"{' '.join(f'{v:.4f}' for v in sums / count)}, check {' '.join(f'{v:.4f}' for v in check)} "
                  f"= {check.sum():.4f}", flush=True)
            sums, count, told = np.zeros(4), 0, now
            scenes.refresh()
        if now - saved_at > 90:
            save()
            saved_at = now
    save()


if __name__ == "__main__":
    main()
