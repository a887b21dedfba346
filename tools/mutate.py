#!/usr/bin/env python3
"""Puts small faults into the library one at a time, and looks whether the tests find them.

    mutate.py [--count N] [--seed S] [--only PREFIX ...] [--near | --early] [--list] [--dir FOLDER] [--timeout S] [--jobs N]

N faults (default 50) of core/, trx/, modes/ and radios/, chosen by the seed, are tried in a copy of the tree. The
tests of the mirrored folder run first, then the others, the ones with simulated radios last, until one fails. One that does
not compile, or makes the same code, is replaced by the next. What is done is kept: a second call goes on, also with a larger
N. With --early the tests with simulated radios and the slow ones are left for a later call without it, which tries again what has
survived. FOLDER (build/mutate) then holds report.md and report.json.
"""

import argparse
import hashlib
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import time

import mutate_sources

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDERS = ("core/", "trx/", "modes/", "radios/")
LATE = ("sim", "slow")  # stages that --early leaves out
EQUIVALENTS = ROOT / "tools" / "mutate_equivalents.txt"


class Tree:
    """The private copy, its build and its tests."""

    def __init__(self, folder, jobs):
        self.root = folder / "tree"
        self.build = self.root / "build" / "release"
        self.jobs = jobs
        self.log = folder / "last.log"
        self.environment = dict(os.environ, CCACHE_BASEDIR=str(self.root), CCACHE_NOHASHDIR="1")

    def copy(self):
        """Brings the copy to the state of the tree; files that are the same keep their time."""
        listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=ROOT,
                                capture_output=True, check=True).stdout.decode().split("\0")
        wanted = {name for name in listed if name and (ROOT / name).is_file()}
        for name in wanted:
            source, target = ROOT / name, self.root / name
            if not target.exists() or target.read_bytes() != source.read_bytes():
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(source, target)
        if not (self.build / "build.ninja").exists():
            self.run(["cmake", "--preset", "release", "-DFERROW_BENCH=OFF"], 600)

    def run(self, command, limit):
        """True, False, or None when the time is up; with all that it started."""
        with open(self.log, "ab") as log:
            log.write(f"$ {' '.join(command)}\n".encode())
            log.flush()
            child = subprocess.Popen(command, cwd=self.root, stdout=log, stderr=subprocess.STDOUT, env=self.environment,
                                     start_new_session=True)
            try:
                return child.wait(limit) == 0
            except subprocess.TimeoutExpired:
                return None
            finally:
                # In order first: ninja and ctest then end what they have started.
                for number in (signal.SIGTERM, signal.SIGKILL):
                    try:
                        os.killpg(child.pid, number)
                        child.wait(10)
                    except (ProcessLookupError, subprocess.TimeoutExpired):
                        pass

    def make(self, targets, limit=3600):
        return self.run(["ninja", "-C", str(self.build), f"-j{self.jobs}", *targets], limit)

    def code(self):
        """Of the library, without what debuggers read."""
        library = self.build / "libferrowcore_avx2.so"
        bare = self.build / "bare.so"
        subprocess.run(["strip", "-o", bare, library], check=True)
        # The build's own number depends on the debug information too.
        subprocess.run(["objcopy", "--remove-section=.note.gnu.build-id", bare], check=True)
        return hashlib.sha256(bare.read_bytes()).hexdigest()

    def test(self, limit, chosen):
        self.log.write_bytes(b"")
        command = ["ctest", "--test-dir", str(self.build), "--stop-on-failure", "--no-tests=ignore",
                   "--output-on-failure", *chosen]
        return self.run(command, limit)

    def failed(self):
        names = re.findall(r"^\s*\d+ - (\S+) \(", self.log.read_text(errors="replace"), re.MULTILINE)
        return names[0] if names else ""


def near_tests(path):
    """(target, prefix of its cases) of the test programs in the mirrored folder, or in the nearest above."""
    folder = ROOT / "tests" / pathlib.PurePath(path).parent
    while folder != ROOT / "tests":
        programs = []
        for lists in sorted(folder.rglob("CMakeLists.txt")):
            programs += re.findall(r"^\s*ferrow_test\((\w+)", lists.read_text(), re.MULTILINE)
        if programs:
            return programs
        folder = folder.parent
    return []


