#!/usr/bin/env python3
"""Lines and branches that were reached, folder by folder, from gcovr's JSON.

    coverage_summary.py FILE
"""

import collections
import json
import pathlib
import sys


def main():
    table = collections.defaultdict(lambda: [0, 0, 0, 0])
    for one in json.loads(pathlib.Path(sys.argv[1]).read_text())["files"]:
        folder = str(pathlib.PurePath(one["file"]).parent)
        for line in one["lines"]:
            if line.get("gcovr/noncode") or line.get("gcovr/excluded"):
                continue
            branches = line.get("branches", [])
            for row in (table[folder], table["all"]):
                row[0] += line["count"] > 0
                row[1] += 1
                row[2] += sum(branch["count"] > 0 for branch in branches)
                row[3] += len(branches)

    def share(reached, of):
        return f"{100 * reached / of:5.1f} %" if of else "      -"

    print(f"{'folder':<24}{'lines':>8}{'reached':>10}{'branches':>10}{'reached':>10}")
    for folder in sorted(table, key=lambda name: (name == "all", name)):
        lines, all_lines, branches, all_branches = table[folder]
        print(f"{folder:<24}{all_lines:>8}{share(lines, all_lines):>10}{all_branches:>10}{share(branches, all_branches):>10}")


if __name__ == "__main__":
    main()
