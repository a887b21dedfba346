#!/usr/bin/env python3
"""Makes tests/api/interface_calls.inc: one call of every exported function, with arguments by type.

    tools/make_interface_calls.py [--check]
"""

import generated
import interface

VALUES = {"int": "1", "long long": "14100000", "float": "0.5f", "double": "0.5", "bool": "true", "const char*": '"1"'}
FREE = {"mem_memcpy": "mem_memcpy(o.memory, \"0123456789abcde\", 16)",
        "mem_malloc": "o.memory = mem_malloc(16)",
        "mem_free": "mem_free(o.memory)",
        "fft_Fwd": "fft_Fwd(o.spectrumIn, o.spectrumOut)",
        "fft_Rev": "fft_Rev(o.spectrumIn, o.spectrumOut)",
        "fft_FwdR": "fft_FwdR(o.spectrumIn, o.spectrumOut)",
        "ft8decode": "o.records = ft8decode(o.recording, o.results, 0, FERROW_FT8)",
        "crc12": "o.crc = crc12(o.bytes, 2)",
        "crc12_check": "o.crcRight = crc12_check(o.bytes, 2)",
        "init": "init(o.log, 1)",
        "getUpdates": "getUpdates()",
        "getRenderUpdates": "getRenderUpdates()"}


def callback(function, classes):
    """A callback of the right type that gives back what it is given."""
    if function.callback == interface.LIST_CALLBACK:
        return "onItem"
    owned = [interface.handle_class(name, classes) for kind, name in function.callback if kind == "void*"]
    if not owned:
        return "ignore"
    kinds = {one if one in interface.ARRAYS else "object" for one in owned}
    kind = kinds.pop()
    return "take" + kind[0].upper() + kind[1:]


def arguments(function, member, classes):
    out = []
    for kind, name in function.parameters[1:]:
        if kind == "callback":
            out.append(callback(function, classes))
        elif name == "operation":
            out.append("ferrow_list_append")
        elif name == "item":
            out.append(f'o["{member.type}"]')
        elif kind == "void*":
            out.append(f'o["{interface.handle_class(name, classes)}"]')
        else:
            out.append(VALUES[kind])
    return "".join(", " + one for one in out)


def row(name, owner, phase, label, call):
    label = f'"{label}"' if label else "nullptr"
    return f'{{"{name}", "{owner}", Phase::{phase}, {label}, []([[maybe_unused]] Objects& o) {{ {call}; }}}},'


def rows(whole):
    phases = {"bind": "Bind", "set": "Set", "reset": "Reset", "call": "Verb"}
    for name, function in whole.functions.items():
        owner, _, rest = name.partition("_")
        if owner in interface.ARRAYS:
            phase = {"create": "Create", "delete": "Release"}.get(rest, "Verb")
            call = {"create": f'o["{owner}"] = {name}(16)', "delete": f'{name}(o["{owner}"])'}.get(rest, f'(void){name}(o["{owner}"])')
            yield row(name, owner, phase, None, call)
        elif name in whole.free:
            phase = {"mem_malloc": "Create", "mem_free": "Release", "init": "Start"}.get(name, "Verb")
            yield row(name, "", phase, None, FREE[name])
        elif rest == "create":
            yield row(name, owner, "Create", None, f'o["{owner}"] = {name}()')
        elif rest == "release":
            yield row(name, owner, "Release", None, f'{name}(o["{owner}"])')
        else:
            for member in whole.classes[owner].members.values():
                for role, one in member.functions.items():
                    if one is function:
                        call = f'{name}(o["{owner}"]{arguments(function, member, whole.classes)})'
                        yield row(name, owner, phases[role], interface.label_of(whole, name), call)


def text():
    whole = interface.read()
    head = "// Made by tools/make_interface_calls.py from the public headers. clang-format off\n"
    return head + "\n".join(rows(whole)) + "\n"


if __name__ == "__main__":
    generated.main(__doc__, {interface.ROOT / "tests/api/interface_calls.inc": text()})
