// Controls of the chosen transceiver's receiver.
import { Choice, h, select, slider } from "./dom";
import type { Rig } from "./rig";
import type { Transceiver } from "./transceiver";
import { presets } from "./tuning";

const kSteps = [1, 10, 50, 100, 500, 1000, 2500, 5000, 9000, 10000];
const stepText = (hz: number): string => (hz >= 1000 ? `${hz / 1000} kHz` : `${hz} Hz`);

export class ReceiverControls {
  readonly element: HTMLElement;
  private readonly mode: Choice;
  private readonly filter: Choice;
  private readonly agc: Choice;
  private readonly gain = slider("Gain", -20, 80, 1, (value) => this.set({ gain: value }));
  private readonly volume = slider("Volume", 0, 100, 1, (value) => this.set({ volume: value / 100, mute: false }));
  private readonly squelch = slider("Squelch", -150, -20, 1, (value) => this.set({ squelch: value <= -150 ? null : value }));
  private readonly noise = slider("Noise reduction", 0, 100, 5, (value) => this.set({ nr: value === 0 ? null : value }));
  private readonly step: HTMLSelectElement;
  private modes = "";
  private filtersOf = "";

  constructor(private readonly rig: Rig) {
    this.mode = new Choice("Mode", [], (mode) => this.withActive((one) => rig.setMode(one, mode)));
    this.filter = new Choice("Filter", [], (value) => {
      const [low = 0, high = 0] = value.split(" ").map(Number);
      this.set({ low, high });
    });
    this.agc = new Choice("Automatic gain", [["fast", "Fast"], ["medium", "Medium"], ["slow", "Slow"], ["off", "Off"]], (agc) => this.set({ agc }));
    this.step = select("Tuning step", kSteps.map((one) => [String(one), stepText(one)] as const), (value) => rig.prefer({ step: Number(value) }));
    const row = (name: string, content: HTMLElement): HTMLElement => h("div", { class: "row" }, h("span", { class: "row-name" }, name), content);
    this.element = h(
      "section",
      { class: "card controls", "aria-label": "Receiver" },
      row("Mode", this.mode.element), row("Filter", this.filter.element), row("AGC", this.agc.element),
      this.gain.element, this.volume.element, this.noise.element, this.squelch.element, row("Step", this.step),
    );
    rig.on("state", (one) => one === rig.active && this.update());
    rig.on("active", () => this.update());
    rig.on("hello", () => this.update());
    rig.on("preferences", () => this.update());
    this.update();
  }

  update(): void {
    const one = this.rig.active;
    this.element.classList.toggle("disabled", one === null);
    if (!one) return;
    const { state } = one;
    const names = this.rig.modes.map((mode) => mode.name);
    if (this.modes !== names.join()) {
      this.modes = names.join();
      this.mode.fill(names.map((name) => [name, name.toUpperCase()] as const));
    }
    this.mode.value = state.mode;
    const info = this.rig.modeOf(state.mode);
    if (info && this.filtersOf !== info.name) {
      this.filtersOf = info.name;
      this.filter.fill(presets(info).map((preset) => [`${preset.low} ${preset.high}`, preset.name] as const));
    }
    this.filter.value = `${state.low} ${state.high}`;
    this.agc.value = state.agc;
    this.gain.element.classList.toggle("gone", state.agc !== "off");
    this.gain.set(state.gain, `${Math.round(state.gain)} dB`);
    this.volume.set(state.volume * 100, state.mute ? "muted" : `${Math.round(state.volume * 100)} %`);
    this.squelch.set(state.squelch ?? -150, state.squelch === null ? "off" : `${Math.round(state.squelch)} dB`);
    this.noise.set(state.nr ?? 0, state.nr === null ? "off" : `${Math.round(state.nr)} %`);
    this.step.value = String(this.rig.preferences.step);
  }

  private set(fields: Parameters<Rig["set"]>[1]): void {
    this.withActive((one) => this.rig.set(one, fields));
  }

  private withActive(act: (one: Transceiver) => void): void {
    if (this.rig.active) act(this.rig.active);
  }
}
