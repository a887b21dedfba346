"""The examples do what the host's guide says of them, with a simulated radio; the guide quotes them as they are."""

import os
import re
import struct
import subprocess
import sys
import tempfile
import unittest
import wave
import zlib
from array import array
from pathlib import Path

from tests.support.simulated_radio import SimulatedRadio

ROOT = Path(__file__).resolve().parent.parent.parent
EXAMPLES = ROOT / "examples"
SKY = EXAMPLES / "sky.json"
PROGRAMS = Path(os.environ["FERROW_EXAMPLES"])  # the compiled ones
FOR_C, FOR_PYTHON = "127.64.1.1", "127.64.1.2"  # an address for each


class Example:
    """A running example, in a folder of its own."""

    def __init__(self, name, *arguments):
        self._folder = tempfile.TemporaryDirectory()
        self.folder = Path(self._folder.name)
        command = [sys.executable, "-B", str(EXAMPLES / name)] if name.endswith(".py") else [str(PROGRAMS / name[:-2])]
        self._process = subprocess.Popen(command + list(arguments), cwd=self.folder, stdout=subprocess.PIPE,
                                         stderr=subprocess.STDOUT, text=True, encoding="latin-1",
                                         env={**os.environ, "TMPDIR": str(self.folder)})

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self._process.kill()
        self._process.wait()
        self._process.stdout.close()
        self._folder.cleanup()

    def finish(self, test, seconds):
        """Its output; fails if it does not end well in time."""
        output, _ = self._process.communicate(timeout=seconds)
        test.assertEqual(self._process.returncode, 0, output)
        return output


class Guide(unittest.TestCase):
    def test_quotes_the_examples_as_they_are(self):
        page = (ROOT / "docs/host-guide.md").read_text()
        quotes = re.findall(r"\[examples/([\w.]+)\]\(\.\./examples/\1\)\n\n```(c|python)\n(.*?\n)```", page, re.S)
        self.assertEqual(len(quotes), len(re.findall(r"```(?:c|python)\n", page)), "every block names its file")
        for name, language, code in quotes:
            self.assertIn(code, (EXAMPLES / name).read_text(), name)
        programs = {path.name for path in EXAMPLES.iterdir() if path.suffix in (".c", ".py")}
        self.assertEqual({name for name, _, _ in quotes}, programs)

    def test_the_readme_quotes_the_first_host(self):
        self.assertIn((EXAMPLES / "first_host.c").read_text(), (ROOT / "README.md").read_text())

    def test_small_ones_are_small(self):
        for name, lines in (("s_meter.py", 15), ("panadapter.py", 30), ("ft8_monitor.py", 40)):
            self.assertLessEqual((EXAMPLES / name).read_text().count("\n"), lines, name)


class Start(unittest.TestCase):
    def test_tells_of_an_object_s_life(self):
        for name in ("start.c", "start.py"):
            with self.subTest(name), Example(name) as example:
                self.assertEqual(example.finish(self, 30), "echo 42\ngone 1\n")


class Receive(unittest.TestCase):
    def setUp(self):
        self.enterContext(SimulatedRadio(FOR_C, FOR_PYTHON, scene=SKY))

    def test_meters(self):
        with Example("first_host.c", FOR_C) as c, Example("s_meter.py", FOR_PYTHON) as python:
            for example in (c, python):
                output = example.finish(self, 60)
                self.assertRegex(output, r"^listening on 14200000 Hz\n")
                levels = [float(level) for level in re.findall(r"(-?\d+\.\d) dB", output)]
                self.assertGreater(len(levels), 8)
                self.assertGreater(max(levels), -60, "the voice")
                self.assertLess(min(levels), max(levels) - 10, "and its pauses")

    def test_a_spectrum_on_the_terminal(self):
        with Example("spectrum.c", FOR_C) as example:
            *lines, edges = example.finish(self, 60).rstrip("\n").split("\n")
        self.assertEqual((len(lines), edges), (24, "14176000 Hz to 14224000 Hz"))
        beacon = (14_203_000 - 14_176_000) * 96 // 48000
        for line in lines[2:]:
            self.assertEqual(len(line), 96)
            self.assertNotEqual(line[beacon], " ")
            self.assertEqual(line[:40].strip(), "", "nothing is there")

    def test_a_panadapter_as_a_picture(self):
        try:
            import numpy  # noqa: F401
        except ImportError:
            self.skipTest("NumPy is not installed")
        with Example("panadapter.py", FOR_PYTHON) as example:
            example.finish(self, 90)
            png = (example.folder / "panadapter.png").read_bytes()
        self.assertEqual(png[:8], b"\x89PNG\r\n\x1a\n")
        width, height = struct.unpack(">II", png[16:24])
        self.assertEqual(width, 1024)
        self.assertGreaterEqual(height, 290)
        size = struct.unpack(">I", png[33:37])[0]
        rows = zlib.decompress(png[41 : 41 + size])
        self.assertEqual(len(rows), height * (1 + 3 * width))
        green = [sum(rows[r * (1 + 3 * width) + 2 + 3 * x] for r in range(height)) for x in range(width)]
        self.assertAlmostEqual(green.index(max(green)), (14_203_000 - 14_176_000) * 1024 / 48000, delta=2)

    def test_a_voice_in_a_file(self):
        with Example("sound.c", FOR_C) as c, Example("sound.py", FOR_PYTHON) as python:
            for example in (c, python):
                self.assertEqual(example.finish(self, 60), "5 seconds\n")
                with wave.open(str(example.folder / "voice.wav")) as file:
                    self.assertEqual((file.getframerate(), file.getnchannels(), file.getnframes()), (48000, 1, 240000))
                    samples = array("h", file.readframes(240000))
                self.assertGreater(max(samples), 3000, "a voice at a good level")