def equivalents():
    table = {}
    for line in EQUIVALENTS.read_text().splitlines():
        if line.strip() and not line.startswith("#"):
            path, before, after, reason = (field.strip() for field in line.split(" | "))
            table[path, before, after] = reason
    return table


class Trial:
    def __init__(self, tree, options, baseline):
        self.tree, self.options, self.baseline = tree, options, baseline

    def stages(self, path):
        """(name, targets to build, arguments of ctest), in turn."""
        for stage in self.all_stages(path):
            if not (self.options.early and stage[0] in LATE):
                yield stage

    def all_stages(self, path):
        near = near_tests(path)
        if near:
            yield "near", [f"test_{name}" for name in near], ["-R", f"^({'|'.join(near)})\\.", "-LE", "sim"]
        if self.options.near:
            return
        rest = ["-E", f"^({'|'.join(near)})\\."] if near else []
        yield "unit", ["all"], ["-L", "unit", "-LE", "sim|slow", f"-j{self.options.jobs}", *rest]
        yield "api", ["all"], ["-LE", "sim|unit|slow", f"-j{self.options.jobs}", *rest]
        # Receptions in real time may fail on a busy machine: only what fails twice has found the fault.
        yield "sim", ["all"], ["-L", "sim", "--repeat", "until-pass:2"]
        yield "slow", ["all"], ["-L", "slow", "-LE", "sim", f"-j{self.options.jobs}"]

    def run(self, fault):
        """verdict, by what."""
        source = self.tree.root / fault["file"]
        text = (ROOT / fault["file"]).read_text()
        lines = text.split("\n")
        lines[fault["line"] - 1] = fault["whole"]
        source.write_text("\n".join(lines))
        self.tree.log.write_bytes(b"")
        try:
            if not self.tree.make(["ferrowcore"]):
                return "does not compile", ""
            if self.tree.code() == self.baseline:
                return "same code", ""
            return self.tests(fault)
        finally:
            source.write_text(text)

    def tests(self, fault):
        for stage, targets, chosen in self.stages(fault["file"]):
            if not self.tree.make(targets):
                return "does not compile", ""
            passed = self.tree.test(self.options.timeout, chosen)
            if passed is None:
                return "killed", f"{stage}: no end within {self.options.timeout} s"
            if not passed:
                return "killed", f"{stage}: {self.tree.failed()}"
        return "survived", ""


def check_baseline(tree, options, trial, paths):
    """Without a fault everything must pass."""
    if not tree.make(["ferrowcore"]):
        sys.exit(f"the library does not build: {tree.log}")
    for path in paths:
        for stage, targets, chosen in trial.stages(path):
            if not tree.make(targets) or not tree.test(options.timeout, chosen):
                sys.exit(f"without any fault the tests near {path} ({stage}: {tree.failed()}) do not pass: {tree.log}")


