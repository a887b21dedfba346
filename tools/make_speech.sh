#!/usr/bin/env bash
# Makes the simulator's speech recording: our own sentence, spoken by espeak-ng, limited to the band of a voice
# transmitter, 12 kHz mono 16 bit. Needs espeak-ng and sox. Usage: tools/make_speech.sh [OUTPUT.wav]
set -euo pipefail
out=${1:-"$(dirname "$0")/../sim/assets/speech.wav"}
raw=$(mktemp --suffix=.wav)
trap 'rm -f "$raw"' EXIT

espeak-ng -v en-gb -s 160 -p 45 -w "$raw" \
    "C Q, C Q, this is a test call from the simulated radio. The antenna is a long wire, \
and the noise is low tonight. Over to you."

sox "$raw" -r 12000 -b 16 -c 1 "$out" \
    sinc -n 511 250-2900 compand 0.005,0.08 6:-40,-20,0,-6 -3 -90 0.02 sinc -n 511 250-2900 norm -3 pad 0.2 0.3
soxi "$out"
