#!/usr/bin/env python3
"""Makes docs/performance.md and its plots from the results of scripts/bench, or compares them with a former run.

    bench_report.py FOLDER [--document FILE] [--compare | --baseline]

FOLDER holds one JSON file a bench program, as Google Benchmark writes it, and those of `ferrow stress` and
`ferrow latency`. A figure is the median of the repetitions. What is compared with bench/baseline.json are ratios of two
figures of one run: they hold on any machine of the kind, absolute times do not.
"""

import argparse
import json
import pathlib
import statistics
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
BASELINE = ROOT / "bench" / "baseline.json"
WORSE = 1.3  # a ratio may be so many times worse than the baseline's


class Results:
    def __init__(self, folder):
        self.folder = folder
        self.runs = {}
        self.context = {}
        for path in sorted(folder.glob("*.json")):
            data = json.loads(path.read_text())
            if "benchmarks" not in data:
                self.runs[path.stem] = data
                continue
            self.context = data["context"]
            table = self.runs.setdefault(path.stem, {})
            for entry in data["benchmarks"]:
                if entry.get("run_type") == "aggregate":
                    continue
                if entry.get("error_occurred"):
                    sys.exit(f"{path.stem}: {entry['name']}: {entry['error_message']}")
                name = entry["name"].split("/iterations")[0].split("/manual")[0].split("/real_time")[0]
                table.setdefault(name, []).append(entry)

    def has(self, program, name):
        return name in self.runs.get(program, {})

    def of(self, program, name, field="cpu_time"):
        """Median of a field; times in seconds."""
        entries = self.runs[program][name]
        unit = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1}
        factor = unit[entries[0]["time_unit"]] if field in ("cpu_time", "real_time") else 1
        return statistics.median(entry[field] * factor for entry in entries)


def comparisons(r):
    """(key, what, ours, peer's name, peer's, how to show, better) of each pair that is there."""
    rows = []

    def add(key, what, ours, peer, theirs, show, more=False):
        rows.append({"key": key, "what": what, "ours": ours, "peer": peer, "theirs": theirs, "show": show,
                     "times": ours / theirs if more else theirs / ours})

    def time(program, ours, theirs, key, what, peer, show, field="cpu_time"):
        if r.has(program, ours) and r.has(program, theirs):
            add(key, what, r.of(program, ours, field), peer, r.of(program, theirs, field), show)

    def rate(program, ours, theirs, key, what, peer):
        if r.has(program, ours) and r.has(program, theirs):
            add(key, what, r.of(program, ours, "items_per_second"), peer,
                r.of(program, theirs, "items_per_second"), millions, more=True)

    for khz in (384, 48):
        time("trx_receive", f"receiver<ssbModDemod>/kHz:{khz}/foreground:0", f"liquid/kHz:{khz}", f"receiver_{khz}",
             f"an SSB receiver from {khz} kHz: datagrams, chain, background spectrum",
             "liquid-dsp, down-conversion and 513 taps alone", share, "of_signal_time")
    for n in (1024, 2048):
        time("core", f"service/{n}", f"bare<FFTW_ESTIMATE>/{n}", f"fft_{n}", f"transform of {n}, complex, single",
             "FFTW itself", micro)
        time("core", f"service/{n}", f"kiss/{n}", f"fft_{n}_kiss", f"transform of {n}, complex, single", "KISS FFT",
             micro)
    for workers in (1, 2):
        rate("core", f"posts<Contexts>/{workers}", f"posts<Strands>/{workers}", f"posts_{workers}",
             f"serial tasks posted from a thread, {workers} worker{'s' * (workers > 1)}, millions a second",
             "Boost.Asio strands")
        rate("core", f"posts<Contexts>/{workers}", f"posts<StrandsTold>/{workers}", f"posts_{workers}_told",
             f"the same, {workers} worker", "Boost.Asio strands, told that there is one thread")
        rate("core", f"hops<Contexts>/{workers}", f"hops<Strands>/{workers}", f"hops_{workers}",
             f"hops from context to context, {workers} worker{'s' * (workers > 1)}, millions a second",
             "Boost.Asio strands")
        rate("core", f"hops<Contexts>/{workers}", f"hops<StrandsTold>/{workers}", f"hops_{workers}_told",
             f"the same, {workers} worker", "Boost.Asio strands, told that there is one thread")
    time("core", "blocks<PoolBlocks>/4096/threads:2", "blocks<HeapBlocks>/4096/threads:2", "blocks_2",
         "a block of 4 KiB taken and given back, two threads at once", "malloc", nano)
    time("core", "handover<PoolBlocks>", "handover<HeapBlocks>", "handover",
         "a block of 4 KiB taken by one thread, given back by another", "malloc", nano, "real_time")
    time("ft8decode", "wholePeriod/840", "registryDecoder/840", "ft8",
         "an FT8 slot of 40 signals decoded, one core", "jt9 -8 -d 1 as a program", milli, "real_time")
    return rows


