// The S-meter: a bar with a peak mark, S units and dB.
import { h } from "./dom";
import { meterPlace, sUnits } from "./smeter";
import type { Transceiver } from "./transceiver";

const kMarks: readonly (readonly [number, string])[] = [
  [-48, "1"], [-36, "3"], [-24, "5"], [-12, "7"], [0, "9"], [20, "+20"], [40, "+40"], [60, "+60"],
];

export class Meter {
  readonly element: HTMLElement;
  private readonly bar = h("div", { class: "meter-bar" });
  private readonly peak = h("div", { class: "meter-peak" });
  private readonly units = h("span", { class: "meter-units" }, "–");
  private readonly level = h("span", { class: "meter-level" }, "");
  private last = 0;
  private told = 0;

  constructor(label: string) {
    const scale = h("div", { class: "meter-scale", "aria-hidden": "true" });
    for (const [over, text] of kMarks) {
      const mark = h("span", { class: over > 0 ? "over" : "" }, text);
      mark.style.left = `${meterPlace(over, 0) * 100}%`;
      scale.append(mark);
    }
    const track = h("div", { class: "meter-track" }, this.bar, this.peak);
    this.element = h(
      "div",
      { class: "meter", role: "meter", "aria-label": `${label}: signal strength`, "aria-valuemin": -150, "aria-valuemax": 0, "aria-valuenow": -150 },
      h("div", { class: "meter-face" }, track, scale), h("div", { class: "meter-figures" }, this.units, this.level),
    );
  }

  draw(one: Transceiver, s9: number, now: number): void {
    const seconds = Math.min(0.5, (now - this.last) / 1000);
    this.last = now;
    if (one.strength === null) return;
    one.needle.update(one.strength, seconds);
    this.bar.style.clipPath = `inset(0 ${((1 - meterPlace(one.needle.value, s9)) * 100).toFixed(2)}% 0 0)`;
    this.peak.style.left = `${(meterPlace(one.needle.peak, s9) * 100).toFixed(2)}%`;
    if (now - this.told < 150) return;
    this.told = now;
    const text = sUnits(one.needle.value, s9);
    this.units.textContent = text;
    this.level.textContent = `${one.strength.toFixed(0)} dBFS`;
    this.element.classList.toggle("closed", !one.open);
    this.element.setAttribute("aria-valuenow", one.strength.toFixed(0));
    this.element.setAttribute("aria-valuetext", `${text}, ${one.strength.toFixed(0)} decibel`);
  }
}
