// How the pictures look and how audio comes.
import { opusPossible } from "./audio";
import { kColourMaps, palette } from "./colours";
import { Choice, h, select, slider } from "./dom";
import type { TraceStyle } from "./levels";
import type { Rig } from "./rig";
import type { Drawing } from "./waterfall";

export class DisplayTab {
  readonly element: HTMLElement;
  private readonly swatches = new Map<string, HTMLButtonElement>();
  private readonly trace: Choice;
  private readonly smoothing = slider("Averaging", 0, 95, 5, (value) => this.rig.prefer({ smoothing: value / 100 }));
  private readonly auto = h("input", { type: "checkbox", onchange: () => this.setAuto(this.auto.checked) });
  private readonly floor = slider("Dark at", -180, -40, 1, (value) => this.rig.prefer({ floor: value, autoLevel: false }));
  private readonly top = slider("Bright at", -140, 20, 1, (value) => this.rig.prefer({ top: value, autoLevel: false }));
  private readonly rate = slider("Spectra a second", 5, 60, 5, (value) => this.rig.prefer({ rate: value }));
  private readonly perLine = slider("Spectra a line", 1, 20, 1, (value) => this.rig.prefer({ perLine: value }));
  private readonly s9 = slider("S9 at", -120, -20, 1, (value) => this.rig.prefer({ s9: value }));
  private readonly labels = h("input", { type: "checkbox", onchange: () => this.rig.prefer({ labels: this.labels.checked }) });
  private readonly drawing: HTMLSelectElement;
  private readonly format: HTMLSelectElement;

  constructor(private readonly rig: Rig) {
    const maps = h("div", { class: "swatches", role: "group", "aria-label": "Colours of the waterfall" });
    for (const map of kColourMaps) {
      const colours = palette(map);
      const stops = [0, 64, 128, 192, 255].map((i) => `rgb(${colours[4 * i]} ${colours[4 * i + 1]} ${colours[4 * i + 2]})`);
      const button = h("button", { type: "button", class: "swatch", title: map.title, "aria-label": map.title, onclick: () => rig.prefer({ colours: map.name }) });
      button.style.background = `linear-gradient(90deg, ${stops.join(", ")})`;
      this.swatches.set(map.name, button);
      maps.append(button);
    }
    const styles: readonly (readonly [TraceStyle, string])[] = [["live", "Live"], ["average", "Average"], ["peak", "Peak"], ["both", "Avg + peak"]];
    this.trace = new Choice("Trace", styles, (value) => rig.prefer({ trace: value as TraceStyle }));
    this.drawing = select("Drawing", [["auto", "Automatic"], ["webgl", "WebGL"], ["canvas", "Plain canvas"]], (value) => rig.prefer({ drawing: value as Drawing }));
    this.format = select("Audio", [["pcm", "PCM, 16 bit"], ["opus", "Opus"]], (value) => rig.prefer({ format: value as "pcm" | "opus" }));
    const row = (name: string, content: HTMLElement): HTMLElement => h("div", { class: "row" }, h("span", { class: "row-name" }, name), content);
    this.element = h(
      "div",
      { class: "tab-body padded" },
      row("Colours", maps), row("Trace", this.trace.element), this.smoothing.element,
      h("label", { class: "check" }, this.auto, "Levels by themselves"), this.floor.element, this.top.element,
      this.rate.element, this.perLine.element, h("label", { class: "check" }, this.labels, "Calls and texts in the waterfall"),
      this.s9.element, row("Drawing", this.drawing), row("Audio", this.format),
    );
    rig.on("preferences", () => this.update());
    rig.on("hello", () => this.update());
    this.update();
  }

  /** Levels that were found by themselves are where setting by hand begins. */
  private setAuto(auto: boolean): void {
    const found = auto ? null : this.rig.active?.autoLevel.range;
    this.rig.prefer({ autoLevel: auto, ...(found ? { floor: Math.round(found.floor), top: Math.round(found.top) } : {}) });
  }

  private update(): void {
    const p = this.rig.preferences;
    for (const [name, button] of this.swatches) button.setAttribute("aria-pressed", String(name === p.colours));
    this.trace.value = p.trace;
    this.smoothing.set(p.smoothing * 100, `${Math.round(p.smoothing * 100)} %`);
    this.auto.checked = p.autoLevel;
    this.floor.element.classList.toggle("gone", p.autoLevel);
    this.top.element.classList.toggle("gone", p.autoLevel);
    this.floor.set(p.floor, `${p.floor} dB`);
    this.top.set(p.top, `${p.top} dB`);
    this.rate.set(p.rate, String(p.rate));
    this.perLine.set(p.perLine, String(p.perLine));
    this.s9.set(p.s9, `${p.s9} dBFS`);
    this.labels.checked = p.labels;
    this.drawing.value = p.drawing;
    const opus = opusPossible() && (this.rig.hello?.audio.formats.includes("opus") ?? true);
    (this.format.options[1] as HTMLOptionElement).disabled = !opus;
    this.format.value = opus ? p.format : "pcm";
  }
}
