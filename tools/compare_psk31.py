#!/usr/bin/env python3
"""Plays the recordings of psk_recordings to psk31lx and prints both programs' character error rates.

Usage: tools/compare_psk31.py FOLDER     (needs Debian's psk31lx, pulseaudio, pulseaudio-utils and tmux)

Runs in real time without a screen or sound card: a PulseAudio of its own with a null sink, psk31lx in a tmux of its own
with its automatic frequency control on, tuned to 1000 Hz. Characters read before and behind the text do not count, for
neither program.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

COLUMNS, ROWS = 120, 50
WINDOW = 80  # columns of the receive window
SETTINGS = "/usr/share/psk31lx/psk31lx.ini"  # its own defaults: 1000 Hz, frequency control on


def errors(sent, read):
    """Edit distance of `sent` to the best part of `read`, over the length of `sent`."""
    row = [0] * (len(read) + 1)
    for i, s in enumerate(sent, 1):
        before, row = row, [i]
        for j, r in enumerate(read, 1):
            row.append(min(before[j - 1] + (s != r), before[j] + 1, row[j - 1] + 1))
    return min(row) / len(sent)


def received(screen):
    """The receive window of a screen, its lines joined."""
    lines = [line.ljust(WINDOW)[:WINDOW] for line in screen.splitlines()]
    titles = [line.strip() for line in lines]
    if "Receive" not in titles:
        sys.exit(f"psk31lx shows no receive window:\n{screen}")
    first, last = titles.index("Receive"), titles.index("Status")
    return re.sub(r"\s{2,}", " ", "".join(lines[first + 1 : last])).strip()


def listen(wav, environment, socket):
    tmux = ["tmux", "-L", socket, "-f", "/dev/null"]
    start = tmux + ["new-session", "-d", "-x", str(COLUMNS), "-y", str(ROWS), "env TERM=screen psk31lx 2>/dev/null"]
    subprocess.run(start, env=environment, check=True)
    try:
        time.sleep(1.5)
        subprocess.run(["paplay", str(wav)], env=environment, check=True)
        time.sleep(1)
        return received(subprocess.run(tmux + ["capture-pane", "-p"], env=environment, capture_output=True, text=True).stdout)
    finally:
        subprocess.run(tmux + ["kill-server"], env=environment, stderr=subprocess.DEVNULL)


def main():
    folder = pathlib.Path(sys.argv[1])
    rates = {}
    with tempfile.TemporaryDirectory() as home:
        shutil.copy(SETTINGS, f"{home}/.psk31lx.ini")
        address = f"{home}/native"
        environment = dict(os.environ, HOME=home, XDG_RUNTIME_DIR=home, PULSE_SERVER=f"unix:{address}")
        server = subprocess.Popen(
            ["pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1",
             "-L", "module-null-sink sink_name=psk rate=8000 channels=1",
             "-L", f"module-native-protocol-unix auth-anonymous=1 socket={address}"],
            env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)  # fmt: skip
        try:
            while not pathlib.Path(address).exists():
                time.sleep(0.1)
            subprocess.run(["pactl", "set-default-source", "psk.monitor"], env=environment, check=True)
            for wav in sorted(folder.glob("psk31_*_*.wav")):
                snr = int(wav.stem.split("_")[1])
                sent = wav.with_suffix(".txt").read_text()
                ours, opened = (wav.with_suffix(end).read_text(errors="replace") for end in (".read", ".open"))
                theirs = listen(wav, environment, f"compare{os.getpid()}")
                rates.setdefault(snr, []).append([errors(sent, read) for read in (ours, opened, theirs)])
                print(wav.stem, *(f"{100 * rate:.1f}" for rate in rates[snr][-1]), theirs, file=sys.stderr, flush=True)
        finally:
            server.terminate()
            server.wait()
    print("  dB  detector squelch-open  psk31lx   (characters wrong, percent)")
    for snr in sorted(rates):
        columns = zip(*rates[snr])
        print(f"{snr:4d}", *(f"{100 * sum(column) / len(column):9.1f}" for column in columns))


if __name__ == "__main__":
    main()
