// The frequency display: each digit turns by the wheel, by a click on its upper or lower half, and by keys.
import { h } from "./dom";
import { formatFrequency, parseFrequency, setDigit, turnDigit } from "./frequency";

const kDigits = 9; // to hundreds of MHz

export class Dial {
  readonly element: HTMLElement;
  private readonly digits: HTMLElement[] = [];
  private readonly gaps: HTMLElement[] = [];
  private readonly entry: HTMLInputElement;
  private readonly face: HTMLElement;
  private hz = 0;
  /** Power of ten of the digit under the keys' cursor. */
  private cursor = 3;
  private wheel = 0;

  constructor(label: string, private readonly tuned: (hz: number) => void) {
    this.face = h("div", {
      class: "dial", role: "spinbutton", tabindex: 0, "aria-label": `${label}: frequency in hertz`, "aria-valuemin": 0, "aria-valuemax": 2e9,
      title: "Wheel or click on a digit; arrows, digits and Enter by keyboard",
    });
    for (let power = kDigits - 1; power >= 0; --power) {
      const digit = h("span", { class: "digit", "data-power": power }, "0");
      this.digits[power] = digit;
      this.face.append(digit);
      if (power === 6 || power === 3) {
        const gap = h("span", { class: "digit-gap" }, ".");
        this.gaps.push(gap);
        this.face.append(gap);
      }
    }
    this.entry = h("input", { class: "dial-entry", hidden: true, inputmode: "decimal", "aria-label": `${label}: type a frequency`, placeholder: "14.074, 7074k …" });
    this.element = h("div", { class: "dial-box" }, this.face, this.entry, h("span", { class: "dial-unit" }, "MHz"));
    this.face.addEventListener("wheel", (event) => this.onWheel(event), { passive: false });
    this.face.addEventListener("click", (event) => this.onClick(event));
    this.face.addEventListener("dblclick", (event) => {
      if (!(event.target as HTMLElement).dataset.power) this.type();
    });
    this.face.addEventListener("keydown", (event) => this.onKey(event));
    this.face.addEventListener("focus", () => this.showCursor());
    this.face.addEventListener("blur", () => this.showCursor());
    this.entry.addEventListener("keydown", (event) => this.onEntryKey(event));
    this.entry.addEventListener("blur", () => this.leaveEntry());
  }

  show(hz: number): void {
    this.hz = hz;
    const text = String(Math.round(hz)).padStart(kDigits, "0");
    const leading = Math.max(7, String(Math.round(hz)).length);
    for (let power = 0; power < kDigits; ++power) {
      const digit = this.digits[power] as HTMLElement;
      const value = text[text.length - 1 - power] as string;
      if (digit.textContent !== value) digit.textContent = value;
      digit.classList.toggle("faint", power >= leading);
    }
    this.face.setAttribute("aria-valuenow", String(hz));
    this.face.setAttribute("aria-valuetext", `${formatFrequency(hz)} megahertz`);
  }

  /** Opens the field to type a frequency into. */
  type(first = ""): void {
    this.entry.value = first;
    this.entry.hidden = false;
    this.face.classList.add("typing");
    this.entry.focus();
  }

  private powerOf(target: EventTarget | null): number | null {
    const power = (target as HTMLElement | null)?.dataset?.power;
    return power === undefined ? null : Number(power);
  }

  private onWheel(event: WheelEvent): void {
    event.preventDefault();
    const power = this.powerOf(event.target);
    if (power === null) return;
    this.wheel += event.deltaMode === 0 ? event.deltaY / 50 : event.deltaY;
    const steps = Math.trunc(this.wheel);
    if (steps === 0) return;
    this.wheel -= steps;
    this.tuned(turnDigit(this.hz, power, Math.sign(-steps)));
  }

  private onClick(event: MouseEvent): void {
    const power = this.powerOf(event.target);
    if (power === null) return;
    this.cursor = power;
    this.showCursor();
    const box = (event.target as HTMLElement).getBoundingClientRect();
    this.tuned(turnDigit(this.hz, power, event.clientY < box.top + box.height / 2 ? 1 : -1));
  }

  private onKey(event: KeyboardEvent): void {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const turn = { ArrowUp: 1, ArrowDown: -1, PageUp: 10, PageDown: -10 }[event.key];
    if (turn !== undefined) this.tuned(turnDigit(this.hz, this.cursor, turn));
    else if (event.key === "ArrowLeft") this.cursor = Math.min(kDigits - 1, this.cursor + 1);
    else if (event.key === "ArrowRight") this.cursor = Math.max(0, this.cursor - 1);
    else if (event.key === "Enter") this.type();
    else if (/^\d$/.test(event.key)) {
      this.tuned(setDigit(this.hz, this.cursor, Number(event.key)));
      this.cursor = Math.max(0, this.cursor - 1);
    } else return;
    event.preventDefault();
    event.stopPropagation();
    this.showCursor();
  }

  private onEntryKey(event: KeyboardEvent): void {
    event.stopPropagation();
    if (event.key === "Escape") this.face.focus();
    if (event.key !== "Enter") return;
    const hz = parseFrequency(this.entry.value);
    this.entry.classList.toggle("wrong", hz === null);
    if (hz === null) return;
    this.tuned(hz);
    this.face.focus();
  }

  private leaveEntry(): void {
    this.entry.hidden = true;
    this.face.classList.remove("typing");
  }

  private showCursor(): void {
    const focused = document.activeElement === this.face;
    this.digits.forEach((digit, power) => digit.classList.toggle("cursor", focused && power === this.cursor));
  }
}
