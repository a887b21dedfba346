"""The exported interface as data, read from the public headers.

The Python binding, the table of calls of the tests and the documentation site are made from what `read` returns, so that
the headers stay the one place where the interface is written down.
"""

import re
from dataclasses import dataclass, field
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
HEADERS = ROOT / "include" / "ferrowcore"
ARRAYS = ("floatArray", "doubleArray", "complexArray")
LIST_CALLBACK = [("unsigned long long", "operation"), ("unsigned long long", "index"), ("void*", "item")]


@dataclass
class Function:
    name: str
    result: str
    parameters: list  # of (type, name); the type "callback" has its own parameters in `callback`
    comment: str
    header: str
    callback: list = None  # of (type, name), for a function that takes a callback


@dataclass
class Member:
    """A property, list, event or verb of a class."""

    name: str
    kind: str  # "property", "list", "event", "verb"
    type: str = ""  # of a property: a C type, or the class of a contained object; of a list: the class of its items
    comment: str = ""
    functions: dict = field(default_factory=dict)  # "bind", "set", "reset", "call": Function

    @property
    def is_object(self):
        return self.kind == "property" and self.type not in SCALARS


@dataclass
class Class:
    name: str
    base: str
    comment: str
    members: dict = field(default_factory=dict)


@dataclass
class Interface:
    functions: dict  # all, by name, in the order of the headers
    classes: dict  # by name
    free: list  # names of the functions outside of the classes


SCALARS = ("int", "long long", "float", "double", "bool", "const char*")

DECLARATION = re.compile(r"FERROW_API\s+([^;]+?)(\w+)\s*\(((?:[^()]|\([^()]*\))*?(?:\([^()]*\)\s*\([^()]*\))?[^()]*)\)\s*;")
COMMENT = re.compile(r"/\*(.*?)\*/", re.S)


class InterfaceError(Exception):
    pass


def comment_text(raw):
    """The words of a C comment, paragraphs kept."""
    lines = [re.sub(r"^\s*\*? ?", "", line).rstrip() for line in raw.strip("*").split("\n")]
    paragraphs = re.split(r"\n\s*\n", "\n".join(lines).strip())
    return "\n\n".join(" ".join(paragraph.split()) for paragraph in paragraphs)


def split_parameters(text):
    parts, depth, part = [], 0, ""
    for c in text:
        depth += (c == "(") - (c == ")")
        if c == "," and depth == 0:
            parts.append(part)
            part = ""
        else:
            part += c
    return [" ".join(p.split()) for p in parts + [part] if p.strip() not in ("", "void")]


def parameter(text):
    """("type", "name", callback parameters or None) of one parameter."""
    pointer = re.fullmatch(r"void \(\*(\w+)\)\((.*)\)", text)
    if pointer:
        return "callback", pointer[1], [parameter(p)[:2] for p in split_parameters(pointer[2])]
    match = re.fullmatch(r"(.*?[\w*])\s*\b(\w+)", text)
    if not match:
        raise InterfaceError(f"cannot read the parameter '{text}'")
    kind = match[1].replace(" *", "*").strip()
    if kind == "ferrow_list_callback":
        return "callback", match[2], LIST_CALLBACK
    return kind, match[2], None


def read_header(path):
    """The functions of a header in order, and the comments that stand by themselves before a _create."""
    text = path.read_text()
    functions, class_comments, comment, at = [], {}, "", 0
    token = re.compile(rf"{COMMENT.pattern}|{DECLARATION.pattern}|\n[ \t]*\n|\benum \{{|\btypedef\b", re.S)
    free_standing = ""
    for match in token.finditer(text):
        if match[1] is not None:
            comment = comment_text(match[1])
        elif match[3] is not None:
            parameters, callback = [], None
            for one in split_parameters(match[4]):
                kind, name, own = parameter(one)
                parameters.append((kind, name))
                callback = own if own is not None else callback
            result = match[2].replace(" *", "*").strip()
            name = match[3]
            if name.endswith("_create") and not comment:
                class_comments[name[: -len("_create")]] = free_standing
            functions.append(Function(name, result, parameters, comment, path.name, callback))
        elif match[0].isspace():
            if comment:
                free_standing = comment
            comment = ""
        else:
            comment = ""
    return functions, class_comments


