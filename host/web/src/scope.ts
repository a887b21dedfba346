// The picture of one transceiver: trace, scale with band plan, waterfall, and on top of them the dial, the passband with edges to
// drag, and labels of what is read.
import { drawAxis } from "./axis_painter";
import { colourMap, palette } from "./colours";
import { h } from "./dom";
import { formatFrequency, snap } from "./frequency";
import { attachGestures, type Grip } from "./gestures";
import type { Rig } from "./rig";
import { TracePainter } from "./trace_painter";
import type { Transceiver } from "./transceiver";
import { audioToHz, clickStep, hasMarker, snapToPeak, tuningOfClick } from "./tuning";
import { highOf, hzAt, lowOf, pan, xOf, zoomAround } from "./view";
import { makeWaterfall, type WaterfallPainter } from "./waterfall";
import { ScopeLabels } from "./scope_labels";

export class Scope {
  readonly element: HTMLElement;
  private readonly traceCanvas = h("canvas", { class: "trace", "aria-hidden": "true" });
  private readonly axisCanvas = h("canvas", { class: "axis", "aria-hidden": "true" });
  private fallCanvas = h("canvas", { class: "fall", role: "img", "aria-label": "Waterfall" });
  private readonly trace = new TracePainter(this.traceCanvas);
  private fall: WaterfallPainter;
  private readonly passband = h("div", { class: "passband" });
  private readonly edges = {
    low: h("div", { class: "edge", "data-grip": "low", title: "Drag: lower edge of the filter" }),
    high: h("div", { class: "edge", "data-grip": "high", title: "Drag: upper edge of the filter" }),
  };
  private readonly dialLine = h("div", { class: "dial-line" });
  private readonly marker = h("div", { class: "marker-line", hidden: true });
  private readonly cursor = h("div", { class: "cursor", hidden: true }, h("span", {}));
  private readonly labels: ScopeLabels;
  private readonly observer: ResizeObserver;
  private width = 1;
  private dirty = true;
  private seen = -1;
  private dragHz = 0;

  constructor(private readonly rig: Rig, private readonly one: Transceiver) {
    this.labels = new ScopeLabels(rig, one);
    this.element = h(
      "div",
      { class: "scope" },
      this.traceCanvas, this.axisCanvas, this.fallCanvas,
      this.passband, this.dialLine, this.marker, this.edges.low, this.edges.high, this.labels.element, this.cursor,
    );
    this.passband.dataset.grip = "passband";
    this.fall = this.makeFall();
    attachGestures(this.element, (target) => ((target as HTMLElement).dataset.grip as Grip | undefined) ?? "picture", {
      click: (x) => this.click(x),
      drag: (grip, dx) => this.drag(grip, dx),
      dragEnd: () => (this.dragHz = 0),
      zoom: (x, factor) => rig.look(one, zoomAround(one.view, x, this.width, factor, rig.rate)),
      hover: (x) => this.hover(x),
    });
    this.observer = new ResizeObserver(() => this.resize());
    this.observer.observe(this.element);
  }

  get painter(): string {
    return this.fall.kind;
  }

  release(): void {
    this.observer.disconnect();
    this.fall.release();
  }

  /** Something but the spectra changed: dial, filter, view, colours. */
  changed(): void {
    this.dirty = true;
  }

  /** The colours or the way of drawing changed. */
  restyle(drawing: boolean): void {
    if (drawing) {
      const fresh = h("canvas", { class: "fall", role: "img", "aria-label": "Waterfall" });
      this.fall.release();
      this.fallCanvas.replaceWith(fresh);
      this.fallCanvas = fresh;
      this.fall = this.makeFall();
      this.resize();
    }
    this.fall.setPalette(palette(colourMap(this.rig.preferences.colours)));
    this.dirty = true;
  }

  /** Called with each picture of the screen; true if a new spectrum was drawn. */
  draw(): boolean {
    const { one } = this;
    const fresh = one.received !== this.seen;
    if (!fresh && !this.dirty) return false;
    const { preferences } = this.rig;
    const range = one.range(preferences.autoLevel, preferences.floor, preferences.top);
    this.trace.draw(one, range, preferences.trace, this.scale);
    this.fall.draw(one.view, range);
    if (this.dirty) {
      drawAxis(this.axisCanvas, one.view, this.scale);
      this.placeMarks();
    }
    this.labels.draw(this.width, this.dirty);
    this.dirty = false;
    if (fresh) one.drawn += 1;
    this.seen = one.received;
    return fresh;
  }

