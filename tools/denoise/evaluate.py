"""Measures the noise reduction as it is compiled in on voices that the training never heard:

    evaluate.py VOICES [--scenes N] [--table FILE] [--mix PERCENT] [--kinds K,K...] [--checkpoint FILE | --bound]
    evaluate.py VOICES [--picture FILE.png] [--wavs FOLDER]

Noise comes from other random numbers than the training's, splatter from voices that it never heard either. The scenes go through
the receiver's gain control as they would on the air. With --checkpoint a training's network is measured, on voices of the training
and other noise, for choices on the way; with --bound the best gains that there are (bound.py), on the held-out voices again.
"""
import argparse
import os
import wave

import numpy as np

import measures
import scene
import sounds
import speech

KINDS = ["white", "coloured", "fading", "crashes", "carriers", "buzz", "morse", "teletype", "splatter"]


def make(rng, voices, others, kind, snr, size=scene.SIZE):
    """Heard and wanted: one of `voices` in noise of a kind, for which `others` may speak."""
    voice = scene.voice_line(rng, voices, size)
    noise = sounds.KINDS["white" if kind == "fading" else kind](rng, size, others)
    heard, wanted = scene.mix(rng, voice, noise, snr, 200, 3000, faded=kind == "fading")
    return scene.level(heard, wanted, 0.01, 0.2, 2, 1 / (1.2 * np.max(np.abs(heard))))


