// A server of synthetic signals that speaks the page's protocol: for tests that need a certain answer, and to work on the page
// without a radio. All noise and signals are made here; nothing of it says anything about the real server.
import { createServer, type Server } from "node:http";
import { createReadStream, existsSync } from "node:fs";
import { extname, join, normalize } from "node:path";
import { WebSocketServer, type WebSocket } from "ws";

export interface MockStation {
  frequency: number;
  /** dB over the noise. */
  strength: number;
  width?: number;
  /** Seconds on, seconds off. */
  keyed?: [number, number];
}

export interface MockOptions {
  page: string;
  port?: number;
  rate?: number;
  transmit?: boolean;
  stations?: MockStation[];
}

interface MockTransceiver {
  [key: string]: unknown;
  id: number;
  frequency: number;
  mode: string;
  low: number;
  high: number;
  zoom: number;
  offset: number;
  bins: number;
  frames: number;
  sequence: number;
  due: number;
}

const kModes = [
  ["usb", 200, 2800, "voice"], ["lsb", -2800, -200, "voice"], ["am", -4500, 4500, "voice"], ["fm", -6000, 6000, "voice"], ["cw", -250, 250, "cw"],
  ["ft8", 100, 3300, "slots"], ["ft4", 100, 3300, "slots"], ["psk31", 100, 3000, "psk"], ["psk63", 100, 3000, "psk"], ["rtty", 1000, 2200, "rtty"],
] as const;

const kTypes: Record<string, string> = { ".html": "text/html", ".js": "text/javascript", ".css": "text/css", ".svg": "image/svg+xml" };

const kDecodes = [
  "CQ K1ABC FN42", "W9XYZ PA9XYZ JO22", "DL1ABC W9XYZ -07", "W9XYZ DL1ABC R-12", "CQ DX F5XYZ JN18", "OH2XYZ JA1XYZ PM95", "JA1XYZ OH2XYZ +03",
  "EA4XYZ SP3ABC RR73", "SP3ABC EA4XYZ 73", "CQ TEST ZL1ABC RF72", "K1ABC KA1ABC R FN42",
];

export const kStations: MockStation[] = [
  { frequency: 14_030_000, strength: 42, width: 60, keyed: [0.5, 0.3] }, { frequency: 14_036_500, strength: 34, width: 60, keyed: [0.3, 0.2] },
  { frequency: 14_100_000, strength: 46 }, { frequency: 14_150_000, strength: 36 }, { frequency: 14_201_400, strength: 38, width: 2400, keyed: [1.7, 0.6] },
  { frequency: 14_250_000, strength: 30 }, ...kDecodes.map((_, i) => ({ frequency: 14_074_350 + 210 * i, strength: 18 + ((i * 7) % 14), width: 50, keyed: [12.6, 2.4] as [number, number] })),
  { frequency: 7_150_000 - 1400, strength: 34, width: 2400, keyed: [2, 0.5] }, { frequency: 7_215_000, strength: 50, width: 7000 }, { frequency: 7_050_000, strength: 30 },
];

export class MockServer {
  received: Record<string, unknown>[] = [];
  private readonly http: Server;
  private readonly sockets: WebSocketServer;
  private readonly timers = new Map<WebSocket, NodeJS.Timeout>();
  private nextId = 1;
  private nextListener = 1;

  constructor(private readonly options: MockOptions) {
    this.http = createServer((request, response) => {
      const path = (request.url ?? "/").split("?")[0] ?? "/";
      const file = join(options.page, normalize(path === "/" ? "/index.html" : path));
      if (!file.startsWith(options.page) || !existsSync(file)) {
        response.writeHead(404).end();
        return;
      }
      response.writeHead(200, {
        "content-type": kTypes[extname(file)] ?? "application/octet-stream",
        "content-security-policy": "default-src 'self'; connect-src 'self'; style-src 'self'; img-src 'self' data: blob:",
      });
      createReadStream(file).pipe(response);
    });
    this.sockets = new WebSocketServer({ server: this.http, path: "/ws" });
    this.sockets.on("connection", (socket) => this.serve(socket));
  }

