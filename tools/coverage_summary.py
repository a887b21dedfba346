#!/usr/bin/env python3
"""Lines and branches that were reached, from gcovr's JSON: of the library folder by folder, and of each parser of outside bytes.

    coverage_summary.py FILE [--missing PREFIX]

--missing lists the lines of the files that begin so which were not reached.
"""

import argparse
import collections
import json
import pathlib

LIBRARY = ("core/", "trx/", "modes/", "radios/")
# By fuzz target: what reads its bytes.
PARSERS = {
    "protocol1": ["radios/hpsdr/hpsdr_receive.cpp", "radios/hpsdr/receive_frame.", "radios/hpsdr/telemetry.",
                  "radios/hpsdr/wideband.", "radios/hpsdr/wire."],
    "protocol2": ["radios/hpsdr_np/hpsdr_np_radio.cpp"],
    "discovery": ["host/discovery.cpp"],
    "wsproxy": ["radios/wsproxy/ws_proxy_radio.cpp", "radios/wsproxy/proxy_messages."],
    "multi_psk": ["modes/multi_psk/packet_reader.", "modes/multi_psk/multi_psk_packets."],
    "wav": ["modes/ft8/wav_file."],
    "scene": ["sim/scene/scene.", "sim/scene/json_fields."],
    "rigctl": ["host/neighbours/line_buffer.", "host/neighbours/rig_dialogue.", "host/neighbours/rig_modes."],
    "wsjtx": ["host/neighbours/wsjtx_messages."],
    "adif": ["host/neighbours/adif_record."],
    "http": ["host/serve/request_head.", "host/serve/access."],
    "serve_text": ["host/serve/frames.", "host/serve/orders."],
}


def lines_of(one):
    return [line for line in one["lines"] if not (line.get("gcovr/noncode") or line.get("gcovr/excluded"))]


def add(row, one):
    for line in lines_of(one):
        branches = line.get("branches", [])
        row[0] += line["count"] > 0
        row[1] += 1
        row[2] += sum(branch["count"] > 0 for branch in branches)
        row[3] += len(branches)


def show(title, table):
    def share(reached, of):
        return f"{100 * reached / of:5.1f} %" if of else "      -"

    print(f"{title:<24}{'lines':>8}{'reached':>10}{'branches':>10}{'reached':>10}")
    for name, (lines, all_lines, branches, all_branches) in table.items():
        print(f"{name:<24}{all_lines:>8}{share(lines, all_lines):>10}{all_branches:>10}{share(branches, all_branches):>10}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("file", type=pathlib.Path)
    parser.add_argument("--missing", metavar="PREFIX")
    options = parser.parse_args()
    files = sorted(json.loads(options.file.read_text())["files"], key=lambda one: one["file"])
    if options.missing is not None:
        for one in files:
            if one["file"].startswith(options.missing):
                for line in lines_of(one):
                    if line["count"] == 0:
                        print(f"{one['file']}:{line['line_number']}")
        return
    folders, parsers = collections.defaultdict(lambda: [0, 0, 0, 0]), {name: [0, 0, 0, 0] for name in PARSERS}
    for one in files:
        name = one["file"]
        if name.startswith(LIBRARY):
            add(folders[str(pathlib.PurePath(name).parent)], one)
        for parser_name, places in PARSERS.items():
            if name.startswith(tuple(places)):
                add(parsers[parser_name], one)
    folders["library"] = [sum(column) for column in zip(*folders.values())] or [0, 0, 0, 0]
    show("folder", folders)
    print()
    show("parser", parsers)


if __name__ == "__main__":
    main()