def down(samples):
    """To 12000 a second."""
    size = len(samples) // scene.UP
    return np.fft.irfft(np.fft.rfft(samples)[:size // 2 + 1], size) / scene.UP


def reduced(library, heard, percent):
    out, _ = library.process(np.concatenate((heard, np.zeros(scene.FRAME))), percent)
    return out[scene.FRAME:]


def measure(wanted, got):
    return measures.segmental_snr(wanted, got), measures.stoi(wanted, got), measures.log_spectral_distance(wanted, got)


def with_gains(library, find, heard, wanted, percent):
    """Reduced with the gains that `find` returns for what the library finds of the two."""
    longer = [np.concatenate((x, np.zeros(scene.FRAME))) for x in (heard, wanted)]
    return library.with_gains(longer[0], find(library.features(*longer)), percent)[scene.FRAME:]


def network_of(checkpoint):
    """A function from what the library finds to the rounded network's gains."""
    import torch
    import model
    network = model.Network()
    network.load_state_dict(torch.load(checkpoint)["network"])

    def find(features):
        with torch.no_grad(), model.RoundedWeights(network):
            gains, _ = network(torch.from_numpy(features[0])[None].expand(4, -1, -1))
            return torch.sigmoid(gains[0]).numpy()
    return find


def results(library, voices, scenes, percent, kinds=KINDS, find=None, seed=1001):
    """(kind, snr) to an array: untouched, baseline, reduced by segmental SNR, STOI, distance. `find` replaces the network."""
    out = {}
    for kind in kinds:
        for snr in (0, 5, 10):
            rows = []
            for i in range(scenes):
                rng = np.random.default_rng([seed, KINDS.index(kind), snr, i])
                name = sorted(voices)[i % len(voices)]
                others = {n: v for n, v in voices.items() if n != name}
                heard, wanted = make(rng, {name: voices[name]}, others, kind, snr)
                got = with_gains(library, find, heard, wanted, percent) if find else reduced(library, heard, percent)
                wanted_low, heard_low, got_low = down(wanted), down(heard), down(got)
                rows.append([measure(wanted_low, heard_low), measure(wanted_low, measures.spectral_subtraction(heard_low)),
                             measure(wanted_low, got_low)])
            out[kind, snr] = np.mean(rows, axis=0)
            v = out[kind, snr]
            print(f"{kind} {snr} dB: segmental SNR {v[0, 0]:.1f} > {v[1, 0]:.1f} {v[2, 0]:.1f} dB, STOI {v[0, 1]:.3f} > "
                  f"{v[1, 1]:.3f} {v[2, 1]:.3f}, distance {v[0, 2]:.1f} > {v[1, 2]:.1f} {v[2, 2]:.1f} dB", flush=True)
    return out


def table(found):
    lines = ["| noise | SNR | seg. SNR: in, baseline, **ours** (gain) | STOI: in, baseline, **ours** | distance: in, baseline, "
             "**ours** |", "|---|---|---|---|---|"]
    for (kind, snr), v in found.items():
        lines.append(f"| {kind} | {snr} dB | {v[0, 0]:.1f}, {v[1, 0]:.1f}, **{v[2, 0]:.1f}** ({v[2, 0] - v[0, 0]:+.1f}) | "
                     f"{v[0, 1]:.3f}, {v[1, 1]:.3f}, **{v[2, 1]:.3f}** | {v[0, 2]:.1f}, {v[1, 2]:.1f}, **{v[2, 2]:.1f}** |")
    return "\n".join(lines)


def write_wav(path, samples, rate=8000):
    size = int(len(samples) * rate / scene.RATE)
    low = np.fft.irfft(np.fft.rfft(samples)[:size // 2 + 1], size) * size / len(samples)
    with wave.open(path, "wb") as file:
        file.setnchannels(1)
        file.setsampwidth(2)
        file.setframerate(rate)
        file.writeframes((np.clip(low / 32768, -1, 1) * 32767).astype("<i2").tobytes())


def picture(path, before, after):
    import matplotlib
    matplotlib.use("Agg")
    from matplotlib import pyplot
    figure, axes = pyplot.subplots(2, 1, figsize=(7.5, 4.6), sharex=True, constrained_layout=True)
    for axis, samples, name in ((axes[0], before, "before"), (axes[1], after, "after")):
        axis.specgram(down(samples) / 32768, NFFT=384, Fs=sounds.RATE, noverlap=288, cmap="magma", vmin=-110, vmax=-35)
        axis.set_ylim(0, 3300)
        axis.set_ylabel("Hz")
        axis.set_title(name, loc="left")
    axes[1].set_xlabel("s")
    figure.savefig(path, dpi=80)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("voices")
    parser.add_argument("--scenes", type=int, default=48)
    parser.add_argument("--mix", type=float, default=100)
    parser.add_argument("--table")
    parser.add_argument("--picture")
    parser.add_argument("--wavs")
    parser.add_argument("--kinds", default=",".join(KINDS))
    parser.add_argument("--checkpoint")
    parser.add_argument("--bound", action="store_true")
    options = parser.parse_args()
    library = scene.Library()
    voices = speech.load(options.voices, {"train"} if options.checkpoint else {"check", "language"})
    if options.picture or options.wavs:
        rng = np.random.default_rng(77)
        size = scene.SIZE * 2
        voice = {"flite_rms": voices["flite_rms"]}
        noise = sum(sounds.KINDS[kind](rng, size, voices) / s for kind, s in (("white", 1.0), ("morse", 2.0)))
        heard, wanted = scene.mix(rng, scene.voice_line(rng, voice, size), noise, 5, 200, 3000)
        heard, _ = scene.level(heard, wanted, 0.01, 0.2, 2, 1 / (1.2 * np.max(np.abs(heard))))
        got = reduced(library, heard, 100)
        if options.picture:
            picture(options.picture, heard, got)
        if options.wavs:
            write_wav(os.path.join(options.wavs, "noise-reduction-before.wav"), heard)
            write_wav(os.path.join(options.wavs, "noise-reduction-after.wav"), got)
        return
    find, seed = None, 1001
    if options.checkpoint:
        find, seed = network_of(options.checkpoint), 2001
        order = np.random.default_rng(seed).permutation(sorted(voices))
        voices = {name: voices[name] for name in order[:options.scenes]}
    elif options.bound:
        import bound
        find = bound.best_gains
    found = results(library, voices, options.scenes, options.mix, options.kinds.split(","), find, seed)
    if options.table:
        with open(options.table, "w") as file:
            file.write(table(found) + "\n")
    zero = [v[2, 0] - v[0, 0] for (_, snr), v in found.items() if snr == 0]
    print(f"segmental SNR gain at 0 dB: mean {np.mean(zero):.1f} dB, least {np.min(zero):.1f} dB; STOI below the input's: "
          f"{[k for k, v in found.items() if v[2, 1] < v[0, 1]]}; not better than the baseline: "
          f"{[k for k, v in found.items() if v[2, 0] <= v[1, 0] or v[2, 1] <= v[1, 1] or v[2, 2] >= v[1, 2]]}")


if __name__ == "__main__":
    main()
