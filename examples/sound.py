"""Hearing a voice: five seconds of upper sideband into a sound file."""
import sys
import wave

import ferrowcore as fc

fc.init("ferrowcore.log")
blocks = []
with fc.HpsdrRadio(ipAddress=sys.argv[1] if len(sys.argv) > 1 else "127.0.0.1") as radio:

    @radio.vtrxAdded.listen
    def added(vtrx, frequency, rate, owner):
        vtrx.setModulation(fc.ssbModDemod())
        vtrx.setRxFilter(300, 2700)  # above the tuned frequency: upper sideband
        vtrx.rxagc.MaxGain = 60  # dB
        vtrx.newAudio.listen(blocks.append)
        vtrx.SendAudio = True  # newAudio, beside the loudspeaker
        vtrx.start()

    radio.addVtrx(14_200_000)
    radio.start()
    fc.run(60, until=lambda: sum(map(len, blocks)) >= 5 * 48000)

with wave.open(sys.argv[2] if len(sys.argv) > 2 else "voice.wav", "wb") as file:
    file.setnchannels(1)
    file.setsampwidth(2)
    file.setframerate(48000)
    samples = [max(-1.0, min(1.0, sample)) for block in blocks for sample in block][: 5 * 48000]
    file.writeframes(b"".join(int(32767 * sample).to_bytes(2, "little", signed=True) for sample in samples))
print("5 seconds")