  async start(): Promise<string> {
    await new Promise<void>((resolve) => this.http.listen(this.options.port ?? 0, "127.0.0.1", resolve));
    const address = this.http.address();
    return `http://127.0.0.1:${typeof address === "object" && address ? address.port : 0}/`;
  }

  async stop(): Promise<void> {
    for (const socket of this.sockets.clients) socket.terminate();
    for (const timer of this.timers.values()) clearInterval(timer);
    this.sockets.close();
    await new Promise((resolve) => this.http.close(resolve));
  }

  /** To every page. */
  say(message: object): void {
    for (const socket of this.sockets.clients) socket.send(JSON.stringify(message));
  }

  private serve(socket: WebSocket): void {
    const mine = new Map<number, MockTransceiver>();
    const say = (message: object): void => socket.send(JSON.stringify(message));
    let audio = false;
    let slot = -1;
    let meter = 0;
    let audioSent = Date.now();
    let audioSequence = 0;
    let phase = 0;
    say({
      is: "hello", version: "0.0-mock", listener: this.nextListener++,
      radio: { name: "Hermes-Lite 2 (mock)", url: "hpsdr://127.0.0.1", rate: this.rate },
      modes: kModes.map(([name, low, high, family]) => ({ name, low, high, family })),
      transmit: { allowed: this.options.transmit ?? false, keyed: false, owner: null, mine: false },
      audio: { formats: ["pcm"], rate: 24000 }, time: Date.now(),
    });
    const state = (one: MockTransceiver): object => {
      const { zoom: _z, offset: _o, bins: _b, frames: _f, sequence: _s, due: _d, ...rest } = one;
      return { is: "transceiver", ...rest };
    };
    socket.on("message", (data: Buffer, binary) => {
      if (binary) return;
      const order = JSON.parse(data.toString()) as Record<string, unknown>;
      this.received.push(order);
      const one = mine.get(Number(order.id));
      if (order.do === "ping") say({ is: "pong", t: order.t, server: Date.now() });
      else if (order.do === "add") {
        const mode = kModes.find(([name]) => name === order.mode) ?? kModes[0];
        const made: MockTransceiver = {
          id: this.nextId++, frequency: Number(order.frequency), mode: mode[0], low: mode[1], high: mode[2], agc: "medium", gain: 0, squelch: null,
          nr: null, volume: 0.5, mute: false, marker: mode[3] === "psk" || mode[3] === "rtty" ? 1500 : null, valid: true, zoom: 1, offset: 0, bins: 1024, frames: 0, sequence: 0, due: 0,
        };
        mine.set(made.id, made);
        say(state(made));
      } else if (order.do === "audio") audio = order.format !== "off";
      else if (!one) say({ is: "error", about: order.do, text: "No such transceiver." });
      else if (order.do === "set") {
        const { do: _do, id: _id, ...fields } = order;
        if (fields.mode !== undefined && fields.mode !== one.mode) {
          const mode = kModes.find(([name]) => name === fields.mode) ?? kModes[0];
          Object.assign(one, { low: mode[1], high: mode[2], marker: mode[3] === "psk" || mode[3] === "rtty" ? 1500 : null });
        }
        Object.assign(one, fields);
        say(state(one));
      } else if (order.do === "view") Object.assign(one, { zoom: order.zoom, offset: order.offset, bins: order.bins, frames: order.rate });
      else if (order.do === "remove") {
        mine.delete(one.id);
        say({ is: "removed", id: one.id });
      } else if (order.do === "key" || order.do === "ft8" || order.do === "send" || order.do === "tune") {
        const on = order.on !== false;
        this.say({ is: "transmit", allowed: true, keyed: on, owner: on ? 1 : null, mine: on, forward: 4.8, swr: 1.3 });
      } else if (order.do === "stop") this.say({ is: "transmit", allowed: true, keyed: false, owner: null, mine: false });
    });
    const timer = setInterval(() => {
      const now = Date.now();
      for (const one of mine.values()) {
        if (one.frames > 0 && now >= one.due) {
          one.due = Math.max(now - 50, one.due) + 1000 / one.frames;
          socket.send(this.spectrum(one));
        }
      }
      if (now - meter > 100) {
        meter = now;
        for (const one of mine.values()) say({ is: "meter", id: one.id, strength: -86 + 9 * Math.sin(now / 900) + 4 * Math.random(), open: true });
      }
      const present = Math.floor(now / 15000);
      if (slot !== present) {
        if (slot >= 0) for (const one of mine.values()) if (one.mode === "ft8") say(decodes(one.id, slot));
        slot = present;
      }
      for (; now - audioSent > 10.67; audioSent += 256 / 24) {
        if (!audio) continue;
        for (const one of mine.values()) {
          if (one.mute) continue;
          socket.send(tone(one.id, audioSequence, audioSent + 256 / 24, (phase += 256)));
        }
        ++audioSequence;
      }
    }, 5);
    this.timers.set(socket, timer);
    socket.on("close", () => clearInterval(timer));
  }

