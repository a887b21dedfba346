"""Makes scenes without end for the training: scenes.py VOICES FOLDER SEED [SHARDS] [--often KIND=SHARE ...]. A shard is
FOLDER/SEED-N.npz with the features, energies, correlations and spectra of 32 scenes, 21 MB. With --often a kind of noise comes more
often, or less, than in scene.py.
"""
import argparse
import os

import numpy as np

import scene
import sounds
import speech


def main():
    parser = argparse.ArgumentParser(description=__doc__.split(":")[0])
    parser.add_argument("voices")
    parser.add_argument("folder")
    parser.add_argument("seed", type=int)
    parser.add_argument("shards", type=int, nargs="?", default=1 << 30)
    parser.add_argument("--often", nargs="*", default=[], metavar="KIND=SHARE")
    options = parser.parse_args()
    often = dict(scene.SHARES)
    for one in options.often:
        kind, share = one.split("=")
        often[kind] = float(share)
    if not set(often) <= set(sounds.KINDS):
        parser.error(f"kinds of noise: {', '.join(sorted(sounds.KINDS))}")
    folder, seed = options.folder, options.seed
    os.makedirs(folder, exist_ok=True)
    voices = {name: voice for name, voice in speech.load(options.voices, {"train"}).items() if len(voice) > 10 * speech.RATE}
    library = scene.Library()
    for shard in range(options.shards):
        path = os.path.join(folder, f"{seed}-{shard}.npz")
        if os.path.exists(path):
            continue
        rng = np.random.default_rng([seed, shard])
        parts = [library.features(*scene.random_scene(rng, voices, often)) for _ in range(32)]
        stacked = [np.stack(column) for column in zip(*parts)]
        stacked[-1] = np.clip(stacked[-1], -6e4, 6e4).astype(np.float16)
        np.savez(path + ".part.npz", **dict(zip(("features", "noisy", "wanted", "cross", "silent", "spectra"), stacked)))
        os.rename(path + ".part.npz", path)


if __name__ == "__main__":
    main()