def kernels(r):
    """(what, plain, AVX2) in seconds an item."""
    names = [
        ("mixing", "mixer, a sample"),
        ("splitMixing", "mixer with the first stage's split, a sample"),
        ("halfBand<HalfBandKind::Short>", "half-band stage of 11 taps, a sample in"),
        ("halfBand<HalfBandKind::Medium>", "half-band stage of 19 taps, a sample in"),
        ("halfBand<HalfBandKind::Long>", "half-band stage of 39 taps, a sample in"),
        ("resamplerSum", "resampler, a sum of 47 taps"),
        ("spectraProduct", "partitioned convolution, a bin"),
        ("windowing", "window of the spectrum, a sample"),
        ("powers", "powers of the spectrum, a bin"),
        ("logarithms", "logarithms of the spectrum, a bin"),
        ("samples<6>", "samples of a packet of protocol 2, one"),
        ("samples<8>", "samples of a frame with 1 receiver, one"),
        ("samples<26>", "samples of a frame with 4 receivers, one"),
        ("syncRow", "FT8, contrast of the sync tones, a frequency"),
        ("detectorFilter", "filter of a PSK detector, a sample"),
        ("layer", "noise reduction, a weight of a layer"),
        ("pitchSum", "noise reduction, a product of the pitch search"),
    ]
    return [(what, r.of("kernels", name + "/0", "per_item"), r.of("kernels", name + "/1", "per_item")) for name, what in names
            if r.has("kernels", name + "/0") and r.has("kernels", name + "/1")]


def share(x):
    return f"{100 * x:.3f} % of a core"


def micro(x):
    return f"{1e6 * x:.2f} µs"


def nano(x):
    return f"{1e9 * x:.1f} ns"


def milli(x):
    return f"{1e3 * x:.1f} ms"


def millions(x):
    return f"{x / 1e6:.2f} M/s"


def table(head, rows):
    return "\n".join(["| " + " | ".join(head) + " |", "|" + "---|" * len(head)] +
                     ["| " + " | ".join(row) + " |" for row in rows])


def stream_rows(r):
    rows = []
    for name, entries in r.runs.get("radios_stream", {}).items():
        if not name.startswith("stream"):
            continue
        e = entries[0]
        fields = dict(part.split(":") for part in name.split("/")[1:])
        rows.append([f"protocol {fields['protocol']}, {fields['receivers']} × {fields['kHz']} kHz",
                     f"{e['packets_per_second']:.0f}", f"{e['packets']:.0f}", f"{e['sequence_errors']:.0f}",
                     f"{100 * e['comms_of_core']:.1f} %", f"{100 * (e['comms_of_core'] + e['workers_of_core']):.1f} %",
                     f"{100 * e['all_of_core']:.1f} %"])
    return rows


def delay_rows(r):
    rows = []
    for name, entries in r.runs.get("radios_delay", {}).items():
        fields = dict(part.split(":") for part in name.split("/")[1:])
        rows.append([f"protocol {fields['protocol']}, {fields['receivers']} × {fields['kHz']} kHz"] +
                    [f"{choose(e[key] for e in entries):.2f}" for key, choose in
                     (("least_ms", min), ("median_ms", statistics.median), ("p99_ms", statistics.median), ("most_ms", max))])
    return rows


