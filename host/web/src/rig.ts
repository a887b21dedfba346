// The page's transceivers and the server: what the operator does goes out, what the server says comes in and is spread as
// events. After a lost connection everything is asked for again as it was.
import { AudioPlayer } from "./audio";
import { bandAt, usualMode } from "./bands";
import { Connection, type LinkState } from "./connection";
import { Emitter } from "./emitter";
import type { AudioPacket, ClientMessage, Hello, ModeInfo, ServerMessage, Settings, SpectrumFrame, Transmit, TransceiverState } from "./protocol";
import { loadPreferences, loadTransceivers, store, type Preferences, type SavedTransceiver } from "./settings";
import { Transceiver } from "./transceiver";
import { clampTo, follow, serverBins, serverZoom, type View } from "./view";

export interface RigEvents {
  link: LinkState;
  hello: Hello;
  /** A transceiver came or went. */
  list: null;
  /** Another one is the chosen one. */
  active: Transceiver | null;
  /** The state of one changed. */
  state: Transceiver;
  view: Transceiver;
  decodes: Transceiver;
  text: Transceiver;
  transmit: Transmit;
  sent: { transceiver: Transceiver; text: string };
  notice: { kind: "error" | "info"; text: string };
  preferences: Preferences;
}

const kMostTransceivers = 4;
const kUnset: Omit<TransceiverState, "id" | "frequency" | "mode"> = {
  low: 200, high: 2800, agc: "medium", gain: 0, squelch: null, nr: null, volume: 0.5, mute: false, marker: null, valid: true,
};

/** What is set again on a transceiver that was asked for anew: all but what "add" has said. */
function restorable(state: Settings): Settings {
  const { low, high, agc, gain, squelch, nr, volume, mute, marker } = state;
  const all = { low, high, agc, gain, squelch, nr, volume, mute, marker: marker ?? undefined };
  return Object.fromEntries(Object.entries(all).filter(([, value]) => value !== undefined));
}

export class Rig extends Emitter<RigEvents> {
  readonly transceivers: Transceiver[] = [];
  readonly connection: Connection;
  readonly audio: AudioPlayer;
  preferences = loadPreferences();
  active: Transceiver | null = null;
  hello: Hello | null = null;
  transmit: Transmit = { allowed: false, keyed: false, owner: null, mine: false };
  gaps = 0;
  private nextKey = 1;
  private adding: Transceiver[] = [];
  private readonly pixels = new Map<Transceiver, number>();
  private readonly unsent = new Map<Transceiver, Settings>();
  private readonly unseen = new Set<Transceiver>();
  private readonly lastView = new Map<Transceiver, string>();
  private flushTimer = 0;
  private saveTimer = 0;

  constructor(url: string) {
    super();
    this.connection = new Connection(url, {
      onState: (state) => this.linkChanged(state),
      onMessage: (message) => this.take(message),
      onSpectrum: (frame) => this.takeSpectrum(frame),
      onAudio: (packet) => this.takeAudio(packet),
    });
    this.audio = new AudioPlayer(
      () => this.connection.clock.offset,
      () => {
        this.prefer({ format: "pcm" });
        this.emit("notice", { kind: "info", text: "This browser is too slow for Opus now; audio comes as PCM." });
      },
    );
    for (const saved of loadTransceivers()) this.revive(saved);
    this.active = this.transceivers[0] ?? null;
    window.setInterval(() => this.settle(), 200);
  }

  get modes(): ModeInfo[] {
    return this.hello?.modes ?? [];
  }

  modeOf(name: string): ModeInfo | null {
    return this.modes.find((one) => one.name === name) ?? null;
  }

  get rate(): number {
    return this.hello?.radio.rate ?? 192000;
  }

  private get most(): number {
    return this.hello?.limits?.transceivers ?? kMostTransceivers;
  }

  get full(): boolean {
    return this.transceivers.length >= this.most;
  }

  add(frequency: number, mode: string, span?: number): void {
    if (this.full) {
      this.emit("notice", { kind: "info", text: `There are ${this.most} transceivers already.` });
      return;
    }
    const info = this.modeOf(mode);
    const state = { ...kUnset, low: info?.low ?? kUnset.low, high: info?.high ?? kUnset.high, id: 0, frequency, mode };
    const added = new Transceiver(this.nextKey++, state, span ?? Math.min(this.rate, 48000), 0);
    this.transceivers.push(added);
    this.choose(added);
    this.emit("list", null);
    this.request(added);
    this.save();
  }

  remove(one: Transceiver): void {
    if (one.id !== null) {
      this.connection.send({ do: "remove", id: one.id });
      this.audio.drop(one.id);
    }
    this.forget(one);
  }

