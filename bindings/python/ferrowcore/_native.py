"""The shared library, and how values cross to it and back."""

import ctypes
import ctypes.util
import operator
import os

SONAME = "libferrowcore_avx2.so.0"


class LibraryNotFound(ImportError):
    """The shared library is not installed where it could be found."""


_library = None


def library():
    """The loaded library. FERROWCORE_LIBRARY names another file than the installed one."""
    global _library
    if _library is None:
        name = os.environ.get("FERROWCORE_LIBRARY") or SONAME
        try:
            _library = ctypes.CDLL(name)
        except OSError as error:
            raise LibraryNotFound(
                f"{error}; install ferrowcore, or let the environment's FERROWCORE_LIBRARY name {SONAME}") from None
    return _library


def function(name, result=None, arguments=()):
    """An exported function with its types set."""
    found = getattr(library(), name)
    if found.argtypes is None:
        found.argtypes = list(arguments)
        found.restype = result
    return found


class Scalar:
    """How one C type looks in Python."""

    def __init__(self, ctype, to_c, from_c):
        self.ctype, self.to_c, self.from_c = ctype, to_c, from_c


def _integer(bits):
    low, high = -(1 << (bits - 1)), (1 << (bits - 1)) - 1

    def convert(value):
        value = operator.index(value)
        if not low <= value <= high:
            raise OverflowError(f"{value} does not fit {bits} bits")
        return value

    return convert


def _single(value):
    return ctypes.c_float(float(value))


def _encoder(encoding, errors):
    def convert(value):
        if isinstance(value, os.PathLike):
            value = os.fspath(value)
        if isinstance(value, str):
            value = value.encode(encoding, errors)
        if not isinstance(value, bytes):
            raise TypeError(f"a string is wanted, not {type(value).__name__}")
        if b"\0" in value:
            raise ValueError("embedded null character")
        return value

    return convert


def _decoder(encoding, errors):
    return lambda value: "" if value is None else value.decode(encoding, errors)


# By the letters of the generated tables. Names and paths ("s") are UTF-8; text on the air ("t") has a byte a character.
SCALARS = {
    "i": Scalar(ctypes.c_int, _integer(32), int),
    "q": Scalar(ctypes.c_longlong, _integer(64), int),
    "f": Scalar(ctypes.c_float, _single, float),
    "d": Scalar(ctypes.c_double, float, float),
    "?": Scalar(ctypes.c_bool, bool, bool),
    "s": Scalar(ctypes.c_char_p, _encoder("utf-8", "surrogateescape"), _decoder("utf-8", "surrogateescape")),
    "t": Scalar(ctypes.c_char_p, _encoder("latin-1", "strict"), _decoder("latin-1", "strict")),
}


def ctype(code):
    """The C type of a letter, or of the name of a class or array: a handle."""
    return SCALARS[code].ctype if code in SCALARS else ctypes.c_void_p