  private get rate(): number {
    return this.options.rate ?? 384000;
  }

  private spectrum(one: MockTransceiver): Buffer {
    const { bins } = one;
    const out = Buffer.alloc(32 + bins);
    const centre = one.frequency + one.offset;
    const span = this.rate / one.zoom;
    const low = centre - span / 2;
    out.writeUInt8(1, 0);
    out.writeUInt8(one.id, 1);
    out.writeUInt16LE(bins, 2);
    out.writeUInt32LE(one.sequence++, 4);
    out.writeDoubleLE(low, 8);
    out.writeDoubleLE(centre + span / 2, 16);
    out.writeFloatLE(-150, 24);
    out.writeFloatLE(0.5, 28);
    const noise = -118 - 10 * Math.log10(one.zoom);
    for (let k = 0; k < bins; ++k) out[32 + k] = level(noise + 4 * Math.log10(Math.random() + 1e-3) + 3 * Math.random());
    const seconds = Date.now() / 1000;
    for (const station of this.options.stations ?? kStations) {
      const [on, off] = station.keyed ?? [1, 0];
      if (seconds % (on + off) > on) continue;
      const width = station.width ?? 0;
      const from = Math.floor(((station.frequency - width / 2 - low) / span) * bins);
      const to = Math.max(from, Math.floor(((station.frequency + width / 2 - low) / span) * bins));
      for (let k = Math.max(0, from); k <= Math.min(bins - 1, to); ++k)
        out[32 + k] = level(-118 + station.strength + (width > 100 ? 14 * Math.log10(Math.random() + 0.01) : 0));
    }
    return out;
  }
}

const level = (decibel: number): number => Math.max(0, Math.min(255, Math.round((decibel + 150) * 2)));

function decodes(id: number, slot: number): object {
  const at = new Date(slot * 15000).toISOString();
  const time = at.slice(11, 19).replaceAll(":", "");
  const lines = kDecodes.map((text, i) => ({ time, snr: ((i * 11) % 26) - 18, dt: 0.1 * ((i % 5) - 2), frequency: 350 + 210 * i, text }));
  return { is: "decodes", id, mode: "ft8", slot: `${at.slice(0, 19)}Z`, lines };
}

function tone(id: number, sequence: number, time: number, phase: number): Buffer {
  const out = Buffer.alloc(20 + 512);
  out.writeUInt8(2, 0);
  out.writeUInt8(id, 1);
  out.writeUInt32LE(sequence, 4);
  out.writeDoubleLE(time, 8);
  out.writeUInt32LE(24000, 16);
  for (let i = 0; i < 256; ++i) out.writeInt16LE(Math.round(6000 * Math.sin((2 * Math.PI * 1000 * (phase + i)) / 24000)), 20 + 2 * i);
  return out;
}
