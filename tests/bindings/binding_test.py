"""The Python package over the library: objects, values, lists, arrays, listeners and their mistakes. No radio is needed."""

import ctypes
import gc
import os
import subprocess
import sys
import tempfile
import unittest
import weakref
from pathlib import Path
from unittest import mock

import ferrowcore as fc
from ferrowcore import _objects

ROOT = Path(__file__).resolve().parent.parent.parent
try:
    import numpy
except ImportError:
    numpy = None


def setUpModule():
    global folder, log
    folder = tempfile.TemporaryDirectory()
    log = Path(folder.name) / "fc.log"
    fc.init(log)


def tearDownModule():
    folder.cleanup()


def settle(thing):
    """All that was posted to the object's context has run, and been told."""
    echoes = []
    thing.Echo.listen(echoes.append)
    thing.Ping(1)
    if not fc.run(10, until=lambda: echoes):
        raise AssertionError("no echo")
    thing.Echo.cancel(echoes.append)


def lone(code, **environment):
    """Runs Python code in a process of its own."""
    return subprocess.run([sys.executable, "-B", "-c", code], capture_output=True, text=True, cwd=folder.name,
                          env={**os.environ, **environment}, timeout=60)


class Values(unittest.TestCase):
    def test_every_class_can_be_made_and_answers(self):
        for name, one in _objects.CLASSES.items():
            with self.subTest(name), one() as made:
                settle(made)

    def test_a_default_then_what_was_set(self):
        with fc.agc() as gain:
            self.assertEqual((gain.Attack, gain.Enabled, gain.ManualGain), (0.01, True, 1.0))
            gain.Attack = 0.5
            self.assertEqual(gain.Attack, 0.5)
            with self.assertRaises(ValueError):
                gain.Attack = "fast"

    def test_initial_values(self):
        with fc.HpsdrRadio(ipAddress="127.0.0.9", SampleRate=96000) as radio:
            self.assertEqual((radio.ipAddress, radio.SampleRate), ("127.0.0.9", 96000))
        with self.assertRaises(TypeError):
            fc.agc(Volumen=1)

    def test_what_the_library_tells(self):
        with fc.Radio() as radio:
            found = []
            radio.vtrxAdded.listen(lambda *added: found.append(added))
            radio.addVtrx(7_100_000, -1)
            self.assertTrue(fc.run(10, until=lambda: found))
            vtrx, frequency, rate, owner = found[0]
            self.assertEqual((type(vtrx), frequency, owner), (fc.vtrx, 7_100_000, 0))
            self.assertEqual((vtrx.vfo, vtrx.rxagc.MaxGain, vtrx.txagc.Volume), (7_100_000, 80.0, 0.0))
            heard = []
            vtrx.on_change("specFreq", heard.append)
            vtrx.specOffset = 1000
            settle(vtrx)
            self.assertEqual((heard, vtrx.specFreq), ([7_101_000], 7_101_000))

    def test_one_s_own_writing_is_not_told(self):
        with fc.agc() as gain:
            heard = []
            gain.on_change("Hang", heard.append)
            gain.Hang = 3
            settle(gain)
            self.assertEqual((heard, gain.Hang), ([], 3.0))

    def test_what_does_not_fit_is_refused(self):
        with fc.vtrx() as vtrx, fc.JTModDemod() as slots:
            for value in (1 << 31, -(1 << 31) - 1):
                with self.assertRaises(OverflowError):
                    vtrx.drive = value
            with self.assertRaises(OverflowError):
                vtrx.vfo = 1 << 63
            with self.assertRaises(TypeError):
                vtrx.drive = 1.5
            with self.assertRaises(TypeError):
                vtrx.rxagc = slots
            with self.assertRaises(TypeError):
                vtrx.setModulation(vtrx)
            with self.assertRaises(ValueError):
                slots.saveDirectory = "a\0b"
            with self.assertRaises(TypeError):
                slots.saveDirectory = 5
            with self.assertRaises(UnicodeEncodeError):
                fc.cwModDemod().QueueText("\N{EURO SIGN}")
            vtrx.setModulation(slots)
            vtrx.setModulation(None)
            settle(vtrx)

    def test_texts_of_all_kinds(self):
        with fc.ValueLabelItem(Label="Lautsprecher (ä)") as item:
            self.assertEqual(item.Label, "Lautsprecher (ä)")
            item.Label = Path("/tmp/é")
            self.assertEqual(item.Label, "/tmp/é")

    def test_a_contained_object_may_be_set(self):
        with fc.vtrx() as vtrx, fc.agc(Volume=0.25) as gain:
            vtrx.rxagc = gain
            self.assertIs(vtrx.rxagc, gain)
            settle(vtrx)


