"""Ferrowcore, the native core of an amateur-radio SDR application, from Python.

    import ferrowcore as fc

    fc.init("ferrowcore.log")
    with fc.HpsdrRadio(ipAddress="127.0.0.1") as radio:

        @radio.vtrxAdded.listen
        def added(vtrx, frequency, rate, owner):
            vtrx.setModulation(fc.ssbModDemod())
            vtrx.on_change("signalStrength", print)
            vtrx.start()

        radio.addVtrx(14_200_000)
        radio.start()
        fc.run(5)

Classes, properties, events and verbs have the names of the C headers, which say what they mean. Nothing is heard but by
`pump` or `run`, which call the listeners on the calling thread; keep all calls on one thread. Writing a property takes
effect in the library between two blocks of samples. It needs the installed shared library and no compiler; NumPy is used
where it is there. FERROWCORE_LIBRARY in the environment names another library file.
"""

from . import ft8
from ._arrays import complexArray, doubleArray, floatArray
from ._classes import *  # noqa: F403
from ._classes import __all__ as _class_names
from ._native import LibraryNotFound
from ._objects import BoundEvent, ItemList, Object
from ._pump import init, pump, run

__all__ = ["BoundEvent", "ItemList", "LibraryNotFound", "Object", "complexArray", "doubleArray", "floatArray", "ft8",
           "init", "pump", "run", *_class_names]
