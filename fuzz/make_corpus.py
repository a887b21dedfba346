#!/usr/bin/env python3
"""Writes the seeds of the fuzz targets to fuzz/corpus: well-formed inputs of every kind, and the usual mistakes.

The seeds depend on nothing but this script; running it again changes no file.
"""
import json
import pathlib
import random
import shutil
import struct

CORPUS = pathlib.Path(__file__).resolve().parent / "corpus"
rng = random.Random(20)


def write(target, name, data):
    folder = CORPUS / target
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_bytes(data)


def noise(count):
    return bytes(rng.randrange(256) for _ in range(count))


def slot(datagram):
    return struct.pack("<H", len(datagram)) + datagram


# --- protocol 2 -----------------------------------------------------------------------------------------------
STATUS, WIDE, IQ0, IQ1, IQ2, IQ7, IQ15, MIC, P1034, P1051 = range(10)


def np_input(receivers, rate, gain, datagrams):
    return bytes([receivers, rate, gain]) + b"".join(bytes([port]) + slot(d) for port, d in datagrams)


def np_iq(sequence, records=None, timestamp=0):
    body = records if records is not None else noise(4) * 357
    return struct.pack(">IQHH", sequence, timestamp, 24, 238) + body[: 6 * 238]


def np_status(sequence, flags=0x10, overload=0):
    return struct.pack(">IBB", sequence, flags, overload) + bytes(54)


def np_wide(sequence, value):
    return struct.pack(">I", sequence) + struct.pack(">h", value) * 512


def protocol2():
    t = "protocol2"
    write(t, "empty", b"")
    write(t, "status", np_input(1, 0, 0, [(STATUS, np_status(i, overload=i & 1)) for i in range(4)]))
    for rate in range(6):
        write(t, f"iq_rate{rate}", np_input(1, rate, rate, [(IQ0, np_iq(i)) for i in range(3)]))
    write(t, "iq_receivers", np_input(8, 1, 31, [(p, np_iq(0)) for p in (IQ0, IQ1, IQ2, IQ7)]))
    write(t, "iq_gap", np_input(1, 0, 0, [(IQ0, np_iq(s)) for s in (0, 5, 0xFFFFFFFF, 0)]))
    write(t, "iq_absent", np_input(1, 0, 0, [(IQ15, np_iq(0)), (IQ7, np_iq(1))]))
    write(t, "iq_no_receiver", np_input(0, 0, 0, [(IQ0, np_iq(0))]))
    write(t, "iq_extremes", np_input(2, 5, 0, [(IQ1, np_iq(0, b"\x80\x00\x00\x7f\xff\xff" * 238))]))
    write(t, "iq_short", np_input(1, 0, 0, [(IQ0, np_iq(0)[:n]) for n in (0, 3, 16, 19, 1443)]))
    write(t, "iq_long", np_input(1, 0, 0, [(IQ0, np_iq(0) + noise(604))]))
    write(t, "wideband", np_input(1, 0, 0, [(WIDE, np_wide(i, 300 * i - 600)) for i in range(4)]))
    write(t, "wideband_extremes", np_input(1, 0, 20, [(WIDE, np_wide(3, -32768)), (WIDE, np_wide(7, 32767))]))
    # as many as a refresh of the peak needs, each cut behind its number
    write(t, "wideband_refresh", np_input(1, 0, 0, [(WIDE, struct.pack(">Ih", i, -i)) for i in range(204)]))
    write(t, "other_ports", np_input(1, 0, 0, [(p, noise(60)) for p in (MIC, P1034, P1051, 10, 11)]))
    write(t, "mixture", np_input(3, 2, 7, [(STATUS, np_status(0)), (MIC, bytes(132)), (IQ0, np_iq(0)),
                                           (WIDE, np_wide(0, 1)), (IQ2, np_iq(0)), (STATUS, np_status(1, 0x13, 255))]))


# --- protocol 1 -----------------------------------------------------------------------------------------------
def p1_frame(control, body=None):
    return b"\x7f\x7f\x7f" + bytes(control) + (body if body is not None else noise(8) * 63)[:504]


def p1_packet(sequence, endpoint=6, a=(0, 0, 0, 0, 73), b=(8, 4, 38, 0, 0), head=b"\xef\xfe\x01", body=None):
    return head + bytes([endpoint]) + struct.pack(">I", sequence) + p1_frame(a, body) + p1_frame(b, body)


