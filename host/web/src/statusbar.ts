// The line at the bottom: connection, what arrives, what is drawn, how late the sound is.
import { h } from "./dom";
import type { Rig } from "./rig";

export interface Figures {
  /** Spectra a second, of the chosen transceiver: received and put on the screen. */
  received: number;
  drawn: number;
  /** ms from the library to the loudspeaker, null while nothing plays. */
  latency: number | null;
  /** ms there and back. */
  trip: number | null;
  kilobits: number;
  painter: string;
}

export class StatusBar {
  readonly element: HTMLElement;
  figures: Figures = { received: 0, drawn: 0, latency: null, trip: null, kilobits: 0, painter: "" };
  private readonly link = h("span", { class: "link", role: "status" });
  private readonly spectra = h("span", { title: "Spectra received and drawn in a second" });
  private readonly sound = h("span", { title: "From the library to the loudspeaker" });
  private readonly network = h("span", { title: "Round trip, and what arrives" });
  private readonly gaps = h("span", { class: "warn" });
  private readonly version = h("span", { class: "version" });
  private readonly clock = h("time", { class: "utc" });
  private before = { at: performance.now(), received: 0, drawn: 0, bytes: 0, key: -1 };

  constructor(private readonly rig: Rig, private readonly painterOf: () => string) {
    this.element = h("footer", { class: "statusbar" }, this.link, this.spectra, this.sound, this.network, this.gaps, h("span", { class: "grow" }), this.version, this.clock);
    rig.on("hello", (hello) => (this.version.textContent = `ferrow ${hello.version}`));
    rig.on("link", () => this.update());
    window.setInterval(() => this.measure(), 1000);
    this.update();
  }

  private measure(): void {
    const now = performance.now();
    const one = this.rig.active;
    const { before } = this;
    const seconds = (now - before.at) / 1000;
    const present = { at: now, received: one?.received ?? 0, drawn: one?.drawn ?? 0, bytes: this.rig.connection.bytes, key: one?.key ?? -1 };
    const same = present.key === before.key;
    this.figures = {
      received: same ? (present.received - before.received) / seconds : 0,
      drawn: same ? (present.drawn - before.drawn) / seconds : 0,
      latency: this.rig.audio.latency,
      trip: this.rig.connection.clock.trip,
      kilobits: ((present.bytes - before.bytes) * 8) / 1000 / seconds,
      painter: this.painterOf(),
    };
    this.before = present;
    this.update();
  }

  private update(): void {
    const { state } = this.rig.connection;
    this.link.textContent = { connecting: "Connecting …", open: "Connected", lost: "Connection lost, trying again" }[state];
    this.link.dataset.state = state;
    const { received, drawn, latency, trip, kilobits } = this.figures;
    this.spectra.textContent = `${received.toFixed(0)} / ${drawn.toFixed(0)} frames/s`;
    this.sound.textContent = latency === null ? "no audio" : `audio ${latency.toFixed(0)} ms`;
    this.network.textContent = trip === null ? "" : `${trip.toFixed(trip < 10 ? 1 : 0)} ms, ${kilobits.toFixed(0)} kbit/s`;
    this.gaps.textContent = this.rig.gaps > 0 ? `${this.rig.gaps} gaps` : "";
    this.clock.textContent = `${new Date(Date.now() + (this.rig.connection.clock.offset ?? 0)).toISOString().slice(11, 19)} UTC`;
  }
}
