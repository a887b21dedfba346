"""ferrow-sim for the tests in Python; the environment's FERROW_SIM names the program."""

import csv
import os
import signal
import subprocess
import tempfile
from pathlib import Path


class SimulatedRadio:
    """A simulated radio on a loopback address, for the length of a `with` block. `scene` is a file or "builtin"."""

    def __init__(self, *addresses, scene="builtin", record=False):
        self._folder = tempfile.TemporaryDirectory()
        self.folder = Path(self._folder.name)
        command = [os.environ["FERROW_SIM"], "--scene", str(scene), "--die-with-parent", "--wideband-rate", "0"]
        for address in addresses:
            command += ["--address", address]
        if record:
            command += ["--tx-record", str(self.folder / "tx")]
        self._process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        for _ in addresses:
            line = self._process.stdout.readline()
            if not line.startswith("ready"):
                raise RuntimeError(f"ferrow-sim: {line}{self._process.stdout.read()}")

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.end()
        self._folder.cleanup()

    def end(self):
        """Ends the radio; its recordings are complete then."""
        if self._process.poll() is None:
            self._process.send_signal(signal.SIGTERM)
            self._process.wait(20)
        self._process.stdout.close()

    def rows(self, name="tx"):
        """The table of a recorded transmission."""
        with open(self.folder / f"{name}.csv", newline="") as table:
            return list(csv.DictReader(table))