def p1_input(receivers, switches, datagrams, step=100):
    return bytes([receivers - 1, switches]) + b"".join(struct.pack("<H", step) + slot(d) for d in datagrams)


def protocol1():
    t = "protocol1"
    write(t, "empty", b"")
    for receivers in (1, 2, 3, 4, 7, 12):
        write(t, f"receivers{receivers}", p1_input(receivers, receivers & 3, [p1_packet(i) for i in range(3)]))
    write(t, "keyed", p1_input(1, 4, [p1_packet(i, a=(0, 0, 0, 0xC0, 73)) for i in range(3)]))
    write(t, "telemetry", p1_input(1, 0, [p1_packet(i, a=(i << 3 | 5, 1, 0xFF, 0x80, 0x42)) for i in range(5)]))
    write(t, "acknowledgement", p1_input(1, 0, [p1_packet(0, a=(0xFA, 6, 0x1D, 0, 0), b=(0xFB, 7, 0x1D, 1, 2))]))
    write(t, "overload", p1_input(1, 16, [p1_packet(i, a=(0, 1, 0, 0, 73)) for i in range(4)]))
    write(t, "calibration", p1_input(1, 8, [p1_packet(i)[:20] for i in range(64)], step=131))
    write(t, "gap", p1_input(1, 0, [p1_packet(s) for s in (0, 9, 0xFFFFFFFF, 0)]))
    write(t, "blocks_due", p1_input(1, 0, [p1_packet(s)[:600] for s in (0, 1, 2, 0x7FFFFFFF, 0xFFFFFFFF)]))
    write(t, "second_board", p1_input(2, 0, [p1_packet(0).replace(b"\x7f\x7f\x7f", b"\x7f\x7f\x7e")]))
    write(t, "no_sync", p1_input(1, 0, [p1_packet(0).replace(b"\x7f\x7f\x7f", b"\x00\x00\x00")]))
    write(t, "wideband", p1_input(1, 0, [p1_packet(i, endpoint=4) for i in range(4)]))
    write(t, "other_endpoint", p1_input(1, 0, [p1_packet(0, endpoint=5), p1_packet(0, endpoint=255)]))
    write(t, "other_head", p1_input(1, 0, [p1_packet(0, head=b"\xef\xfe\x02"), p1_packet(0, head=b"\x00\xfe\x01")]))
    write(t, "short", p1_input(1, 0, [p1_packet(0)[:n] for n in (0, 1, 7, 8, 16, 519, 1031)]))
    write(t, "extremes", p1_input(1, 3, [p1_packet(0, body=b"\x80\x00\x00\x7f\xff\xff\x80\x00" * 63)]))


# --- discovery ------------------------------------------------------------------------------------------------
def discovery():
    t = "discovery"
    mac = bytes([0, 0x1C, 0xC0, 0xA2, 0, 1])
    reply = bytearray(b"\xef\xfe\x02" + mac + bytes([73, 6]) + bytes(49))
    reply[0x13:0x16] = bytes([4, 0x45, 2])
    write(t, "hermes_lite", bytes(reply))
    reply[2] = 3
    write(t, "running", bytes(reply))
    for board in (0, 1, 2, 4, 5, 10, 99, 255):
        reply[10] = board
        write(t, f"board{board}", bytes(reply))
    reply[0x13] = 255
    write(t, "many_receivers", bytes(reply))
    for length in (0, 3, 10, 11, 12, 59, 63):
        write(t, f"length{length}", bytes(reply)[:length].ljust(length, b"\0"))
    new = bytearray(60)
    new[4] = 2
    new[5:11] = mac
    new[11:14] = bytes([5, 39, 21])
    new[20] = 8
    write(t, "protocol2", bytes(new))
    new[4] = 3
    write(t, "protocol2_running", bytes(new))


# --- websocket proxy ------------------------------------------------------------------------------------------
def block(frequency=14095600.0, size=8209, kind=3, value=0.25):
    data = bytes([kind]) + bytes(4) + struct.pack("<d", frequency) + bytes(4) + struct.pack("<d", value) * 1024
    return data[:size].ljust(size, b"\0")


