"""Files that are made from others: written, or compared with what is there."""

import argparse
import difflib
import sys


def main(description, outputs):
    """`outputs` maps paths to contents. Writes them; with --check compares, and ends with 1 if one differs."""
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--check", action="store_true", help="compare with the files that are there, write nothing")
    check = parser.parse_args().check
    stale = False
    for path, text in outputs.items():
        present = path.read_text() if path.exists() else ""
        if present == text:
            continue
        if not check:
            path.write_text(text)
            continue
        stale = True
        diff = difflib.unified_diff(present.splitlines(), text.splitlines(), str(path), "made anew", lineterm="", n=1)
        print(f"{path} is not what {sys.argv[0]} makes:", *list(diff)[:40], sep="\n")
    sys.exit(1 if stale else 0)