  choose(one: Transceiver | null): void {
    if (this.active === one) return;
    this.active = one;
    this.emit("active", one);
  }

  set(one: Transceiver, fields: Settings): void {
    one.wish(fields, performance.now());
    this.unsent.set(one, { ...this.unsent.get(one), ...fields });
    if (fields.frequency !== undefined) this.unseen.add(one);
    this.flushSoon();
    this.emit("state", one);
    this.save();
  }

  /** Tunes; the picture follows if the dial would leave it. */
  tune(one: Transceiver, frequency: number, recentre = false): void {
    const band = bandAt(frequency);
    this.set(one, { frequency: Math.round(frequency) });
    const view = recentre ? { centre: frequency, span: one.view.span } : follow(one.view, frequency);
    this.look(one, view);
    if (band) store(`band.${band.name}`, { frequency, mode: one.state.mode });
  }

  /** Another mode, with the filter that is usual for it. */
  setMode(one: Transceiver, mode: string): void {
    const info = this.modeOf(mode);
    this.set(one, info ? { mode, low: info.low, high: info.high } : { mode });
    one.labels = [];
  }

  goto(one: Transceiver, frequency: number, mode: string): void {
    if (mode !== one.state.mode) this.setMode(one, mode);
    this.tune(one, frequency, Math.abs(frequency - one.view.centre) > one.view.span / 2);
  }

  gotoUsual(one: Transceiver, frequency: number): void {
    this.goto(one, frequency, usualMode(frequency));
  }

  look(one: Transceiver, view: View): void {
    one.view = clampTo(view, { centre: one.state.frequency, width: this.rate });
    this.unseen.add(one);
    this.flushSoon();
    this.emit("view", one);
    this.save();
  }

  /** Width of the picture in pixels, which tells how many bins are worth asking for. */
  setPixels(one: Transceiver, pixels: number): void {
    if (this.pixels.get(one) === pixels) return;
    this.pixels.set(one, pixels);
    this.unseen.add(one);
    this.flushSoon();
  }

  prefer(fields: Partial<Preferences>): void {
    const before = this.preferences;
    this.preferences = { ...before, ...fields };
    store("preferences", this.preferences);
    if (fields.rate !== undefined && fields.rate !== before.rate) {
      for (const one of this.transceivers) this.unseen.add(one);
      this.flushSoon();
    }
    if (fields.volume !== undefined || fields.muted !== undefined) this.audio.setVolume(this.preferences.volume, this.preferences.muted);
    if (fields.format !== undefined && fields.format !== before.format) this.askAudio();
    this.emit("preferences", this.preferences);
  }

  async listen(on: boolean): Promise<void> {
    this.prefer({ listening: on });
    this.audio.setVolume(this.preferences.volume, this.preferences.muted);
    if (on) await this.audio.start(this.hello?.audio.rate ?? 24000);
    else await this.audio.stop();
    this.askAudio();
    this.emit("preferences", this.preferences);
  }

  send(message: ClientMessage): boolean {
    return this.connection.send(message);
  }

  private askAudio(): void {
    this.audio.clear();
    const on = this.preferences.listening && this.audio.running;
    this.send({ do: "audio", format: on ? this.preferences.format : "off" });
  }

  private revive(saved: SavedTransceiver): void {
    const state = { ...kUnset, ...saved.state, id: 0, valid: true };
    const one = new Transceiver(this.nextKey++, state, saved.span, saved.offset);
    one.restore = restorable(saved.state);
    this.transceivers.push(one);
  }

  private linkChanged(state: LinkState): void {
    if (state === "lost") {
      for (const one of this.transceivers) {
        if (one.id !== null) one.restore = restorable(one.state);
        one.id = null;
      }
      this.adding = [];
      this.lastView.clear();
      this.audio.clear();
      this.transmit = { ...this.transmit, keyed: false, mine: false };
      this.emit("transmit", this.transmit);
    }
    this.emit("link", state);
  }

  private request(one: Transceiver): void {
    if (!this.hello || this.connection.state !== "open") return;
    this.adding.push(one);
    this.send({ do: "add", frequency: one.state.frequency, mode: one.state.mode });
  }

  private greeted(hello: Hello): void {
    this.hello = hello;
    this.transmit = hello.transmit;
    this.emit("hello", hello);
    this.emit("transmit", hello.transmit);
    if (this.transceivers.length === 0) {
      const { low, high } = hello.radio;
      const start = low !== undefined && high !== undefined && (14074000 < low || 14074000 > high) ? Math.round((low + high) / 2000) * 1000 : 14074000;
      this.add(start, start === 14074000 ? "ft8" : usualMode(start));
    } else {
      for (const one of this.transceivers) this.request(one);
    }
    this.askAudio();
  }