def wsproxy():
    t = "wsproxy"
    texts = {
        "response": {"cmd": "addReceiverResponse", "ID": 7},
        "negative": {"cmd": "addReceiverResponse", "ID": -1},
        "other": {"cmd": "status", "text": "hello", "list": [1, 2.5, None, True]},
        "no_id": {"cmd": "addReceiverResponse"},
        "no_cmd": {"ID": 1},
        "text_id": {"cmd": "addReceiverResponse", "ID": "12"},
        "large_id": {"cmd": "addReceiverResponse", "ID": 99999999999},
        "nested_cmd": {"cmd": {"cmd": "addReceiverResponse"}, "ID": [1]},
        "deep": json.loads("[" * 40 + "]" * 40),
    }
    for name, value in texts.items():
        write(t, f"text_{name}", b"\x01" + json.dumps(value).encode())
    raw = {"empty": b"", "no_json": b"hello", "open": b'{"cmd":"addReceiver', "too_deep": b"[" * 70,
           "escape": b'{"cmd":"\\u0061\\ud83d\\ude00\\n","ID":1}', "bad_escape": b'{"cmd":"\\uD800"}',
           "utf8": b'{"cmd":"\xff\xfe"}', "nul": b'{"cmd":"a\x00b"}', "number": b"-1.5e+308",
           "duplicate": b'{"cmd":"addReceiverResponse","cmd":"x","ID":1,"ID":2}'}
    for name, data in raw.items():
        write(t, f"text_{name}", b"\x01" + data)
    write(t, "block", b"\x00" + block())
    write(t, "block_nan", b"\x00" + block(frequency=float("nan"), value=float("nan")))
    write(t, "block_infinite", b"\x00" + block(frequency=float("-inf"), value=1e308))
    write(t, "block_kind", b"\x00" + block(kind=2))
    write(t, "block_short", b"\x00" + block(size=8208))
    write(t, "block_long", b"\x00" + block(size=8210))
    write(t, "block_tiny", b"\x00\x03")
    write(t, "block_empty", b"\x00")


# --- MultiPSK -------------------------------------------------------------------------------------------------
def multi_psk():
    t = "multi_psk"

    def packet(tag, rest=b""):
        return struct.pack("<I", len(tag) + len(rest)) + tag + rest

    source = (CORPUS.parent.parent / "modes/multi_psk/multi_psk_packets.cpp").read_text()
    tags = sorted({w for w in source.split('"') if len(w) == 8 and w.isalnum()})
    for tag in tags:
        write(t, f"tag_{tag.lower()}", packet(tag.encode(), struct.pack("<i", 14070000)))
        write(t, f"bare_{tag.lower()}", packet(tag.encode()))
    write(t, "all", b"".join(packet(tag.encode(), struct.pack("<i", -1)) for tag in tags))
    write(t, "unknown", packet(b"UNKNOWN!", noise(20)))
    write(t, "empty_body", struct.pack("<I", 0) * 3)
    write(t, "too_long", struct.pack("<I", 0x7FFFFFFF) + noise(300))
    write(t, "negative", struct.pack("<I", 0xFFFFFFFF) + noise(300))
    write(t, "limit", packet(b"x" * 128) + packet(b"x" * 129))
    write(t, "half", struct.pack("<I", 12) + b"half")


