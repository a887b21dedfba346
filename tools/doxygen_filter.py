#!/usr/bin/env python3
"""Shows a public header to Doxygen: every function with a full text of its own.

    tools/doxygen_filter.py HEADER

In the headers a property's comment stands once, before its functions, and page one says what holds for all. Here each
function says by itself what it does, on which thread a callback runs and when a value takes effect.
"""

import re
import sys
from pathlib import Path

import interface


def told(text):
    return text.replace("*/", "* /").replace("@", "\\@").replace("#", "\\#").replace("<", "\\<").replace("%", "\\%")


def about(whole, function):
    """The documentation of one function."""
    stem, _, rest = function.name.partition("_")
    if stem not in whole.classes:
        return told(function.comment)
    one = whole.classes[stem]
    if rest == "create":
        return told(one.comment) + "\n\nMakes an object; the host owns the handle."
    if rest == "release":
        return "Gives a handle back; null is accepted. Deleted is called by the next getUpdates after the last reference has gone."
    for member in one.members.values():
        for role, candidate in member.functions.items():
            if candidate is function:
                return told(member.comment) + "\n\n" + EXTRA[role, member.kind]
    raise interface.InterfaceError(function.name)


PUMP = "The callback runs on the thread that calls getUpdates."
EXTRA = {
    ("bind", "property"): "Binds the callback, null unbinds; the present value is replayed if the library has given one. " + PUMP,
    ("bind", "list"): "Binds the callback, null unbinds; the items in the list are replayed. " + PUMP,
    ("bind", "event"): "Binds the callback, null unbinds. If the text says nothing else, it runs on the thread that calls "
                       "getUpdates.",
    ("set", "property"): "Posts the value, which takes effect between two blocks of samples; it is not told back.",
    ("set", "list"): "Posts an operation on the list, which takes effect between two blocks of samples: ferrow_list_write, "
                     "ferrow_list_append or ferrow_list_clear.",
    ("reset", "list"): "Posts the clearing of the list, which takes effect between two blocks of samples.",
    ("call", "verb"): "Posts the call, which takes effect between two blocks of samples.",
}


def main():
    header = Path(sys.argv[1])
    text = header.read_text()
    out = [f"/** @file\n{told(interface.comment_text(interface.COMMENT.search(text)[1]))}\n*/"]
    if header.name == "ferrowcore.h":
        page = interface.comment_text(interface.COMMENT.search(text)[1])
        out.append(f"/** @mainpage Ferrowcore\n{told(page)}\n*/")
    else:
        whole = interface.read()
        for match in interface.DECLARATION.finditer(text):
            function = whole.functions[match[2]]
            out.append(f"/** {about(whole, function)} */\n{' '.join(match[0].replace('FERROW_API ', '').split())}")
        # Types and constants have comments of their own.
        for kind in ("typedef struct", "typedef void", "enum"):
            for place in [i for i in range(len(text)) if text.startswith("\n" + kind, i)]:
                end = text.index(";\n", text.index("}", place) if kind != "typedef void" else place)
                start = text.rindex("/*", 0, place)
                block = text[start : end + 1]
                block = re.sub(r"(\n\s*|^)/\*", r"\1/**", block)
                out.append(re.sub(r"([^\s][^\n]*?)/\* ", r"\1/**< ", block))
    print("\n\n".join(out))


if __name__ == "__main__":
    main()
