"""Small faults for C++ sources: where they can be put, and what each line becomes.

Comments, strings, preprocessor lines, log calls and assertions of constants are left alone.
"""

import random
import re

# What the compiler or the log sees, and no test could.
SKIPPED = re.compile(r"^\s*(#|template\b|using\b|static_assert|friend\b|namespace\b)"
                     r"|\blog(Error|Warn|Info|Trace|At|Record)\s*\(|\bwriteDump\s*\(|__builtin_prefetch|\balignas\b")
NUMBER = re.compile(r"(?<![\w.])(\d+\.\d*(?:[eE][-+]?\d+)?f?|\d+(?:[eE][-+]?\d+)f?|0x[0-9A-Fa-f]+|\d+)(?![\w.])")
PAIR = re.compile(r"(-?[\w.]+), (-?[\w.]+)(?=,)")


def masked(text):
    """`text` with comments, strings and log calls blanked; as long as it was."""
    out = list(text)

    def blank(start, end):
        for i in range(start, end):
            if out[i] != "\n":
                out[i] = " "

    for match in re.finditer(r'//[^\n]*|/\*.*?\*/|R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'', text,
                             re.DOTALL):
        # The mark between the digits of a number is no character.
        if match.group().startswith("'") and text[match.start() - 1].isdigit():
            continue
        blank(match.start(), match.end())
    bare = "".join(out)
    for match in re.finditer(r"\b(?:log(?:Error|Warn|Info|Trace|At|Record)|writeDump)\s*\(", bare):
        depth, end = 0, match.end() - 1
        while end < len(bare):
            depth += {"(": 1, ")": -1}.get(bare[end], 0)
            end += 1
            if depth == 0:
                break
        blank(match.start(), end)
    return "".join(out)


def other_number(word, rng):
    if word.startswith("0x"):
        return hex(int(word, 16) ^ (1 << rng.randrange(max(int(word, 16).bit_length(), 1))))
    if re.fullmatch(r"\d+", word):
        value = int(word)
        return str(value + 1 if value == 0 or rng.random() < 0.5 else value - 1)
    tail = "f" if word.endswith("f") else ""
    value = float(word.rstrip("f"))
    changed = 1.0 if value == 0 else value * rng.choice([0.9, 1.1])
    shown = repr(changed)
    return (shown if "." in shown or "e" in shown else shown + ".0") + tail


# Kind, what is looked for in the bare line, and what stands there then.
SWAPS = [
    ("bound", r" < ", " <= "), ("bound", r" <= ", " < "), ("bound", r" > ", " >= "), ("bound", r" >= ", " > "),
    ("comparison", r" == ", " != "), ("comparison", r" != ", " == "),
    ("logic", r" && ", " || "), ("logic", r" \|\| ", " && "),
    ("sign", r" \+ ", " - "), ("sign", r" - ", " + "), ("sign", r" \+= ", " -= "), ("sign", r" -= ", " += "),
    ("sign", r"(?<=[(=,?:] )-(?=[\w(])", ""), ("sign", r"(?<=\()-(?=[\w(])", ""), ("sign", r"(?<=return )-(?=[\w(])", ""),
    ("factor", r" \* ", " / "), ("factor", r" / ", " * "),
    ("truth", r"\btrue\b", "false"), ("truth", r"\bfalse\b", "true"),
    ("extreme", r"\bstd::min\b", "std::max"), ("extreme", r"\bstd::max\b", "std::min"),
]


def faults(path, text, rng):
    """All places of one file: dicts of kind, file, line (from 1), before and after."""
    found = []
    bare = masked(text).split("\n")
    for number, (line, code) in enumerate(zip(text.split("\n"), bare), 1):
        if not code.strip() or SKIPPED.search(code):
            continue

        def add(kind, start, end, new):
            after = line[:start] + new + line[end:]
            if after != line:
                found.append({"kind": kind, "file": path, "line": number, "column": start + 1, "before": line.strip(),
                              "after": after.strip(), "whole": after})

        for kind, pattern, new in SWAPS:
            for match in re.finditer(pattern, code):
                add(kind, match.start(), match.end(), new)
        for match in NUMBER.finditer(code):
            add("number", match.start(), match.end(), other_number(match.group(), rng))
        if len(NUMBER.findall(code)) >= 4:
            for match in PAIR.finditer(code):
                a, b = match.group(1), match.group(2)
                if a != b and NUMBER.search(a) and NUMBER.search(b):
                    add("neighbours", match.start(), match.end(), f"{b}, {a}")
    return found


def ordered(sources, seed):
    """Every fault of all sources ({path: text}), in the order of the seed: the kinds in turn, and within a kind the files
    in turn, so that a long table does not crowd out the rest."""
    rng = random.Random(seed)
    kinds = {}
    for path in sorted(sources):
        for fault in faults(path, sources[path], rng):
            kinds.setdefault(fault["kind"], {}).setdefault(path, []).append(fault)
    queues = []
    for kind in sorted(kinds):
        files = list(kinds[kind].values())
        for one in files:
            rng.shuffle(one)
        rng.shuffle(files)
        depth = max(len(one) for one in files)
        queues.append([one[i] for i in range(depth) for one in files if i < len(one)])
    rng.shuffle(queues)
    depth = max(len(one) for one in queues)
    return [one[i] for i in range(depth) for one in queues if i < len(one)]