def base_of(name):
    """Modes are modDemods, radios Radios, controllers Controllers, all else is an asyncObject."""
    for suffix, base in (("ModDemod", "modDemod"), ("Radio", "Radio"), ("Controller", "Controller")):
        if name.endswith(suffix) and name != base:
            return base
    return "" if name == "asyncObject" else "asyncObject"


def handle_class(name, classes):
    """The class that a parameter of type void* is named for, such as `vtrx` or `floatArray_tones`."""
    stem = name.split("_")[0]
    return stem if stem in ARRAYS or stem in classes else None


def describe(member, functions, classes):
    """Fills in the kind and type of a member from its functions."""
    one = member.functions
    member.comment = next(f.comment for f in one.values())
    if "call" in one:
        member.kind = "verb"
    elif "reset" in one:
        member.kind = "list"
        match = re.search(r"list of (?:the \d+ )?(\w+)", member.comment)
        if not match or match[1] not in classes:
            raise InterfaceError(f"{one['bind'].name}: the comment does not say 'list of' a class")
        member.type = match[1]
    elif "set" in one:
        member.kind = "property"
        kind, name = one["bind"].callback[0]
        member.type = kind if kind != "void*" else handle_class(name, classes)
        if member.type is None:
            raise InterfaceError(f"{one['bind'].name}: '{name}' is no class")
    else:
        member.kind = "event"
    for function in one.values():
        for kind, name in (function.callback or []) + function.parameters[1:]:
            if kind == "void*" and name != "item" and handle_class(name, classes) is None:
                raise InterfaceError(f"{function.name}: '{name}' is no class")


def read(headers=HEADERS):
    """The whole interface. Raises InterfaceError for what does not follow its patterns."""
    functions, comments = {}, {}
    for path in sorted(headers.glob("*.h")):
        if path.name in ("export.h", "ferrowcore.h"):
            continue
        found, class_comments = read_header(path)
        functions.update((f.name, f) for f in found)
        comments.update(class_comments)
    classes = {}
    for name in functions:
        if name.endswith("_release"):
            stem = name[: -len("_release")]
            classes[stem] = Class(stem, base_of(stem), comments.get(stem, ""))
    free = []
    for name, function in functions.items():
        stem, _, rest = name.partition("_")
        if stem not in classes:
            free.append(name)
            continue
        if rest in ("create", "release"):
            continue
        role, member = "call", rest
        match = re.fullmatch(r"(bind|set|reset)(\w+)", rest)
        if match and f"{stem}_bind{match[2]}" in functions:
            role, member = match[1], match[2]
        classes[stem].members.setdefault(member, Member(member, ""))
        classes[stem].members[member].functions[role] = function
    for one in classes.values():
        for member in one.members.values():
            describe(member, functions, classes)
    return Interface(functions, classes, free)


def default_of(member):
    """The default that a property's comment names, as a Python value; None where it names none."""
    match = re.search(r"[Dd]efault:? (true|false|empty|-?\d+(?:\.\d+)?)", member.comment)
    if not match or member.kind != "property":
        return None
    word = match[1]
    if member.type == "bool":
        return {"true": True, "false": False}.get(word)
    if member.type == "const char*":
        return "" if word == "empty" else None
    return None if word in ("true", "false", "empty") else float(word) if member.type in ("float", "double") else int(word)


def label_of(interface, name):
    """The label of the task that a function posts, or None."""
    stem, _, rest = name.partition("_")
    if stem not in interface.classes:
        return None
    for member in interface.classes[stem].members.values():
        for role, function in member.functions.items():
            if function.name == name:
                return {"set": f"{stem}.{member.name}.set", "reset": f"{stem}.{member.name}.reset",
                        "call": f"{stem}.{member.name}()", "bind": None}[role]
    return None


def ordered(interface):
    """The classes, each after its base."""
    done = []

    def visit(one):
        if one in done:
            return
        if one.base:
            visit(interface.classes[one.base])
        done.append(one)

    for name in sorted(interface.classes, key=str.lower):
        visit(interface.classes[name])
    return done


if __name__ == "__main__":
    whole = read()
    for one in ordered(whole):
        print(one.name, f"({one.base})")
        for member in one.members.values():
            print("   ", member.kind, member.type, member.name)
    print(*whole.free)
    print(len(whole.functions))