  private take(message: ServerMessage): void {
    switch (message.is) {
      case "hello":
        this.greeted(message);
        break;
      case "transceiver":
        this.takeState(message);
        break;
      case "removed": {
        const gone = this.byId(message.id);
        if (gone) this.forget(gone);
        break;
      }
      case "meter": {
        const one = this.byId(message.id);
        if (one) {
          one.strength = message.strength;
          one.open = message.open;
        }
        break;
      }
      case "decodes": {
        const one = this.byId(message.id);
        one?.addDecodes(message.lines, message.mode, message.slot);
        if (one) this.emit("decodes", one);
        break;
      }
      case "text": {
        const one = this.byId(message.id);
        one?.addText(message.frequency, message.mode, message.text, false);
        if (one) this.emit("text", one);
        break;
      }
      case "sent": {
        const one = this.byId(message.id);
        one?.addText(one.state.marker ?? 0, one.state.mode, message.text, true);
        if (one) {
          this.emit("text", one);
          this.emit("sent", { transceiver: one, text: message.text });
        }
        break;
      }
      case "labels": {
        const one = this.byId(message.id);
        if (one) one.labels = message.labels;
        break;
      }
      case "transmit":
        this.transmit = message;
        this.emit("transmit", message);
        break;
      case "gap":
        this.gaps = message.count;
        break;
      case "logged":
        this.emit("notice", { kind: "info", text: `Logged ${message.call}.` });
        break;
      case "radio":
        this.emit("notice", { kind: message.ok ? "info" : "error", text: message.text });
        break;
      case "error":
        if (message.about === "add") this.refused();
        this.emit("notice", { kind: "error", text: message.text });
        break;
      case "pong":
        break;
    }
  }

  private refused(): void {
    const one = this.adding.shift();
    if (one) this.forget(one);
  }

  private takeState(state: TransceiverState & { is: string }): void {
    const { is: _is, ...plain } = state;
    const known = this.byId(plain.id);
    if (known) {
      known.hear(plain);
      if (known.settle(performance.now())) this.emit("state", known);
      return;
    }
    const one = this.adding.shift();
    if (!one) return;
    one.id = plain.id;
    one.hear(plain);
    // What was set before the connection was lost, or before this answer came, is set again.
    const again = { ...one.restore, ...this.unsent.get(one) };
    one.restore = null;
    if (Object.keys(again).length > 0) this.unsent.set(one, again);
    one.wish(again, performance.now());
    one.settle(performance.now());
    this.unseen.add(one);
    this.flush();
    this.emit("state", one);
  }

  private takeSpectrum(frame: SpectrumFrame): void {
    const { smoothing, perLine, rate } = this.preferences;
    this.byId(frame.id)?.addSpectrum(frame, smoothing, perLine, rate);
  }

  private takeAudio(packet: AudioPacket): void {
    if (this.byId(packet.id)) this.audio.push(packet);
  }

  private byId(id: number): Transceiver | null {
    return this.transceivers.find((one) => one.id === id) ?? null;
  }

  private forget(one: Transceiver): void {
    const at = this.transceivers.indexOf(one);
    if (at < 0) return;
    this.transceivers.splice(at, 1);
    for (const map of [this.pixels, this.unsent, this.lastView]) map.delete(one);
    this.unseen.delete(one);
    if (this.active === one) this.choose(this.transceivers[Math.max(0, at - 1)] ?? null);
    this.emit("list", null);
    this.save();
  }

  private settle(): void {
    for (const one of this.transceivers) if (one.id !== null && one.settle(performance.now())) this.emit("state", one);
  }

  // Dragging makes more changes than the server needs to hear of.
  private flushSoon(): void {
    this.flushTimer ||= window.setTimeout(() => this.flush(), 30);
  }

  private flush(): void {
    clearTimeout(this.flushTimer);
    this.flushTimer = 0;
    for (const [one, fields] of this.unsent) if (one.id !== null && this.send({ do: "set", id: one.id, ...fields })) this.unsent.delete(one);
    for (const one of this.unseen) this.sendView(one);
    this.unseen.clear();
  }

  private sendView(one: Transceiver): void {
    if (one.id === null) return;
    const zoom = serverZoom(one.view, this.rate);
    const bins = serverBins(one.view, this.rate, zoom, this.pixels.get(one) ?? 800);
    const message = { do: "view", id: one.id, zoom, offset: Math.round(one.view.centre - one.state.frequency), bins, rate: this.preferences.rate } as const;
    const text = JSON.stringify(message);
    if (this.lastView.get(one) !== text && this.send(message)) this.lastView.set(one, text);
  }

  private save(): void {
    this.saveTimer ||= window.setTimeout(() => {
      this.saveTimer = 0;
      store("transceivers", this.transceivers.map((one) => one.save()));
    }, 500);
  }
}
