import struct, sys, zlib
import numpy as np
import ferrowcore as fc

fc.init("ferrowcore.log")
lines = []
with fc.HpsdrRadio(ipAddress=sys.argv[1] if len(sys.argv) > 1 else "127.0.0.1", SampleRate=48000) as radio:
    @radio.vtrxAdded.listen
    def added(vtrx, frequency, rate, owner):
        vtrx.muted = True  # no sound device
        vtrx.foregroundDisplay = True  # all spectra, not two a second
        vtrx.waterfallSpeed = 2  # four times as many
        vtrx.setModulation(fc.ssbModDemod())  # without a mode nothing is received
        vtrx.newSpectrum.listen(lambda power, low, high, rate: lines.append((10 * power.numpy(), low, high)))
        vtrx.start()
    radio.addVtrx(14_200_000)
    radio.start()
    fc.run(60, until=lambda: len(lines) >= 300)

decibels = np.array([line for line, low, high in lines[10:]]).reshape(-1, 1024, 2).max(axis=2)
level = np.clip((decibels + 110) / 60, 0, 1)
pixels = (255 * np.stack([level**2, level, np.sqrt(level) * 0.7], axis=2)).astype(np.uint8)
rows = b"".join(b"\0" + row.tobytes() for row in pixels)
def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
with open(sys.argv[2] if len(sys.argv) > 2 else "panadapter.png", "wb") as png:
    header = struct.pack(">IIBBBBB", pixels.shape[1], pixels.shape[0], 8, 2, 0, 0, 0)
    png.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))