def plots(r, rows, folder):
    import matplotlib
    matplotlib.use("svg")
    import matplotlib.pyplot as plt
    plt.rcParams.update({"svg.hashsalt": "ferrow", "font.size": 9, "axes.spines.top": False, "axes.spines.right": False})
    figure, axes = plt.subplots(figsize=(8, 0.42 * len(rows) + 0.8))
    names = [f"{row['what']}\nvs {row['peer']}" for row in rows]
    axes.barh(names, [row["times"] for row in rows], color="#2b7a78")
    axes.axvline(1, color="#888", linewidth=0.8)
    axes.set_xscale("log")
    axes.invert_yaxis()
    axes.set_xlabel("times as fast as the peer")
    axes.tick_params(axis="y", labelsize=6)
    for y, row in enumerate(rows):
        axes.text(row["times"], y, f" {row['times']:.2f}", va="center", fontsize=7)
    figure.tight_layout()
    figure.savefig(folder / "performance-peers.svg", metadata={"Date": None})
    plt.close(figure)
    trials = sorted((t for t in r.runs.get("stress_search", {}).get("trials", []) if t["in_time"]),
                    key=lambda t: t["transceivers"])
    figure, axes = plt.subplots(figsize=(6, 3))
    axes.plot([t["transceivers"] for t in trials], [100 * t["cores"] for t in trials], "o-", color="#2b7a78")
    axes.set_xlabel("SSB transceivers on one receiver of 384 kHz")
    axes.set_ylabel("% of a core, all of it")
    figure.tight_layout()
    figure.savefig(folder / "performance-transceivers.svg", metadata={"Date": None})
    plt.close(figure)


def document(r, rows):
    stress, eight = r.runs.get("stress_256", {}), r.runs.get("stress_8", {})
    search = r.runs.get("stress_search", {})
    cpus = r.context.get("num_cpus"), r.context.get("mhz_per_cpu")
    text = [TOP.format(cpus=cpus[0], mhz=cpus[1], date=r.context.get("date", "")[:10])]
    text.append(table(["what", "Ferrowcore", "peer", "peer's figure", "times as fast"],
                      [[row["what"], row["show"](row["ours"]), row["peer"], row["show"](row["theirs"]),
                        f"**{row['times']:.2f}**"] for row in rows]))
    text.append("\n![times as fast as the peers](images/performance-peers.svg)\n")
    text.append("## One receiver\n\nOn one thread, from the datagram's bytes to the audio ring; 48 kHz of signal takes no "
                "decimator. \"foreground\": a spectrum frame for every 2048 samples; \"background\": two a second.\n")
    receivers = []
    for name in r.runs.get("trx_receive", {}):
        if not name.startswith("receiver"):
            continue
        mode = name.split("<")[1].split("Mod")[0].upper()
        khz, foreground = (part.split(":")[1] for part in name.split("/")[1:3])
        receivers.append([mode, khz, "foreground" if foreground == "1" else "background",
                          f"{100 * r.of('trx_receive', name, 'of_signal_time'):.3f} %",
                          f"{1e9 * r.of('trx_receive', name) / (512 * int(khz) / 48):.2f} ns"])
    text.append(table(["mode", "kHz", "spectrum", "of a core", "a sample"], receivers))
    text.append("\n## Many transceivers\n")
    if stress:
        trial = stress["trials"][0]
        text.append(f"256 SSB transceivers on one stream of 384 kHz, as a whole process with a real socket, beside the simulated "
                    f"radio on the same {stress['cores']} cores, {trial['seconds']:.0f} s: {100 * trial['cores']:.0f} % of a core "
                    f"({100 * trial['cores'] / 256:.3f} % each, the events of all sound included), {trial['missed_blocks']} blocks "
                    f"missed, {trial['dropped_chunks']} chunks dropped, {trial['sequence_errors']} sequence errors, worst time "
                    f"between two blocks {trial['worst_block_ms']:.0f} ms (`ferrow stress --transceivers 256 --seconds 60`).\n")
    if search:
        text.append(f"The largest number in real time, to a tenth: **{search['largest']}** (`ferrow stress`).\n")
        text.append("![CPU by number of transceivers](images/performance-transceivers.svg)\n")
    if eight:
        text.append(f"Memory: {eight['trials'][0]['resident_mb']:.0f} MB resident with 8 receivers and foreground spectra "
                    "(`ferrow stress --transceivers 8 --spectrum`), the host's share included.\n")
    text.append("## Datagrams\n\nA real socket, packets from another process; \"comms thread\" is the thread that receives them, "
                "\"comms thread and workers\" that with decoding, dealing out and one SSB transceiver, \"all\" the whole receiving process.\n")
    text.append(table(["stream", "packets/s", "packets", "sequence errors", "comms thread", "comms thread and workers", "all"],
                      stream_rows(r)))
    text.append("\n## Delay\n\n")
    text.append("From the packet that completes a chunk to the host's callback with its block of sound, ms; the host looks every "
                "0.1 ms. Median and 99th percentile are medians of three runs, least and most those of all:\n")
    text.append(table(["stream", "least", "median", "p99", "most"], delay_rows(r)))
    for khz in (384, 48):
        latency = r.runs.get(f"latency_{khz}")
        if not latency:
            continue
        text.append(f"\nA marker on the air of the simulated radio at {khz} kHz, ms from its beginning "
                    f"(`ferrow latency --rate {khz}`):\n")
        text.append(table(["until", "least", "median", "p99", "most"],
                          [[name] + [f"{latency[key][f]:.1f}" for f in ("least_ms", "median_ms", "p99_ms", "most_ms")]
                           for name, key in (("its block of sound is in the ring", "block_in_ring"),
                                             ("its sample, as if it came alone", "sample_through_chain"),
                                             ("its line is in the spectrum", "spectrum"))]))
        text.append("\n" + table(["of that by structure", "least", "most"],
                                 [[s["stage"], f"{s['least_ms']:.1f}", f"{s['most_ms']:.1f}"] for s in latency["budget"]]))
    text.append("\nA task that is posted to sleeping workers starts after (µs):\n")
    text.append(table(["", "median", "p99"],
                      [[("serial contexts" if "Contexts" in name else "Boost.Asio strands") + how] +
                       [f"{statistics.median(e[key] for e in entries):.1f}" for key in ("median_us", "p99_us")]
                       for run, how in (("wake", ""), ("wake_realtime", ", real-time class"),
                                        ("wake_held", ", processors kept awake"),
                                        ("wake_realtime_held", ", real-time class, processors kept awake"))
                       for name, entries in r.runs.get(run, {}).items()
                       if "Contexts" in name or "realtime" not in run]))
    text.append("\nAt normal priority, as the peer, unless it says otherwise; a host's workers are in the real-time class. Processors are "
                "kept awake by `FERROW_CPU_LATENCY=0`: most of the rest is their waking.\n")
    text.append("\n## Kernels\n\nThe AVX2 form beside the plain one that is its oracle; the whole library is built for x86-64-v3, "
                "the plain forms too.\n")
    text.append(table(["kernel", "plain", "AVX2", "times as fast"],
                      [[what, f"{1e9 * plain:.3g} ns", f"{1e9 * fast:.3g} ns", f"{plain / fast:.1f}"] for what, plain, fast in kernels(r)]))
    return "\n".join(text) + "\n"