# --- WAV ------------------------------------------------------------------------------------------------------
def wav():
    t = "wav"

    def header(samples, rate=12000, channels=1, bits=16, form=1, riff=b"RIFF", wave=b"WAVE", fmt=b"fmt ", data=b"data",
               size=None):
        count = 2 * samples if size is None else size
        return (riff + struct.pack("<I", (36 + count) & 0xFFFFFFFF) + wave + fmt +
                struct.pack("<IHHIIHH", 16, form, channels, rate, rate * channels * bits // 8, channels * bits // 8, bits) +
                data + struct.pack("<I", count & 0xFFFFFFFF))

    write(t, "good", header(100) + noise(200))
    write(t, "full", header(4096) + noise(8192))
    write(t, "too_many", header(4097) + noise(600))
    write(t, "shorter_than_told", header(1000) + noise(31))
    write(t, "none", header(0))
    write(t, "negative", header(0, size=0xFFFFFFFE) + noise(10))
    write(t, "odd", header(0, size=7) + noise(7))
    write(t, "stereo", header(10, channels=2) + noise(40))
    write(t, "bits8", header(10, bits=8) + noise(10))
    write(t, "float", header(10, form=3) + noise(20))
    write(t, "rate0", header(10, rate=0) + noise(20))
    for i, name in enumerate(("riff", "wave", "fmt", "data")):
        write(t, f"no_{name}", header(10, **{name: b"XXXX"}) + noise(20))
    for length in (1, 43, 44, 45):
        write(t, f"length{length}", (header(10) + noise(20))[:length])


# --- scenes ---------------------------------------------------------------------------------------------------
def scene():
    t = "scene"
    demo = CORPUS.parent.parent / "sim/scenes/demo.json"
    write(t, "demo", demo.read_bytes())
    stations = [
        {"kind": "carrier", "name": "a", "frequency": 14201000, "level": -60},
        {"kind": "am", "frequency": 7200000, "snr": 20, "depth": 0.8, "source": {"tones": [700, 900.5]}},
        {"kind": "ssb", "frequency": 7100000, "level": -60, "sideband": "lsb", "source": "speech"},
        {"kind": "ssb", "frequency": 7100000, "level": -60, "source": {"wav": "voice.wav", "gap": 1, "shift": 2}},
        {"kind": "am", "frequency": 7200000, "level": -60, "source": {"melody": [440, 0, 660], "beat": 0.2}},
        {"kind": "cw", "frequency": 14030000, "level": -60, "text": "CQ TEST", "wpm": 25, "gap": 1, "jitter": 0.1},
        {"kind": "ft8", "frequency": 14074000, "snr": -10, "messages": ["CQ K1ABC FN42", "K1ABC W9XYZ -12"],
         "offset": 1200, "dt": 0.3, "slot": "even"},
        {"kind": "ft4", "frequency": 14080000, "snr": -10, "messages": ["CQ K1ABC FN42"], "slot": "odd"},
        {"kind": "rtty", "frequency": 14085000, "level": -60, "text": "RYRY", "shift": 170},
        {"kind": "psk", "frequency": 14070000, "level": -60, "text": "de K1ABC", "mode": "bpsk31", "offset": 1000},
        {"kind": "iq", "frequency": 14000000, "level": -60, "file": "iq.wav", "inverted": True},
    ]
    for i, one in enumerate(stations):
        write(t, f"station{i:02}", json.dumps({"stations": [one]}).encode())
    write(t, "all", json.dumps({
        "name": "all", "seed": 7, "noise_floor": -130, "adc1": {"gain_db": -3, "phase_deg": 45},
        "telemetry": {"temperature_c": 40, "current_ma": 500, "ain1": 100, "overload": [{"start": 1, "end": 2}],
                      "ptt": [{"start": 1}], "cw_key": []},
        "faults": ["loss:p=0.1", "stall:every=100,ms=5,drop=1"], "stations": stations}).encode())
    for name, text in {"empty": "", "null": "null", "list": "[]", "comment": "// x\n{}", "no_noise": '{"noise_floor":null}',
                       "unknown": '{"stationz":[]}', "wrong_type": '{"stations":{}}', "huge": '{"seed":1e999}',
                       "nan": '{"noise_floor":"NaN"}', "unknown_kind": '{"stations":[{"kind":"sstv"}]}',
                       "both": '{"stations":[{"kind":"carrier","frequency":1e6,"level":1,"snr":1}]}',
                       "deep": "[" * 300 + "]" * 300, "fault": '{"faults":["loss:p=2"]}'}.items():
        write(t, name, text.encode())


# --- neighbours -----------------------------------------------------------------------------------------------
def rigctl():
    t = "rigctl"
    gets = ["f", "m", "v", "t", "s", "i", "x", "l STRENGTH", "l ?", "_", "\\get_powerstat", "\\get_vfo_info VFOB", "\\dump_state",
            "\\chk_vfo", "\\get_lock_mode"]
    sets = ["F 14250000.000000", "M LSB 1800", "M ?", "V VFOB", "V ?", "T 1", "T 0", "S 1 VFOB", "I 14079000", "X PKTUSB 3000",
            "L AF 0.5", "\\set_vfo_opt 1"]
    lines = {"gets": gets, "sets": sets, "vfo": [f"{c} VFOB" for c in "fmtsix_"] + ["F VFOA 7000000", "M VFOB CW 0"],
             "extended": ["+" + c for c in gets + sets], "separators": [s + c for s in ";|,!" for c in ("f", "m", "M USB 0")],
             "wrong": ["F", "F abc", "F nan", "F 1e999", "M FOO 0", "T 9", "V X", "S 1", "l", "\\no_such", "zzz", "?", "+", "\\"],
             "opening": ["\\chk_vfo", "\\dump_state", "v", "f", "f", "s", "m", "\\get_powerstat", "f", "q"],
             "quiet": ["", "\r", "# comment", "f\r"]}
    for name, some in lines.items():
        write(t, name, "".join(line + "\n" for line in some).encode())
    write(t, "bytes", b"\x88\n\xf3 VFOA\n\xff\xfb\x1f\n+\x1b[2J\n")
    write(t, "longest", b"F " + b"0" * 1014 + b"14000000\n" + b"f" * 1025 + b"\nf\n")


def wsjtx():
    t = "wsjtx"

    def text(value):
        return struct.pack(">I", len(value)) + value

    def message(kind, body=b"", schema=2, name=b"ferrow"):
        return struct.pack(">III", 0xADBCCBDA, schema, kind) + text(name) + body

    reply = struct.pack(">IidI", 73545000, -13, 0.25, 1497) + text(b"~") + text(b"CQ K1ABC FN42")
    good = {"heartbeat": message(0, struct.pack(">I", 3) + text(b"1.0") + text(b"")), "heartbeat_bare": message(0),
            "clear": message(3), "clear_window": message(3, b"\2"), "reply": message(4, reply + b"\0\2"),
            "reply_older": message(4, reply), "close": message(6), "replay": message(7), "halt": message(8, b"\1"),
            "free_text": message(9, text(b"TNX 73") + b"\1"), "null_text": message(9, b"\xff" * 4 + b"\0")}
    for name, data in good.items():
        write(t, name, data)
    write(t, "schema3", message(8, b"\0", schema=3))
    write(t, "schema4", message(8, b"\0", schema=4))
    write(t, "other", message(8, b"\0", name=b"other"))
    write(t, "long_text", message(9, struct.pack(">I", 0xFFFFFFFE) + b"\1"))
    write(t, "late", message(4, struct.pack(">I", 86400000) + reply[4:]))
    write(t, "cut", message(4, reply)[:-3])
    write(t, "unknown", message(99, noise(9)))


def adif():
    t = "adif"
    header = b"Contacts made with ferrow\n<ADIF_VER:5>3.1.4 <PROGRAMID:6>ferrow <EOH>\n"
    record = b"<CALL:5>G4ABC <MODE:3>FT8 <COMMENT:7>a <EOR> <EOR>\n"
    write(t, "log", header + 2 * record)
    write(t, "header", header)
    write(t, "half_header", header[:40])
    for cut in (3, 20, 45, 52):
        write(t, f"cut{cut}", header + record + record[:cut])
    write(t, "headless", b"<call:5:s>K2DEF<eor>\r\n")
    write(t, "faults", header + b"<CALL:x>y <EOR><CALL:99>z<EOR>\n" + record)
    write(t, "letter", b"Dear <you>, 1 < 2 > 0")
# --- the server of the web page -----------------------------------------------------------------------------------
def http():
    t = "http"
    token = "0123456789abcdef"

    def request(target="/", method="GET", host="127.0.0.1:8073", fields=()):
        lines = [f"{method} {target} HTTP/1.1", f"Host: {host}", *fields]
        return ("\r\n".join(lines) + "\r\n\r\n").encode()

    upgrade = ("Connection: Upgrade", "Upgrade: websocket", "Sec-WebSocket-Version: 13",
               "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==")
    write(t, "empty", b"")
    write(t, "page", request())
    write(t, "file", request("/app.js?v=1"))
    write(t, "status", request("/status.json"))
    write(t, "token", request(f"/?x=1&token={token}", host="radio.example"))
    write(t, "wrong_token", request("/?token=0123456789abcde"))
    write(t, "cookie", request("/app.css", fields=[f"Cookie: a=b; ferrow_8073={token}"]))
    write(t, "socket", request("/ws", fields=upgrade))
    write(t, "origin", request("/ws", fields=(*upgrade, "Origin: http://127.0.0.1:8073")))
    write(t, "foreign", request("/ws", fields=(*upgrade, "Origin: http://evil.example")))
    write(t, "null_origin", request(fields=["Origin: null"]))
    write(t, "v6", request(host="[::1]:8073"))
    write(t, "odd_host", request(host="[::1"))
    write(t, "no_host", b"GET / HTTP/1.1\r\n\r\n")
    write(t, "old", b"GET / HTTP/1.0\r\n\r\n")
    write(t, "post", request(method="POST", fields=["Content-Length: 5"]) + b"hello")
    write(t, "chunked", request(method="POST", fields=["Transfer-Encoding: chunked"]) + b"5\r\nhello\r\n0\r\n\r\n")
    write(t, "both_lengths", request(fields=["Content-Length: 5", "Transfer-Encoding: chunked"]))
    write(t, "huge_length", request(fields=["Content-Length: 99999999999999999999"]))
    write(t, "paths", request("/../../etc/passwd"))
    write(t, "escaped", request("/%2e%2e/%00"))
    write(t, "folded", request(fields=["X: a", " b"]))
    write(t, "bare_lines", b"GET / HTTP/1.1\nHost: 127.0.0.1\n\n")
    write(t, "long", request(fields=["X: " + "x" * 8300]))
    write(t, "many", request(fields=[f"X{i}: y" for i in range(600)]))
    write(t, "nonsense", noise(200))


def serve_text():
    t = "serve_text"
    orders = [
        {"do": "add", "frequency": 14074000, "mode": "ft8"}, {"do": "remove", "id": 1},
        {"do": "set", "id": 1, "frequency": 7100000, "mode": "lsb", "low": -2800, "high": -200, "agc": "off", "gain": 30,
         "squelch": -90.5, "nr": 80, "volume": 0.25, "mute": True, "marker": 1200},
        {"do": "set", "id": 1, "squelch": None, "nr": None}, {"do": "set", "id": 1, "low": 300, "high": 200},
        {"do": "view", "id": 1, "zoom": 8, "offset": -1500.5, "bins": 512, "rate": 12.5},
        {"do": "view", "id": 1, "zoom": 3}, {"do": "audio", "format": "opus"}, {"do": "audio", "format": "mp3"},
        {"do": "ping", "t": 1790000000123}, {"do": "key", "id": 1, "on": True}, {"do": "tune", "id": 1, "on": False},
        {"do": "send", "id": 1, "text": "CQ \u00e4"}, {"do": "stop"},
        {"do": "ft8", "id": 1, "message": "CQ K1ABC FN42", "frequency": 1500, "parity": "even", "times": 3},
        {"do": "ft8", "id": 1, "message": "CQ K1ABC FN42", "parity": "third"},
        {"do": "log", "call": "K1ABC", "grid": "FN42", "sent": "-10", "received": "-05", "mode": "FT8", "frequency": 14074000},
        {"do": "nothing"}, {"do": 1}, {},
    ]
    for i, order in enumerate(orders):
        write(t, f"order{i:02}", json.dumps(order).encode())
    for name, text in {"empty_text": " ", "list": "[]", "cut": '{"do":"sto', "huge": '{"do":"ping","t":1e999}',
                       "big_id": '{"do":"remove","id":99999999999999999999}', "twice": '{"do":"stop","do":"ping"}',
                       "deep": '{"do":' + "[" * 500 + "]" * 500 + "}"}.items():
        write(t, name, text.encode())
    write(t, "bytes", b'{"do":"stop","x":"\xff\xfe"}')
    write(t, "sound", bytes([3, 1, 0, 0]) + struct.pack("<I", 7) + struct.pack("<4h", 0, 32767, -32768, 1))
    write(t, "odd_sound", bytes([3, 1, 0, 0]) + struct.pack("<I", 7) + b"\x01")
    write(t, "no_sound", bytes([3, 1]))


if __name__ == "__main__":
    shutil.rmtree(CORPUS, ignore_errors=True)
    for make in (protocol2, protocol1, discovery, wsproxy, multi_psk, wav, scene, rigctl, wsjtx, adif, http, serve_text):
        rng = random.Random(20)
        make()
    files = [p for p in CORPUS.rglob("*") if p.is_file()]
    print(f"{len(files)} files, {sum(p.stat().st_size for p in files)} bytes")