  private makeFall(): WaterfallPainter {
    const made = makeWaterfall(this.fallCanvas, this.one.history, this.rig.preferences.drawing);
    made.setPalette(palette(colourMap(this.rig.preferences.colours)));
    this.fallCanvas.addEventListener("waterfall-restored", () => this.restyle(true));
    return made;
  }

  private get scale(): number {
    return Math.min(2, window.devicePixelRatio || 1);
  }

  private resize(): void {
    this.width = Math.max(1, this.element.clientWidth);
    const { scale } = this;
    const size = (canvas: HTMLCanvasElement): [number, number] => [Math.round(canvas.clientWidth * scale), Math.round(canvas.clientHeight * scale)];
    this.trace.resize(...size(this.traceCanvas));
    this.fall.resize(...size(this.fallCanvas));
    [this.axisCanvas.width, this.axisCanvas.height] = size(this.axisCanvas);
    this.rig.setPixels(this.one, Math.round(this.width * scale));
    this.dirty = true;
    this.draw();
  }

  private get family(): string {
    return this.rig.modeOf(this.one.state.mode)?.family ?? "voice";
  }

  private placeMarks(): void {
    const { state, view } = this.one;
    const x = (hz: number): number => Math.min(this.width + 50, Math.max(-50, xOf(view, hz, this.width)));
    const low = x(state.frequency + state.low);
    const high = x(state.frequency + state.high);
    this.passband.style.left = `${low}px`;
    this.passband.style.width = `${Math.max(1, high - low)}px`;
    this.edges.low.style.left = `${low}px`;
    this.edges.high.style.left = `${high}px`;
    this.dialLine.style.left = `${x(state.frequency)}px`;
    const marked = hasMarker(this.family) && state.marker !== null;
    this.marker.hidden = !marked;
    if (marked) this.marker.style.left = `${x(audioToHz(state, this.family, state.marker as number))}px`;
  }

  private click(x: number): void {
    const { one, rig } = this;
    const { family } = this;
    let hz = hzAt(one.view, x, this.width);
    rig.choose(one);
    const perPixel = one.view.span / this.width;
    const { frame } = one;
    if (frame && (family === "cw" || family === "psk" || one.state.mode === "am"))
      hz = snapToPeak(hz, Math.max(40, 6 * perPixel), one.spectrum, frame.values.length, frame.low, frame.high);
    const tuning = tuningOfClick(hz, one.state, rig.modeOf(one.state.mode), one.view.span);
    if (tuning.marker !== undefined) rig.set(one, { marker: tuning.marker });
    if (tuning.frequency !== undefined) rig.tune(one, tuning.frequency);
  }

  private drag(grip: Grip, dx: number): void {
    const { one, rig } = this;
    const hz = (dx / this.width) * one.view.span;
    if (grip === "picture") {
      rig.look(one, pan(one.view, -hz));
      return;
    }
    rig.choose(one);
    this.dragHz += hz;
    const { state } = one;
    if (grip === "passband") {
      const step = clickStep(this.family, state.mode, one.view.span) / 10;
      const whole = snap(this.dragHz, Math.max(1, step));
      if (whole === 0) return;
      this.dragHz -= whole;
      rig.tune(one, state.frequency + whole);
      return;
    }
    const whole = snap(this.dragHz, 10);
    if (whole === 0) return;
    this.dragHz -= whole;
    const most = Math.min(20000, rig.rate / 2);
    if (grip === "low") rig.set(one, { low: Math.round(Math.max(-most, Math.min(state.high - 50, state.low + whole))) });
    else rig.set(one, { high: Math.round(Math.min(most, Math.max(state.low + 50, state.high + whole))) });
  }

  private hover(x: number | null): void {
    this.cursor.hidden = x === null;
    if (x === null) return;
    const hz = hzAt(this.one.view, x, this.width);
    this.cursor.style.left = `${x}px`;
    this.cursor.classList.toggle("left", x > this.width - 110);
    const span = this.cursor.firstElementChild as HTMLElement;
    span.textContent = formatFrequency(hz);
  }

  /** For who wants to know where something is on the picture: CSS pixels from its left edge. */
  xOf(hz: number): number {
    return xOf(this.one.view, hz, this.width);
  }

  get edgesHz(): { low: number; high: number } {
    return { low: lowOf(this.one.view), high: highOf(this.one.view) };
  }
}
