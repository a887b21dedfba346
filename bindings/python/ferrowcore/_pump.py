"""Starting the library, and running what it has to say."""

import atexit
import collections
import sys
import time
import traceback

from . import _native

_log = None
_errors = []  # exceptions of listeners, until the pump raises them
_deferred = collections.deque()  # listeners that wait until the values of their new objects are known
_releases = collections.deque()  # of handles whose Python objects have gone, on whichever thread
_expired = []  # callbacks that nothing will call again; one may be running still
_depth = 0
at_exit = {}  # what to do before the interpreter goes, by owner


def init(path, verbose=False):
    """Starts the library, once, before anything else. `path` is its log, which is appended to; `verbose` logs more than
    errors. Raises OSError if the log cannot be written."""
    global _log
    if _log is not None:
        raise RuntimeError(f"the library has been started already, with the log {_log}")
    name = _native.SCALARS["s"].to_c(path)
    with open(name, "ab"):
        pass  # the library could only end the process
    _native.function("init", None, [_native.ctypes.c_char_p, _native.ctypes.c_int])(name, 1 if verbose else 0)
    _log = path


def started():
    return _log is not None


def report(error):
    """Keeps the exception of a listener for the pump to raise."""
    _errors.append(error)


def defer(function):
    _deferred.append(function)


def release_later(function, handle):
    _releases.append((function, handle))


def expire(callbacks):
    _expired.append(callbacks)


def pump():
    """Runs all listeners that have something to hear, on this thread, and returns. Call it often: 20 times a second or
    more. All listeners run; then the first exception of one is raised, and further ones are printed."""
    global _depth
    if not started():
        raise RuntimeError("call init first")
    updates, renders = _native.function("getUpdates"), _native.function("getRenderUpdates")
    _depth += 1
    try:
        while True:
            while _releases:
                release, handle = _releases.popleft()
                release(handle)
            updates()
            renders()
            if not _deferred:
                break
            waiting = list(_deferred)
            _deferred.clear()
            for run_one in waiting:
                try:
                    run_one()
                except BaseException as error:
                    report(error)
    finally:
        _depth -= 1
    if _depth == 0:
        _expired.clear()
        raise_reported()


def raise_reported():
    if not _errors:
        return
    first, *others = _errors
    _errors.clear()
    for error in others:
        print("Exception of a listener, besides the one that pump() raises:", file=sys.stderr)
        traceback.print_exception(type(error), error, error.__traceback__)
    raise first


def run(seconds=None, until=None, interval=0.01):
    """Pumps until `seconds` have passed (None: for ever) or until() is true; returns whether it was."""
    end = None if seconds is None else time.monotonic() + seconds
    while True:
        pump()
        if until is not None and until():
            return True
        if end is not None and time.monotonic() >= end:
            return False
        time.sleep(interval)


@atexit.register
def _leave():
    # A library thread must find no callback once the interpreter has gone.
    for undo in list(at_exit.values()):
        undo()
