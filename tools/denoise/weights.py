"""The network's weights: quantisation to signed bytes, and trx/denoise/weights.cpp in both directions.

A layer is a dict of float arrays: input (inputs x columns), recurrent (state x columns, GRUs only), bias (columns). Columns of
a GRU are all neurons' reset gates, then update gates, then candidates. Needs numpy only.
"""
import os
import re

import numpy as np

SOURCE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../trx/denoise/weights.cpp")

# name, C++ name, inputs, columns, neurons of the state (0: dense)
LAYERS = [
    ("input_dense", "kInputDense", 42, 24, 0),
    ("vad_gru", "kVadGru", 24, 72, 24),
    ("noise_gru", "kNoiseGru", 90, 144, 48),
    ("denoise_gru", "kDenoiseGru", 114, 288, 96),
    ("denoise_output", "kDenoiseOutput", 96, 22, 0),
    ("vad_output", "kVadOutput", 24, 1, 0),
]


def quantise(table):
    """Bytes and the step that a byte of 1 stands for."""
    largest = float(np.max(np.abs(table))) if table.size else 0.0
    step = np.float32(largest / 127 if largest > 0 else 1.0)
    return np.clip(np.rint(table / step), -127, 127).astype(np.int8), float(step)


def quantise_model(model):
    return {name: {part: quantise(table) for part, table in layer.items()} for name, layer in model.items()}


def _table(name, values):
    lines = [f"constexpr std::array<std::int8_t, {values.size}> {name}{{"]
    line = "   "
    for value in values.ravel():
        word = f" {value},"
        if len(line) + len(word) > 118:
            lines.append(line)
            line = "   "
        line += word
    lines.append(line + "};")
    return "\n".join(lines)


def write_source(path, quantised, provenance):
    """weights.cpp from the result of quantise_model; `provenance` is lines of text."""
    out = ["// The network's weights. Written by tools/denoise/export.py; do not edit.", "//"]
    out += [("// " + line).rstrip() for line in provenance]
    out += ['', '#include "trx/denoise/weights.hpp"', "", "#include <array>", "",
            "namespace ferrow::denoise {", "", "// clang-format off", "namespace {", ""]
    definitions = []
    for name, symbol, inputs, columns, state in LAYERS:
        layer = quantised[name]
        assert layer["input"][0].shape == (inputs, columns) and layer["bias"][0].shape == (columns,)
        parts = {}
        for part in ("input", "recurrent", "bias"):
            if part == "recurrent" and state == 0:
                parts[part] = ("{}", 0.0)
                continue
            table, step = layer[part]
            label = f"{symbol}{part.capitalize()}"
            out += [_table(label, table), ""]
            parts[part] = (label, step)
        definitions.append(f"const Layer {symbol}{{{parts['input'][0]}, {parts['recurrent'][0]}, {parts['bias'][0]}, "
                           + ", ".join(f"{np.float32(parts[p][1]):.9g}f" if parts[p][1] not in (0.0, 1.0) else
                                       f"{parts[p][1]:.1f}f" for p in ("input", "recurrent", "bias")) + "};")
    out += ["} // namespace", ""] + definitions + ["// clang-format on", "", "} // namespace ferrow::denoise", ""]
    with open(path, "w") as file:
        file.write("\n".join(out))


def read_source(path):
    """The dequantised layers of a weights.cpp."""
    with open(path) as file:
        text = file.read()
    tables = {name: np.array([int(v) for v in body.replace("\n", " ").split(",") if v.strip()], dtype=np.int8)
              for name, body in re.findall(r"int8_t, \d+> (\w+)\{([^}]*)\}", text)}
    model = {}
    for name, symbol, inputs, columns, state in LAYERS:
        steps = re.search(rf"const Layer {symbol}\{{[^;]*?, ([-\d.e]+)f, ([-\d.e]+)f, ([-\d.e]+)f\}};", text)
        steps = [np.float32(s) for s in steps.groups()]
        layer = {"input": tables[symbol + "Input"].reshape(inputs, columns) * steps[0],
                 "bias": tables[symbol + "Bias"] * steps[2]}
        if state:
            layer["recurrent"] = tables[symbol + "Recurrent"].reshape(state, columns) * steps[1]
        model[name] = {part: table.astype(np.float32) for part, table in layer.items()}
    return model


def read_steps(path):
    """How many steps of training weights.cpp says that it had."""
    with open(path) as file:
        return int(re.search(r"(\d+) steps of training", file.read())[1])
