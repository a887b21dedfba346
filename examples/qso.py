"""A contact by PSK31: hear a CQ, answer, hear the other station again, say goodbye."""
import sys

import ferrowcore as fc

fc.init("ferrowcore.log")
heard = ""


def hear(text):
    global heard
    heard += text
    print(text, end="", flush=True)


def listen_for(words):
    global heard
    heard = ""
    fc.run(until=lambda: words in heard)


def say(text):
    print("\n> ", end="")
    psk.QueueText(text)  # it waits for ptt
    transceiver.ptt = True
    fc.run(until=lambda: not transceiver.ptt)  # "~" takes it off
    print()


with fc.HpsdrRadio(ipAddress=sys.argv[1] if len(sys.argv) > 1 else "127.0.0.1") as radio:
    radio.TypeID = 6  # a Hermes-Lite 2, which discovery would tell
    radio.HLite2Gain = radio.enablePA = True
    found = []
    radio.vtrxAdded.listen(lambda *added: found.append(added[0]))
    radio.addVtrx(14_070_000)
    fc.run(5, until=lambda: found)
    transceiver = found[0]
    psk = fc.PskModDemod()
    psk.newChars.listen(hear)
    psk.sentChars.listen(lambda text: print(text, end="", flush=True))
    transceiver.setModulation(psk)
    transceiver.setRxFilter(1000, 2000)
    transceiver.setTxFilter(1000, 2000)
    psk.rxFreq = 1500  # txFreq follows
    transceiver.drive = 100
    transceiver.start()
    radio.start()
    listen_for("CQ de G4ABC k")
    say("G4ABC de K1ABC 599 599 k\n~")
    listen_for("G4ABC k")
    say("G4ABC 73 de K1ABC sk\n~")
