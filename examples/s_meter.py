import sys
import ferrowcore as fc

fc.init("ferrowcore.log")
with fc.HpsdrRadio(ipAddress=sys.argv[1] if len(sys.argv) > 1 else "127.0.0.1") as radio:
    @radio.vtrxAdded.listen
    def added(vtrx, frequency, rate, owner):
        print("listening on", frequency, "Hz")
        vtrx.setModulation(fc.ssbModDemod())
        vtrx.setRxFilter(300, 2700)
        vtrx.on_change("signalStrength", lambda dB: print(f"{dB:6.1f} dB", "#" * int(dB + 120), flush=True))
        vtrx.start()
    radio.addVtrx(14_200_000)
    radio.start()
    fc.run(5)