class Lists(unittest.TestCase):
    def test_items_of_the_library(self):
        with fc.HpsdrRadio() as radio:
            told = []
            self.assertEqual(len(radio.SampleRates), 0)
            radio.SampleRates.listen(lambda item: told.append(item.Value))
            self.assertTrue(fc.run(10, until=lambda: len(told) == 4))
            self.assertEqual([(one.Value, one.Label) for one in radio.SampleRates],
                             [(48000, "48k"), (96000, "96k"), (192000, "192k"), (384000, "384k")])
            self.assertEqual(told, [48000, 96000, 192000, 384000])
            self.assertIs(radio.SampleRates, radio.SampleRates)

    def test_items_of_this_program(self):
        with fc.J16Filter() as table:
            for i in range(3):
                table.FilterBands.append(fc.J16FilterBands(maxfrequency=1000 * i))
            table.FilterBands[1] = fc.J16FilterBands(maxfrequency=7)
            settle(table)
            self.assertEqual([row.maxfrequency for row in table.FilterBands], [0, 7, 2000])
            with self.assertRaises(TypeError):
                table.FilterBands.append(table)
            with self.assertRaises(IndexError):
                table.FilterBands[3] = fc.J16FilterBands()
            # The library's own list, as a second Python object for the same one would see it.
            handle = table._handle
            copies = []
            callback = ctypes.CFUNCTYPE(None, ctypes.c_ulonglong, ctypes.c_ulonglong, ctypes.c_void_p)(
                lambda operation, index, item: copies.append(item))
            library = fc._native.library()
            library["J16Filter_bindFilterBands"](ctypes.c_void_p(handle), callback)
            fc.pump()
            self.assertEqual(len(copies), 3)
            for item in copies:
                library["asyncObject_release"](ctypes.c_void_p(item))
            table.FilterBands.clear()
            settle(table)
            library["J16Filter_bindFilterBands"](ctypes.c_void_p(handle), callback)
            fc.pump()
            self.assertEqual((len(copies), len(table.FilterBands)), (3, 0))
            library["J16Filter_bindFilterBands"](ctypes.c_void_p(handle), None)


