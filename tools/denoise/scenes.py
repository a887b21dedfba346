"""Makes scenes without end for the training: scenes.py VOICES FOLDER SEED [SHARDS]. A shard is FOLDER/SEED-N.npz with the features,
energies, correlations and spectra of 32 scenes, 21 MB.
"""
import os
import sys

import numpy as np

import scene
import speech


def main():
    voices_folder, folder, seed = sys.argv[1], sys.argv[2], int(sys.argv[3])
    shards = int(sys.argv[4]) if len(sys.argv) > 4 else 1 << 30
    os.makedirs(folder, exist_ok=True)
    voices = {name: voice for name, voice in speech.load(voices_folder, {"train"}).items() if len(voice) > 10 * speech.RATE}
    library = scene.Library()
    for shard in range(shards):
        path = os.path.join(folder, f"{seed}-{shard}.npz")
        if os.path.exists(path):
            continue
        rng = np.random.default_rng([seed, shard])
        parts = [library.features(*scene.random_scene(rng, voices)) for _ in range(32)]
        stacked = [np.stack(column) for column in zip(*parts)]
        stacked[-1] = np.clip(stacked[-1], -6e4, 6e4).astype(np.float16)
        np.savez(path + ".part.npz", **dict(zip(("features", "noisy", "wanted", "cross", "silent", "spectra"), stacked)))
        os.rename(path + ".part.npz", path)


if __name__ == "__main__":
    main()