class Ft8(unittest.TestCase):
    def test_a_period(self):
        with SimulatedRadio(FOR_C, FOR_PYTHON, scene=SKY), Example("ft8_period.c", FOR_C) as c, \
                Example("ft8_monitor.py", FOR_PYTHON, "1") as python:
            output = c.finish(self, 100)
            for payload in ("000000204def1a8a1988", "09bde3504860b31fab08", "000046f5913c7c931008"):
                self.assertIn(payload, output)
            self.assertIn("3 messages", output)
            output = python.finish(self, 100)
            for words in (r"700 Hz  CQ K1ABC FN42", r"1500 Hz  K1ABC G4ABC -07", r"2300 Hz  CQ DX OH2XYZ KP20"):
                self.assertRegex(output, r"(?m)^\d{6} +[+-]\d\.\d s +" + words + "$")


class Contact(unittest.TestCase):
    def contact(self, name, address):
        """Has the contact, and returns what was sent, as another receiver reads it."""
        with SimulatedRadio(address, scene=SKY, record=True) as radio:
            with Example(name, address) as example:
                output = example.finish(self, 120)
            radio.end()
            rows = [row for row in radio.rows() if row["event"] == "data"]
            self.assertIn("> G4ABC de K1ABC 599 599 k\n", output)
            self.assertIn("> G4ABC 73 de K1ABC sk\n", output)
            self.assertRegex(output, r"CQ de G4ABC k[^>]*> G4ABC de")
            self.assertTrue(all(row["ptt"] == "1" for row in rows))
            self.assertEqual({row["tx_frequency"] for row in rows}, {"14070000"})
            return self.read_back(radio.folder, address)

    def read_back(self, folder, address):
        """Puts the recorded transmission on the air of a second radio and listens."""
        scene = folder / "again.json"
        scene.write_text('{"noise_floor": -140, "stations": [{"kind": "iq", "frequency": 14070000, "level": -40, '
                         '"file": "tx.wav"}]}')
        listener = ("import sys, ferrowcore as fc\n"
                    "fc.init('listener.log')\nheard = ''\n"
                    "def hear(text):\n    global heard\n    heard += text\n"
                    "with fc.HpsdrRadio(ipAddress=sys.argv[1]) as radio:\n"
                    "    psk = fc.PskModDemod(rxFreq=1500)\n    psk.newChars.listen(hear)\n"
                    "    radio.vtrxAdded.listen(lambda v, *_: (v.setModulation(psk), v.setRxFilter(1000, 2000), v.start()))\n"
                    "    radio.addVtrx(14070000)\n    radio.start()\n"
                    "    fc.run(50, until=lambda: '599 599 k' in heard and '73 de K1ABC sk' in heard)\n"
                    "print(heard)\n")
        with SimulatedRadio(address, scene=scene):
            done = subprocess.run([sys.executable, "-B", "-c", listener, address], capture_output=True, text=True, cwd=folder,
                                  timeout=90)
        return done.stdout + done.stderr

    def test_in_c(self):
        heard = self.contact("qso.c", FOR_C)
        self.assertIn("de K1ABC 599 599 k", heard)
        self.assertIn("73 de K1ABC sk", heard)

    def test_in_python(self):
        heard = self.contact("qso.py", FOR_PYTHON)
        self.assertIn("de K1ABC 599 599 k", heard)
        self.assertIn("73 de K1ABC sk", heard)


if __name__ == "__main__":
    unittest.main()