class Listeners(unittest.TestCase):
    def test_stay_when_nobody_holds_them_or_the_object(self):
        with fc.Radio() as radio:
            heard = []

            def listen():
                found = []
                radio.vtrxAdded.listen(lambda vtrx, *rest: (
                    vtrx.on_change("specFreq", lambda value: heard.append(value)), found.append(weakref.ref(vtrx)),
                    vtrx.__setattr__("specOffset", 500)))
                radio.addVtrx(7_000_000, -1)
                self.assertTrue(fc.run(10, until=lambda: found))
                return found[0]

            gone = listen()
            gc.collect()
            self.assertIsNone(gone())
            self.assertTrue(fc.run(10, until=lambda: heard))
            self.assertEqual(heard[-1], 7_000_500)

    def test_an_exception_reaches_the_pump_and_stops_nobody(self):
        with fc.asyncObject() as thing:
            heard = []

            def fails(value):
                raise KeyError(f"listener {value}")

            thing.Echo.listen(fails)
            thing.Echo.listen(heard.append)
            thing.Ping(5)
            with self.assertRaisesRegex(KeyError, "listener 5"):
                fc.run(10)
            self.assertEqual(heard, [5])
            thing.Echo.cancel(fails)
            settle(thing)

    def test_further_exceptions_are_printed(self):
        with fc.asyncObject() as thing, mock.patch("sys.stderr") as err:
            def fails(value):
                raise ValueError(f"number {value}")

            thing.Echo.listen(fails)
            thing.Echo.listen(fails)
            thing.Ping(9)
            with self.assertRaisesRegex(ValueError, "number 9"):
                fc.run(10)
            printed = "".join(call.args[0] for call in err.write.call_args_list)
            self.assertEqual(printed.count("ValueError: number 9"), 1)

    def test_may_pump_and_set(self):
        with fc.asyncObject() as thing, fc.agc() as gain:
            heard = []

            def again(value):
                heard.append(value)
                gain.Volume = 0.5
                fc.pump()
                if value < 20:
                    thing.Ping(value + 1)

            thing.Echo.listen(again)
            thing.Ping(1)
            self.assertTrue(fc.run(20, until=lambda: heard and heard[-1] == 20))
            self.assertEqual(heard, list(range(1, 21)))

    def test_cancelled_ones_hear_no_more(self):
        with fc.asyncObject() as thing:
            heard = []
            listener = thing.Echo.listen(heard.append)
            thing.Echo.cancel(listener)
            with self.assertRaises(ValueError):
                thing.Echo.cancel(listener)
            settle(thing)
            self.assertEqual(heard, [])
            with self.assertRaises(AttributeError):
                thing.on_change("Echo", print)

    def test_a_decorator(self):
        with fc.Radio() as radio:
            @radio.on_change("SampleRate")
            def changed(value):
                pass

            self.assertIsNotNone(changed)
            radio.cancel("SampleRate", changed)


class Lives(unittest.TestCase):
    def setUp(self):
        gc.collect()
        self.assertTrue(fc.run(10, until=lambda: not _objects._states), "earlier objects have gone")

    def test_closing_tells_deleted_and_frees_the_callbacks(self):
        before = len(_objects._states)
        gone = []
        with fc.agc() as gain:
            gain.Deleted.listen(gone.append)
            self.assertEqual(len(_objects._states), before + 1)
        self.assertTrue(gain.closed)
        self.assertTrue(fc.run(10, until=lambda: gone))
        self.assertEqual((gone, len(_objects._states)), ([1], before))
        gain.close()
        for wrong in (lambda: gain.Ping(1), lambda: setattr(gain, "Volume", 1), lambda: gain.on_change("Volume", print)):
            with self.assertRaisesRegex(ValueError, "closed"):
                wrong()

    def test_an_object_that_nobody_holds_goes(self):
        before = len(_objects._states)
        made = [fc.vtrx() for _ in range(50)]
        self.assertEqual(len(_objects._states), before + 50)
        del made
        gc.collect()
        self.assertTrue(fc.run(10, until=lambda: len(_objects._states) == before), len(_objects._states) - before)

    def test_started_twice(self):
        with self.assertRaisesRegex(RuntimeError, "started already"):
            fc.init(log)

    def test_not_started(self):
        done = lone("import ferrowcore as fc\nfor f in (fc.pump, fc.agc):\n"
                    "    try: f()\n    except RuntimeError as e: print(e)")
        self.assertEqual(done.stdout, "call init first\n" * 2, done.stderr)

    def test_a_log_that_cannot_be_written(self):
        done = lone("import ferrowcore as fc\ntry: fc.init('/nonexistent/x.log')\nexcept OSError as e: print('OSError')")
        self.assertEqual((done.stdout, done.returncode), ("OSError\n", 0), done.stderr)

    def test_no_library(self):
        done = lone("import ferrowcore as fc\ntry: fc.init('x.log')\nexcept fc.LibraryNotFound as e: print(e)",
                    FERROWCORE_LIBRARY="/nonexistent.so")
        self.assertIn("FERROWCORE_LIBRARY", done.stdout)

    def test_leaving_without_a_word(self):
        done = lone("import ferrowcore as fc\nfc.init('x.log')\nr = fc.HpsdrRadio(ipAddress='127.0.7.99')\n"
                    "m = fc.proxyModDemod()\nm.rxChunk.listen(print)\n"
                    "r.vtrxAdded.listen(lambda v, *x: (v.setModulation(m), v.start()))\n"
                    "r.addVtrx(7000000)\nr.start()\nfc.run(0.3)\nprint('end')")
        self.assertEqual((done.stdout, done.stderr, done.returncode), ("end\n", "", 0))


