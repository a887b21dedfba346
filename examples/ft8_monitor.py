"""FT8 as it is heard: a line a message, for as many periods as wanted."""
import os
import sys
import tempfile
import time

import ferrowcore as fc
from ferrowcore import ft8

address = sys.argv[1] if len(sys.argv) > 1 else "127.0.0.1"
periods = int(sys.argv[2]) if len(sys.argv) > 2 else 1_000_000
calls = ft8.Calls()
heard = 0


def period_recorded(name_and_marker):
    global heard
    path = name_and_marker[:-1]  # without the marker of a period in which nothing was sent
    began = time.strftime("%H%M%S", time.gmtime(time.time() // 15 * 15 - 15))
    for one in sorted(ft8.decode(path), key=lambda one: one.frequency):
        text = ft8.text(one.payload, calls) or one.payload.hex()
        print(f"{began} {one.time - 0.42:+5.1f} s {one.frequency:6.0f} Hz  {text}", flush=True)
        heard += 1
    os.remove(path)


fc.init("ferrowcore.log")
with tempfile.TemporaryDirectory() as folder, fc.HpsdrRadio(ipAddress=address) as radio:
    slots = fc.JTModDemod(saveDirectory=folder + "/")  # by default the 15 s of FT8
    slots.newFile.listen(period_recorded)
    radio.vtrxAdded.listen(lambda vtrx, *_: (vtrx.setModulation(slots), vtrx.setRxFilter(100, 3300), vtrx.start()))
    radio.addVtrx(14_074_000)
    radio.start()
    while periods > 0:
        before = heard
        fc.run(until=lambda: heard > before)
        periods -= 1
