"""Objects of the library with Python's habits: properties, events, lists, context managers.

Every object's callbacks are kept in its State, which lives until the library says that the object has gone, also when
nobody in Python holds the object any more: listeners go on hearing.
"""

import ctypes
import itertools
from collections.abc import Sequence

from . import _arrays, _native, _pump

CLASSES = {}  # by name; filled by the generated classes
_states = {}  # alive until Deleted
_numbers = itertools.count(1)
_APPEND, _WRITE = 3, 0


class State:
    """What outlives the Python object: callbacks, listeners and known values."""

    def __init__(self):
        self.number = next(_numbers)
        self.values = {}
        self.listeners = {}
        self.callbacks = {}
        self.kept = None  # the Python object, where it must not go by itself
        _states[self.number] = self

    def gone(self):
        _states.pop(self.number, None)
        _pump.at_exit.pop(self.number, None)
        _pump.expire(dict(self.callbacks))
        self.callbacks.clear()

    def tell(self, name, *values):
        for listener in list(self.listeners.get(name, ())):
            try:
                listener(*values)
            except BaseException as error:
                _pump.report(error)


def _take(code, value):
    """A value that a callback brings, in Python's form."""
    if code in _native.SCALARS:
        return _native.SCALARS[code].from_c(value)
    if value is None:
        return None
    if code in _arrays.ARRAYS:
        return _arrays.ARRAYS[code]._of(value)
    return CLASSES[code]._of(value)


def _give(code, value, nothing_allowed=False):
    """A value for the library, and what must live until the call has returned."""
    if code in _native.SCALARS:
        return _native.SCALARS[code].to_c(value), None
    if value is None and nothing_allowed:
        return None, None
    if code in _arrays.ARRAYS:
        array = value if isinstance(value, _arrays.ARRAYS[code]) else _arrays.ARRAYS[code](value)
        return array._handle, array
    if not isinstance(value, CLASSES[code]):
        raise TypeError(f"an object of class {code} is wanted, not {type(value).__name__}")
    return value._live(), value


def _guard(function):
    """A callback from which no exception leaves."""

    def call(*arguments):
        try:
            function(*arguments)
        except BaseException as error:
            _pump.report(error)

    return call


class Property:
    """A value of an object. Reading gives the last value known: set by this program or told by the library since, the
    default before, None where there is none. Writing takes effect between two blocks of samples."""

    def __init__(self, owner, name, code, default, doc):
        self.owner, self.name, self.code, self.default, self.__doc__ = owner, name, code, default, doc

    def __get__(self, instance, owner=None):
        if instance is None:
            return self
        return instance._state.values.get(self.name, self.default)

    def __set__(self, instance, value):
        given, kept = _give(self.code, value)
        setter = _native.function(f"{self.owner}_set{self.name}", None, [ctypes.c_void_p, _native.ctype(self.code)])
        setter(instance._live(), given)
        instance._state.values[self.name] = value if kept is not None else _native.SCALARS[self.code].from_c(
            given.value if isinstance(given, ctypes._SimpleCData) else given)

    def bind(self, instance):
        state, name, code = instance._state, self.name, self.code

        def changed(value):
            value = _take(code, value)
            state.values[name] = value
            if code in _native.SCALARS:
                state.tell(name, value)
            else:
                _pump.defer(lambda: state.tell(name, value))

        instance._bind(self.owner, name, [code], changed)


class Event:
    """Something that happens. `listen` adds a listener, and serves as a decorator; `cancel` takes it away."""

    def __init__(self, owner, name, codes, doc):
        self.owner, self.name, self.codes, self.__doc__ = owner, name, codes, doc

    def __get__(self, instance, owner=None):
        return self if instance is None else BoundEvent(self, instance)

    def bind(self, instance):
        state, name, codes = instance._state, self.name, self.codes
        brings_objects = any(code in CLASSES for code in codes)

        def happened(*values):
            values = [_take(code, value) for code, value in zip(codes, values)]
            if brings_objects:
                _pump.defer(lambda: state.tell(name, *values))
            else:
                state.tell(name, *values)

        instance._bind(self.owner, name, codes, happened)


class InlineEvent(Event):
    """An event that one of the library's threads tells at once, without the pump. Its object stays until it is closed, or
    unbound before the interpreter goes."""

    def bind(self, instance):
        super().bind(instance)
        instance._state.kept = instance
        _pump.at_exit[instance._state.number] = instance.close


class BoundEvent:
    """The event of one object."""

    def __init__(self, event, instance):
        self._event, self._instance = event, instance
        self.__doc__ = event.__doc__

    def listen(self, listener):
        """Calls `listener` whenever it happens, until `cancel` or the end of the object. Returns the listener."""
        state = self._instance._state
        self._instance._live()
        state.listeners.setdefault(self._event.name, []).append(listener)
        if self._event.name not in state.callbacks:
            self._event.bind(self._instance)
        return listener

    def cancel(self, listener):
        """Takes a listener away. Raises ValueError if it is none."""
        self._instance._state.listeners.get(self._event.name, []).remove(listener)


class List:
    """A list of objects."""

    def __init__(self, owner, name, code, doc):
        self.owner, self.name, self.code, self.__doc__ = owner, name, code, doc

    def __get__(self, instance, owner=None):
        if instance is None:
            return self
        if self.name not in instance._lists:
            instance._lists[self.name] = ItemList(self, instance)
        return instance._lists[self.name]


