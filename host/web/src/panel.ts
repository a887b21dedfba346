// One transceiver on the page: dial, mode, S-meter and the picture.
import { Dial } from "./dial";
import { h, icon, iconButton, select } from "./dom";
import { Meter } from "./meter";
import type { Rig } from "./rig";
import { Scope } from "./scope";
import type { Transceiver } from "./transceiver";

export class Panel {
  readonly element: HTMLElement;
  readonly scope: Scope;
  readonly dial: Dial;
  private readonly meter: Meter;
  private readonly mode: HTMLSelectElement;
  private readonly mute: HTMLButtonElement;
  private readonly veil = h("div", { class: "veil", hidden: true });
  private readonly badge = h("span", { class: "badge" });
  private readonly filter = h("span", { class: "filter-width" });

  constructor(private readonly rig: Rig, readonly one: Transceiver) {
    const label = `Transceiver ${one.key}`;
    this.dial = new Dial(label, (hz) => rig.tune(one, hz));
    this.meter = new Meter(label);
    this.mode = select(`${label}: mode`, [], (value) => rig.setMode(one, value));
    this.mute = iconButton("speaker", "Mute", () => rig.set(one, { mute: !one.state.mute }));
    this.scope = new Scope(rig, one);
    const tools = h(
      "div",
      { class: "panel-tools" },
      iconButton("minus", "Zoom out", () => rig.look(one, { centre: one.view.centre, span: Math.min(rig.rate, one.view.span * 2) }), { class: "icon-button zoom" }),
      iconButton("plus", "Zoom in", () => rig.look(one, { centre: one.state.frequency, span: Math.max(1000, one.view.span / 2) }), { class: "icon-button zoom" }),
      iconButton("centre", "Centre the picture on the dial", () => rig.look(one, { centre: one.state.frequency, span: one.view.span })),
      this.mute,
      iconButton("close", `Close ${label.toLowerCase()}`, () => rig.remove(one), { class: "icon-button close" }),
    );
    const head = h("header", { class: "panel-head" }, this.badge, this.dial.element, h("div", { class: "mode-box" }, this.mode, this.filter), this.meter.element, tools);
    this.element = h("section", { class: "panel", "aria-label": label }, head, this.scope.element, this.veil);
    this.element.addEventListener("pointerdown", () => rig.choose(one), { capture: true });
    this.element.addEventListener("focusin", () => rig.choose(one));
    this.fillModes();
    this.update();
  }

  fillModes(): void {
    const names = this.rig.modes.map((one) => one.name);
    if (!names.includes(this.one.state.mode)) names.unshift(this.one.state.mode);
    this.mode.replaceChildren(...names.map((name) => h("option", { value: name }, name.toUpperCase())));
    this.mode.value = this.one.state.mode;
  }

  update(): void {
    const { state, id } = this.one;
    this.dial.show(state.frequency);
    this.mode.value = state.mode;
    const width = state.high - state.low;
    this.filter.textContent = width >= 1000 ? `${(width / 1000).toFixed(width % 1000 === 0 ? 0 : 1)} kHz` : `${Math.round(width)} Hz`;
    this.mute.replaceChildren(icon(state.mute ? "muted" : "speaker"));
    this.mute.setAttribute("aria-pressed", String(state.mute));
    this.badge.textContent = String(this.rig.transceivers.indexOf(this.one) + 1);
    this.element.classList.toggle("active", this.rig.active === this.one);
    const text = id === null ? (this.rig.connection.state === "open" ? "Starting …" : "Waiting for the server …") : state.valid ? "" : "Out of the radio's reach";
    this.veil.hidden = text === "";
    this.veil.textContent = text;
    this.veil.classList.toggle("light", id !== null);
    this.scope.changed();
  }

  /** True if a new spectrum was drawn. */
  draw(now: number): boolean {
    if (this.element.offsetParent === null) return false;
    this.meter.draw(this.one, this.rig.preferences.s9, now);
    return this.scope.draw();
  }
}
