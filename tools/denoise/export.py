"""Writes trx/denoise/weights.cpp from a checkpoint: export.py CHECKPOINT [PATH]"""
import os
import sys

import torch

import model
import weights


def main():
    saved = torch.load(sys.argv[1], map_location="cpu")
    network = model.Network()
    network.load_state_dict(saved["network"])
    here = os.path.dirname(os.path.abspath(__file__))
    path = sys.argv[2] if len(sys.argv) > 2 else os.path.join(here, "../../trx/denoise/weights.cpp")
    provenance = [
        "Trained from nothing with tools/denoise on speech of Debian packages and on noise made by formula; no other",
        "model had a part in it. docs/noise-reduction.md lists the speech, its licences and the results. The tables",
        f"are under the licence of the project, GPL-3.0-or-later. {saved['steps']} steps of training.",
    ]
    weights.write_source(path, weights.quantise_model(network.layers()), provenance)


if __name__ == "__main__":
    main()