class ItemList(Sequence):
    """The items that the library has told and this program has appended; the library's come by the next pump."""

    def __init__(self, descriptor, instance):
        self._descriptor, self._instance = descriptor, instance
        self._items = items = []
        state, name, code = instance._state, descriptor.name, descriptor.code

        def appended(operation, index, item):
            item = _take(code, item)
            items.append(item)
            _pump.defer(lambda: state.tell(name, item))

        instance._bind(descriptor.owner, name, ["Q", "Q", code], appended)

    def listen(self, listener):
        """Calls `listener` with every item that the library appends."""
        self._instance._state.listeners.setdefault(self._descriptor.name, []).append(listener)
        return listener

    def _send(self, operation, index, item):
        handle, kept = _give(self._descriptor.code, item)
        setter = _native.function(f"{self._descriptor.owner}_set{self._descriptor.name}", None,
                                  [ctypes.c_void_p, ctypes.c_int, ctypes.c_int, ctypes.c_void_p])
        setter(self._instance._live(), operation, index, handle)

    def append(self, item):
        self._send(_APPEND, 0, item)
        self._items.append(item)

    def __setitem__(self, index, item):
        index = range(len(self._items))[index]
        self._send(_WRITE, index, item)
        self._items[index] = item

    def clear(self):
        name = f"{self._descriptor.owner}_reset{self._descriptor.name}"
        _native.function(name, None, [ctypes.c_void_p])(self._instance._live())
        self._items.clear()

    def __len__(self):
        return len(self._items)

    def __getitem__(self, index):
        return self._items[index]

    def __repr__(self):
        return repr(self._items)


class Object:
    """Base of all classes. A `with` block releases the object at its end, as `close` does."""

    _name = ""

    def __init__(self, **values):
        if not _pump.started():
            raise RuntimeError("call init first")
        self._open(_native.function(f"{self._name}_create", ctypes.c_void_p, [])())
        for name, value in values.items():
            if not isinstance(getattr(type(self), name, None), Property):
                raise TypeError(f"{self._name} has no property '{name}'")
            setattr(self, name, value)

    @classmethod
    def _of(cls, handle):
        """An object that a callback has brought."""
        made = cls.__new__(cls)
        made._open(handle)
        return made

    def _open(self, handle):
        self._handle = handle
        self._lists = {}
        self._state = state = State()
        self._bind("asyncObject", "Deleted", ["i"], lambda one: (state.gone(), state.tell("Deleted", one)))
        for member in self._members():
            if isinstance(member, Property):
                member.bind(self)

    @classmethod
    def _members(cls):
        for one in cls.__mro__:
            for member in vars(one).values():
                if isinstance(member, (Property, Event, List)):
                    yield member

    def _bind(self, owner, name, codes, function):
        types = [ctypes.c_ulonglong if code == "Q" else _native.ctype(code) for code in codes]
        callback = ctypes.CFUNCTYPE(None, *types)(_guard(function))
        self._state.callbacks[name] = callback
        _native.library()[f"{owner}_bind{name}"](ctypes.c_void_p(self._live()), callback)

    def _live(self):
        if self._handle is None:
            raise ValueError("the object has been closed")
        return self._handle

    def _call(self, name, codes, *arguments):
        given = [_give(code, value, nothing_allowed=code in CLASSES) for code, value in zip(codes, arguments)]
        called = _native.function(name, None, [ctypes.c_void_p] + [_native.ctype(code) for code in codes])
        called(self._live(), *(value for value, kept in given))

    def on_change(self, name, listener=None):
        """Calls `listener` with each new value that the library gives the property. Returns the listener; without one, a
        decorator."""
        if not isinstance(getattr(type(self), name, None), Property):
            raise AttributeError(f"{self._name} has no property '{name}'")
        if listener is None:
            return lambda function: self.on_change(name, function)
        self._live()
        self._state.listeners.setdefault(name, []).append(listener)
        return listener

    def cancel(self, name, listener):
        """Takes a listener of on_change away. Raises ValueError if it is none."""
        self._state.listeners.get(name, []).remove(listener)

    def close(self):
        """Releases the object: its listeners hear no more, but those of Deleted. Closing twice is no mistake."""
        if self._handle is None:
            return
        for name in [one for one in self._state.listeners if one != "Deleted"]:
            del self._state.listeners[name]
        _pump.at_exit.pop(self._state.number, None)
        for member in self._members():
            if isinstance(member, InlineEvent) and member.name in self._state.callbacks:
                _native.library()[f"{member.owner}_bind{member.name}"](ctypes.c_void_p(self._handle), None)
        self._state.kept = None
        handle, self._handle = self._handle, None
        _native.function(f"{self._name}_release", None, [ctypes.c_void_p])(handle)

    @property
    def closed(self):
        return self._handle is None

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.close()

    def __del__(self):
        # The collector may be at work on any thread: the pump's lets go.
        if getattr(self, "_handle", None) is not None:
            _pump.release_later(_native.function(f"{self._name}_release", None, [ctypes.c_void_p]), self._handle)

    def __repr__(self):
        return f"<{self._name}{' (closed)' if self.closed else ''}>"


def stop_at_exit(cls):
    """Gives a radio's class a `with` block that also stops the radio."""

    def __exit__(self, *exception):
        if not self.closed:
            self.stop()
        self.close()

    cls.__exit__ = __exit__
    return cls
