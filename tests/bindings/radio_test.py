"""The Python package with a simulated radio: samples without copies, and the mode that works in line."""

import tempfile
import threading
import time
import unittest
from pathlib import Path

import ferrowcore as fc
from tests.support.simulated_radio import SimulatedRadio

try:
    import numpy
except ImportError:
    numpy = None

ADDRESS = "127.64.0.1"


def setUpModule():
    global folder
    folder = tempfile.TemporaryDirectory()
    fc.init(Path(folder.name) / "fc.log")


def tearDownModule():
    folder.cleanup()


class OnARadio(unittest.TestCase):
    def setUp(self):
        self.enterContext(SimulatedRadio(ADDRESS))
        self.radio = self.enterContext(fc.HpsdrRadio(ipAddress=ADDRESS))
        found = []
        self.radio.vtrxAdded.listen(lambda vtrx, *rest: found.append(vtrx))
        self.radio.addVtrx(14_100_000)
        self.assertTrue(fc.run(10, until=lambda: found))
        self.vtrx = found[0]
        self.vtrx.muted = True
        self.vtrx.foregroundDisplay = True

    def start(self, mode):
        self.vtrx.setModulation(mode)
        self.vtrx.start()
        self.radio.start()

    def test_spectra_and_strength(self):
        frames, strengths = [], []
        self.vtrx.newSpectrum.listen(lambda power, low, high, rate: frames.append((power, low, high, rate)))
        self.vtrx.on_change("signalStrength", strengths.append)
        self.start(fc.ssbModDemod())
        self.assertTrue(fc.run(30, until=lambda: len(frames) > 20 and strengths))
        power, low, high, rate = frames[-1]
        self.assertEqual((len(power), high - low, rate), (2048, 48000, 48000))
        strongest = max(range(2048), key=power.__getitem__)
        self.assertAlmostEqual(low + (strongest + 1) * (high - low) / 2048, 14_100_000, delta=50)
        self.assertEqual(self.vtrx.signalStrength, strengths[-1])
        if numpy is not None:
            view = power.numpy()
            self.assertEqual((view.shape, view.ctypes.data, int(view.argmax())), ((2048,), power._address, strongest))

    def test_raw_samples(self):
        chunks = []
        self.vtrx.newIQ.listen(lambda iq, centre, rate: chunks.append((iq, centre, rate)))
        self.vtrx.SendIQ = True
        self.start(fc.RawIQModDemod())
        self.assertTrue(fc.run(30, until=lambda: len(chunks) > 5))
        iq, centre, rate = chunks[-1]
        self.assertIsInstance(iq, fc.complexArray)
        self.assertEqual((len(iq), rate), (512, 48000))
        self.assertGreater(max(map(abs, iq)), 1e-6)

    def test_a_mode_that_works_in_line(self):
        threads, audio = set(), []
        mode = fc.proxyModDemod()
        raised = threading.Event()

        @mode.rxChunk.listen
        def chunk(samples):
            threads.add(threading.get_ident())
            for i in range(len(samples)):
                samples[i] = 0.25  # heard in place of what was received
            if not raised.is_set():
                raised.set()
                raise RuntimeError("in line")

        self.vtrx.newAudio.listen(audio.append)
        self.vtrx.SendAudio = True
        self.vtrx.rxagc.Enabled = False
        self.vtrx.rxagc.ManualGain = 0
        self.start(mode)
        with self.assertRaisesRegex(RuntimeError, "in line"):
            fc.run(30)
        self.assertTrue(fc.run(30, until=lambda: len(audio) > 5))
        self.assertNotIn(threading.get_ident(), threads)
        self.assertAlmostEqual(audio[-1][100], 0.25, delta=0.05)
        mode.close()
        fc.pump()
        calls = len(threads)
        fc.run(0.1)
        self.assertEqual(len(threads), calls)

    def test_a_radio_stops_at_the_end_of_its_block(self):
        self.start(fc.ssbModDemod())
        self.assertTrue(fc.run(30, until=lambda: self.radio.receivedPackets))
        gone = []
        self.radio.Deleted.listen(gone.append)
        self.vtrx.close()
        with self.radio:
            pass
        self.assertTrue(self.radio.closed)
        self.assertTrue(fc.run(10, until=lambda: gone))


if __name__ == "__main__":
    unittest.main()
