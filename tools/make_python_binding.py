#!/usr/bin/env python3
"""Makes the classes of the Python package, and their stubs, from the public headers.

    tools/make_python_binding.py [--check]
"""

import textwrap

import generated
import interface

PACKAGE = interface.ROOT / "bindings/python/ferrowcore"
CODES = {"int": "i", "long long": "q", "float": "f", "double": "d", "bool": "?", "const char*": "s"}
TYPES = {"i": "int", "q": "int", "f": "float", "d": "float", "?": "bool", "s": "str", "t": "str"}
# Arguments that are seldom given.
OPTIONAL = ("hwReceiverHint", "ownerId", "flags", "number", "marker", "startMs")
# The two events that do not wait for the pump.
INLINE = ("proxyModDemod.rxChunk", "proxyModDemod.getTxChunk")
HEAD = "Made by tools/make_python_binding.py from the public headers."


def code_of(kind, name, member, whole):
    """The letter of a C type, or the name of a class or array."""
    if kind == "void*":
        return interface.handle_class(name, whole.classes)
    on_air = member.name in ("newChars", "sentChars", "QueueText")
    return "t" if kind == "const char*" and on_air else CODES[kind]


def codes_of(parameters, member, whole):
    return [code_of(kind, name, member, whole) for kind, name in parameters]


def argument_name(name):
    """floatArray_tones is `tones`; a plain class name is spelled with a small letter."""
    return name.split("_", 1)[1] if "_" in name else name[0].lower() + name[1:]


def documentation(comment, indent):
    text = comment.replace("\\", "\\\\")
    wrapped = [textwrap.fill(p, 118 - indent) for p in text.split("\n\n")]
    return textwrap.indent('"""' + "\n\n".join(wrapped) + '"""', " " * indent)


def string(comment):
    return '"' + comment.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n") + '"'


def descriptor(owner, member, whole):
    """The line of a property, event or list."""
    if member.kind == "property":
        code = CODES.get(member.type, member.type)
        default = '""' if interface.default_of(member) == "" else interface.default_of(member)
        made = f'Property("{owner}", "{member.name}", "{code}", {default},'
    elif member.kind == "list":
        made = f'List("{owner}", "{member.name}", "{member.type}",'
    else:
        kind = "InlineEvent" if f"{owner}.{member.name}" in INLINE else "Event"
        codes = codes_of(member.functions["bind"].callback, member, whole)
        made = f'{kind}("{owner}", "{member.name}", {codes!r},'.replace("'", '"')
    return f"    {member.name} = {made}\n        {string(member.comment)})"


def arguments(function):
    for kind, name in function.parameters[1:]:
        yield argument_name(name), "=0" if name in OPTIONAL else ""


def method(member, whole):
    function = member.functions["call"]
    codes = codes_of(function.parameters[1:], member, whole)
    signature = "".join(f", {name}{default}" for name, default in arguments(function))
    passed = "".join(f", {name}" for name, default in arguments(function))
    listed = repr(codes).replace("'", '"')
    return (f"    def {member.name}(self{signature}):\n{documentation(member.comment, 8)}\n"
            f'        self._call("{function.name}", {listed}{passed})')


def classes(whole):
    out = [f'"""The classes of the library. {HEAD}"""', "",
           "from ._objects import CLASSES, Event, InlineEvent, List, Object, Property, stop_at_exit", ""]
    names = []
    for one in interface.ordered(whole):
        base = one.base or "Object"
        decorator = "@stop_at_exit\n" if one.name == "Radio" else ""
        out += ["", f"{decorator}class {one.name}({base}):", documentation(one.comment or "An object.", 4),
                f'    _name = "{one.name}"']
        for member in one.members.values():
            out.append(method(member, whole) if member.kind == "verb" else descriptor(one.name, member, whole))
        out.append("")
        names.append(one.name)
    out += ["", "__all__ = [" + ", ".join(f'"{name}"' for name in names) + "]",
            "CLASSES.update((name, globals()[name]) for name in __all__)"]
    return "\n".join(out) + "\n"


def python_type(code):
    return TYPES.get(code, code)


def stub_member(one, member, whole):
    if member.kind == "property":
        kind = python_type(CODES.get(member.type, member.type))
        yield f"    @property\n    def {member.name}(self) -> Optional[{kind}]: ..."
        yield f"    @{member.name}.setter\n    def {member.name}(self, value: {kind}) -> None: ..."
    elif member.kind == "list":
        yield f"    @property\n    def {member.name}(self) -> ItemList[{member.type}]: ..."
    elif member.kind == "event":
        kinds = ", ".join(python_type(c) for c in codes_of(member.functions["bind"].callback, member, whole))
        yield f"    @property\n    def {member.name}(self) -> BoundEvent[Callable[[{kinds}], object]]: ..."
    else:
        function = member.functions["call"]
        given = []
        for (kind, name), (argument, default) in zip(function.parameters[1:], arguments(function)):
            code = code_of(kind, name, member, whole)
            wanted = python_type(code)
            if code in whole.classes:
                wanted = f"Optional[{wanted}]"
            elif code in interface.ARRAYS:
                wanted = f"Union[{wanted}, Sequence[{'complex' if code == 'complexArray' else 'float'}]]"
            given.append(f", {argument}: {wanted}{' = ...' if default else ''}")
        yield f"    def {member.name}(self{''.join(given)}) -> None: ..."


def stubs(whole):
    out = [f"# {HEAD}", "from typing import Callable, Optional, Sequence, Union", "",
           "from ._arrays import complexArray, doubleArray, floatArray",
           "from ._objects import BoundEvent, ItemList, Object", ""]
    for one in interface.ordered(whole):
        initial = [f"{m.name}: {python_type(CODES.get(m.type, m.type))} = ..." for m in properties(one, whole)]
        out.append(f"class {one.name}({one.base or 'Object'}):")
        if initial:
            out.append(f"    def __init__(self, *, {', '.join(initial)}) -> None: ...")
        else:
            out.append("    def __init__(self) -> None: ...")
        for member in one.members.values():
            out += stub_member(one, member, whole)
        out.append("")
    return "\n".join(out)


def properties(one, whole):
    while one is not None:
        yield from (m for m in one.members.values() if m.kind == "property")
        one = whole.classes.get(one.base)


if __name__ == "__main__":
    read = interface.read()
    generated.main(__doc__, {PACKAGE / "_classes.py": classes(read), PACKAGE / "_classes.pyi": stubs(read)})