def report(folder, options, results):
    tried = [r for r in results if r["verdict"] in ("killed", "survived")]
    count = {v: sum(r["verdict"] == v for r in results)
             for v in ("killed", "survived", "equivalent", "same code", "does not compile")}
    extent = "tests of the mirrored folder only" if options.near else "whole suite"
    if any(r.get("early") for r in tried):
        extent += " but for those that have survived, which have not seen the tests with simulated radios and the slow ones yet"
    lines = ["# Faults put into the library", "",
             f"Seed {options.seed}, {len(tried)} faults, {extent}: {count['killed']} found, {count['survived']} not found. "
             f"Left out: {count['equivalent']} known to change nothing, {count['same code']} that made the same code, "
             f"{count['does not compile']} that did not compile.", ""]
    for verdict in ("survived", "killed"):
        rows = [r for r in tried if r["verdict"] == verdict]
        if not rows:
            continue
        lines += [f"## {verdict.capitalize()}", "", "| place | kind | line | with the fault | found by | s |", "|" + "---|" * 6]
        for r in rows:
            cells = (f"{r['file']}:{r['line']}", r["kind"], f"`{r['before']}`", f"`{r['after']}`", r["by"], f"{r['seconds']:.0f}")
            lines.append("| " + " | ".join(c.replace("|", "\\|") for c in cells) + " |")
        lines.append("")
    (folder / "report.md").write_text("\n".join(lines))
    (folder / "report.json").write_text(json.dumps({"seed": options.seed, "near": options.near, "count": count,
                                                    "faults": results}, indent=1) + "\n")
    return lines[2]


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--count", type=int, default=50)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--only", nargs="*", default=[], help="files whose path begins so")
    parser.add_argument("--near", action="store_true", help="only the tests of the mirrored folder")
    parser.add_argument("--early", action="store_true", help="leave simulated radios and slow tests for a later call")
    parser.add_argument("--list", action="store_true", help="say which faults they would be, and end")
    parser.add_argument("--dir", type=pathlib.Path, default=ROOT / "build" / "mutate")
    parser.add_argument("--timeout", type=int, default=1800, help="seconds for the tests of a stage")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 1)
    options = parser.parse_args()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # so that what runs is ended too

    tracked = subprocess.run(["git", "ls-files"], cwd=ROOT, capture_output=True, check=True, text=True).stdout.split()
    sources = {name: (ROOT / name).read_text() for name in tracked
               if name.startswith(FOLDERS) and name.endswith((".cpp", ".hpp"))
               and (not options.only or name.startswith(tuple(options.only)))}
    if not sources:
        sys.exit("no source there")
    order = mutate_sources.ordered(sources, options.seed)
    if options.list:
        for fault in order[:options.count]:
            print(f"{fault['file']}:{fault['line']}: {fault['kind']}\n  - {fault['before']}\n  + {fault['after']}")
        return
    options.dir.mkdir(parents=True, exist_ok=True)
    state_file = options.dir / "state.json"
    identity = {"seed": options.seed, "only": options.only, "near": options.near}
    state = json.loads(state_file.read_text()) if state_file.exists() else {}
    results = state.get("results", []) if state.get("identity") == identity else []
    tree = Tree(options.dir, options.jobs)
    tree.copy()
    trial = Trial(tree, options, None)
    known = equivalents()
    done = {(r["file"], r["before"], r["after"]) for r in results}
    checked = set()

    def prepare(fault):
        folder = str(pathlib.PurePath(fault["file"]).parent) if options.near else "all"
        if folder not in checked:
            print(f"passing without a fault: {folder}", flush=True)
            check_baseline(tree, options, trial, [fault["file"]])
            trial.baseline = tree.code()
            checked.add(folder)

    def keep(result, began):
        result["seconds"] = round(result.get("seconds", 0) + time.monotonic() - began, 1)
        state_file.write_text(json.dumps({"identity": identity, "results": results}, indent=1))
        print(f"{result['file']}:{result['line']} {result['kind']}: {result['verdict']} {result['by']}", flush=True)
        report(options.dir, options, results)

    by_key = {(f["file"], f["before"], f["after"]): f for f in order}
    for result in results:
        if options.early or not result.get("early"):
            continue
        fault = by_key.get((result["file"], result["before"], result["after"]))
        if not fault:
            continue  # the line is not there any more
        prepare(fault)
        began = time.monotonic()
        result["verdict"], result["by"] = trial.run(fault)
        del result["early"]
        keep(result, began)

    for fault in order:
        if sum(r["verdict"] in ("killed", "survived") for r in results) >= options.count:
            break
        key = fault["file"], fault["before"], fault["after"]
        if key in done:
            continue
        done.add(key)
        began = time.monotonic()
        if key in known:
            verdict, by = "equivalent", known[key]
        else:
            prepare(fault)
            began = time.monotonic()
            verdict, by = trial.run(fault)
        result = {k: fault[k] for k in ("kind", "file", "line", "before", "after")} | {"verdict": verdict, "by": by}
        if options.early and verdict == "survived":
            result["early"] = True
        results.append(result)
        keep(result, began)
    print(report(options.dir, options, results))
    print(options.dir / "report.md")


if __name__ == "__main__":
    main()