TOP = """# Performance

Made by `scripts/bench`, each comparison in one run with its peer; do not edit. {date}, {cpus} cores of {mhz} MHz, a virtual machine. Times are CPU
times, medians of several repetitions in mixed order. Ratios carry over to machines of the kind, times do not.
"""


def main():
    arguments = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    arguments.add_argument("folder", type=pathlib.Path)
    arguments.add_argument("--document", type=pathlib.Path, default=ROOT / "docs" / "performance.md")
    arguments.add_argument("--compare", action="store_true")
    arguments.add_argument("--baseline", action="store_true")
    given = arguments.parse_args()
    results = Results(given.folder)
    rows = comparisons(results)
    ratios = {row["key"]: round(row["times"], 3) for row in rows}
    for row in rows:
        print(f"{row['times']:8.2f} x  {row['what']} vs {row['peer']}: {row['show'](row['ours'])}, "
              f"{row['show'](row['theirs'])}")
    if given.compare:
        before = json.loads(BASELINE.read_text())
        worse = {key: (before[key], now) for key, now in ratios.items() if key in before and now * WORSE < before[key]}
        for key, (was, now) in worse.items():
            print(f"worse: {key}: {was} times as fast as the peer before, {now} now")
        sys.exit(1 if worse else 0)
    given.document.parent.mkdir(parents=True, exist_ok=True)
    given.document.write_text(document(results, rows))
    images = given.document.parent / "images"
    images.mkdir(exist_ok=True)
    plots(results, rows, images)
    if given.baseline:
        BASELINE.write_text(json.dumps(ratios, indent=2) + "\n")
    print(f"wrote {given.document}")


if __name__ == "__main__":
    main()