class Arrays(unittest.TestCase):
    def test_are_sequences(self):
        for kind in (fc.floatArray, fc.doubleArray):
            array = kind([1, 2.5, -3])
            self.assertEqual((list(array), len(array), array[-1], array[1:]), ([1, 2.5, -3], 3, -3, [2.5, -3]))
            array[0] = 7
            self.assertEqual(array.view().tolist(), [7, 2.5, -3])
            with self.assertRaises(IndexError):
                array[3]
            self.assertEqual(list(kind(2)), [0, 0])
            self.assertEqual((len(kind(0)), kind(0).view().tolist()), (0, []))
        pairs = fc.complexArray([1, 2j])
        self.assertEqual((list(pairs), pairs.view().tolist()), ([1, 2j], [1, 0, 0, 2]))

    def test_a_view_outlives_the_array(self):
        view = fc.floatArray([1, 2, 3]).view()
        gc.collect()
        self.assertEqual([fc.floatArray([9] * 3)[0], view.tolist()], [9, [1, 2, 3]])

    @unittest.skipIf(numpy is None, "NumPy is not installed")
    def test_numpy_sees_the_same_memory(self):
        for kind, dtype in ((fc.floatArray, "f4"), (fc.doubleArray, "f8"), (fc.complexArray, "c8")):
            array = kind([1, 2, 3])
            seen = array.numpy()
            self.assertEqual((seen.dtype, seen.ctypes.data), (numpy.dtype(dtype), array._address))
            seen[1] = 5
            self.assertEqual(array[1], 5)
            self.assertIs(numpy.asarray(array).base is not None, True)
            watch = weakref.ref(array)
            del array
            gc.collect()
            self.assertIsNotNone(watch(), "the view keeps the array")
            self.assertEqual(seen[1], 5)
            del seen
            gc.collect()
            self.assertIsNone(watch(), "and lets it go")

    def test_tones_may_be_any_sequence(self):
        with fc.JTModDemod() as slots:
            slots.queueMsg([0, 1, 2])
            slots.queueMsg(fc.floatArray([3]), 9, 0)
            settle(slots)

    def test_importing_wants_no_numpy(self):
        done = lone("import sys\nsys.modules['numpy'] = None\nimport ferrowcore as fc\na = fc.floatArray([1])\n"
                    "print(a.view().tolist())\ntry: a.numpy()\nexcept ImportError: print('none')")
        self.assertEqual(done.stdout, "[1.0]\nnone\n", done.stderr)


class Ft8(unittest.TestCase):
    def test_texts_of_the_published_messages(self):
        unread = []
        for name in ("ft8", "ft4"):
            records = (ROOT / f"tests/data/ft8/{name}_vectors.txt").read_text().split("\n\n")
            for record in records:
                fields = dict(line.split(": ", 1) for line in record.split("\n") if ": " in line and line[0] != "#")
                if "payload" not in fields:
                    continue
                text = fc.ft8.text(bytes.fromhex(fields["payload"]))
                if text is None:
                    unread.append(fields["type"])
                else:
                    self.assertEqual(text, fields["unhashed"], fields)
        self.assertLessEqual(set(unread), {"0.1", "0.3", "0.4", "3", "5"}, "contests only")

    def test_hashed_calls_are_named_once_heard(self):
        calls = fc.ft8.Calls()
        hashed = "PJ4/K1ABC"
        calls.add(hashed)
        number = 0
        for c in hashed.ljust(11):
            number = number * 38 + " 0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ/".index(c)
        self.assertEqual(calls.show(22, (47055833459 * number % (1 << 64)) >> 42), "<PJ4/K1ABC>")
        self.assertEqual(calls.show(22, 1), "<...>")

    def test_what_is_no_recording(self):
        with self.assertRaises(ValueError):
            fc.ft8.decode("/nonexistent.wav")
        self.assertEqual(fc.ft8.crc12(b"\0\0"), 0)


if __name__ == "__main__":
    unittest.main()
