"""Arrays of samples. NumPy sees them without a copy; without NumPy they are sequences."""

import ctypes
from collections.abc import Sequence

from . import _native


class Array(Sequence):
    """A block of samples in the library's memory: made from a length or from values, or brought by an event.

    `numpy()` and `numpy.asarray(a)` give a view of the same memory, as `view()` gives a memoryview; the memory lives as
    long as any of them.
    """

    _name = ""
    _element = ctypes.c_float
    _width = 1  # elements of the C type in a value
    _typestr = ""

    def __init__(self, values):
        length = values if isinstance(values, int) else len(values)
        self._adopt(_native.function(f"{self._name}_create", ctypes.c_void_p, [ctypes.c_int])(length))
        if isinstance(values, int):
            ctypes.memset(self._address, 0, ctypes.sizeof(self._element) * self._width * length)
        else:
            for i, value in enumerate(values):
                self[i] = value

    @classmethod
    def _of(cls, handle):
        made = cls.__new__(cls)
        made._adopt(handle)
        return made

    def _adopt(self, handle):
        self._handle = handle
        handle_only = [ctypes.c_void_p]
        self._length = _native.function(f"{self._name}_size", ctypes.c_int, handle_only)(handle)
        self._address = _native.function(f"{self._name}_data", ctypes.c_void_p, handle_only)(handle)
        self._delete = _native.function(f"{self._name}_delete", None, handle_only)

    def __del__(self):
        handle, self._handle = getattr(self, "_handle", None), None
        if handle is not None:
            self._delete(handle)

    def _raw(self):
        raw = (self._element * (self._width * self._length)).from_address(self._address or 0)
        raw._owner = self
        return raw

    def view(self):
        """A writable memoryview of the samples; complex ones as pairs, real part first."""
        return memoryview(self._raw()).cast("B").cast(self._element._type_) if self._length else memoryview(b"")

    @property
    def __array_interface__(self):
        return {"shape": (self._length,), "typestr": self._typestr, "data": (self._address or 0, False), "version": 3}

    def numpy(self):
        """A NumPy array of the same memory."""
        import numpy

        return numpy.asarray(self)

    def __len__(self):
        return self._length

    def _place(self, index):
        place = index + self._length if index < 0 else index
        if not 0 <= place < self._length:
            raise IndexError("array index out of range")
        return place

    def __getitem__(self, index):
        if isinstance(index, slice):
            return [self[i] for i in range(*index.indices(self._length))]
        return self._raw()[self._place(index)]

    def __setitem__(self, index, value):
        self._raw()[self._place(index)] = value

    def __repr__(self):
        return f"<{type(self).__name__} of {self._length}>"


class floatArray(Array):
    _name, _element, _typestr = "floatArray", ctypes.c_float, "<f4"


class doubleArray(Array):
    _name, _element, _typestr = "doubleArray", ctypes.c_double, "<f8"


class complexArray(Array):
    _name, _element, _width, _typestr = "complexArray", ctypes.c_float, 2, "<c8"

    def __getitem__(self, index):
        if isinstance(index, slice):
            return [self[i] for i in range(*index.indices(self._length))]
        at = 2 * self._place(index)
        raw = self._raw()
        return complex(raw[at], raw[at + 1])

    def __setitem__(self, index, value):
        at = 2 * self._place(index)
        value = complex(value)
        raw = self._raw()
        raw[at], raw[at + 1] = value.real, value.imag


ARRAYS = {one.__name__: one for one in (floatArray, doubleArray, complexArray)}
