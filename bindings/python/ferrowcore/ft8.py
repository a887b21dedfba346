"""FT8 and FT4: reading recorded periods, and the text of their messages.

    calls = ft8.Calls()
    for one in ft8.decode("period.wav"):
        print(one.frequency, ft8.text(one.payload, calls))
"""

import ctypes
from dataclasses import dataclass

from . import _native

FT8, FT4 = 8, 4
_MOST = 50  # records of one period


class _Record(ctypes.Structure):
    _fields_ = [("frequency", ctypes.c_float), ("time", ctypes.c_float), ("snr", ctypes.c_float),
                ("payload", ctypes.c_uint8 * 10), ("unused", ctypes.c_uint8 * 10)]


@dataclass(frozen=True)
class Decode:
    """One frame, as ft8decode reports it."""

    frequency: float  # Hz, of the lowest tone
    time: float  # seconds from the start of the file, half a symbol early
    snr: float  # dB; ranks signals, and is not calibrated
    payload: bytes  # 77 bits, the first in the top bit of payload[0]


def decode(path, variant=FT8):
    """The frames of one recorded period, a WAV file of 12000 samples a second. Works on the calling thread and needs no
    init. Raises ValueError for a file that cannot be read."""
    records = (_Record * _MOST)()
    call = _native.function("ft8decode", ctypes.c_int32,
                            [ctypes.c_char_p, ctypes.POINTER(_Record), ctypes.c_int64, ctypes.c_int32])
    count = call(_native.SCALARS["s"].to_c(path), records, 0, variant)
    if count < 0:
        raise ValueError(f"{path} is no recording of a period")
    return [Decode(r.frequency, r.time, r.snr, bytes(r.payload)) for r in records[:count]]


def crc12(data):
    """The 12-bit CRC of bytes."""
    return _native.function("crc12", ctypes.c_int, [ctypes.c_char_p, ctypes.c_int])(bytes(data), len(data))


_LETTERS = " ABCDEFGHIJKLMNOPQRSTUVWXYZ"
_CALL = " 0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ/"
_FREE = " 0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ+-./?"
_TOKENS = 2063592  # values of 28 bits: CQ and its like, then hashes, then calls
_HASHES = 1 << 22
_GRIDS = 32400  # values of 15 bits: grids, then closings, then reports


class Calls:
    """Calls that were heard in full, to name those of which only a hash is sent."""

    def __init__(self):
        self._known = {}

    def add(self, call):
        if 3 <= len(call) <= 11 and all(c in _CALL[1:] for c in call):
            number = 0
            for c in call.ljust(11):
                number = number * 38 + _CALL.index(c)
            hash22 = (47055833459 * number & (1 << 64) - 1) >> 42
            for width in (22, 12, 10):
                self._known[width, hash22 >> (22 - width)] = call

    def show(self, width, value):
        return f"<{self._known.get((width, value), '...')}>"


class _Unknown(Exception):
    pass


class _Bits:
    def __init__(self, payload):
        self.value, self.left = int.from_bytes(payload, "big") >> 3, 77

    def take(self, width):
        self.left -= width
        return self.value >> self.left & (1 << width) - 1


def _digits(value, alphabets):
    """The digits of a number whose places have alphabets of their own, the last place first."""
    text = ""
    for alphabet in alphabets:
        value, place = divmod(value, len(alphabet))
        text = alphabet[place] + text
    if value:
        raise _Unknown
    return text


def _word(text):
    text = text.strip()
    if not text or " " in text:
        raise _Unknown
    return text


def _station(value, calls):
    """(text, kind) of 28 bits."""
    if value < 3:
        return ("DE", "QRZ", "CQ")[value], "token" if value < 2 else "cq"
    if value < 1003:
        return f"CQ {value - 3:03}", "cq"
    if value < 532444:
        return "CQ " + _word(_digits(value - 1003, [_LETTERS] * 4)), "cq"
    if value < _TOKENS:
        raise _Unknown
    if value < _TOKENS + _HASHES:
        return calls.show(22, value - _TOKENS), "hash"
    alphabets = [_LETTERS] * 3 + ["0123456789", _CALL[1:37], _CALL[:37]]
    call = _word(_digits(value - _TOKENS - _HASHES, alphabets))
    if len(call) < 3:
        raise _Unknown
    return call, "call"


def _closing(value, roger):
    if value < _GRIDS:
        high, low = divmod(value, 100)
        return (" R " if roger else " ") + f"{chr(65 + high // 18)}{chr(65 + high % 18)}{low:02}"
    if 1 <= value - _GRIDS <= 4:
        return ("", " RRR", " RR73", " 73")[value - _GRIDS - 1]
    report = value - _GRIDS - 35
    if value == _GRIDS or report > 70:
        raise _Unknown
    return (" R" if roger else " ") + f"{report - 101 if report > 50 else report:+03}"


def _standard(bits, suffix, calls):
    (to, to_kind), to_suffix = _station(bits.take(28), calls), bits.take(1)
    (sender, kind), sender_suffix = _station(bits.take(28), calls), bits.take(1)
    roger = bits.take(1)
    if kind in ("cq", "token"):
        raise _Unknown
    closing = _closing(bits.take(15), roger)
    to += suffix if to_suffix and to_kind == "call" else ""
    sender += suffix if sender_suffix and kind == "call" else ""
    if kind == "call":
        calls.add(sender)
    return f"{to} {sender}{closing}"


def _nonstandard(bits, calls):
    other = calls.show(12, bits.take(12))
    call = _word(_digits(bits.take(58), [_CALL] * 11))
    flip, word, cq = bits.take(1), bits.take(2), bits.take(1)
    calls.add(call)
    if cq:
        return "CQ " + call
    return (f"{call} {other}" if flip else f"{other} {call}") + ("", " RRR", " RR73", " 73")[word]


def text(payload, calls=None):
    """The text of a message of 77 bits, or None for kinds that are not read here (contests). `calls` learns the calls that
    it shows, and names hashed ones; without, these are <...>."""
    calls = calls if calls is not None else Calls()
    bits = _Bits(payload)
    kind, subkind = bits.value & 7, bits.value >> 3 & 7
    try:
        if kind in (1, 2):
            return _standard(bits, "/R" if kind == 1 else "/P", calls)
        if kind == 4:
            return _nonstandard(bits, calls)
        if kind == 0 and subkind == 0:
            return _digits(bits.take(71), [_FREE] * 13).strip() or None
        if kind == 0 and subkind == 5:
            return f"{bits.take(71):X}"
    except _Unknown:
        pass
    return None
