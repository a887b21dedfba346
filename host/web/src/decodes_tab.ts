// What FT8 and FT4 have brought, newest below, with the clock of the periods. A click on a line prepares the answer.
import { h } from "./dom";
import { epochNow } from "./connection";
import { parseMessage, slotAt, slotLength } from "./qso";
import type { Rig } from "./rig";
import type { Decode, Transceiver } from "./transceiver";

export class DecodesTab {
  readonly element: HTMLElement;
  private readonly body = h("tbody");
  private readonly scroller: HTMLElement;
  private readonly clock = h("div", { class: "slot-fill" });
  private readonly clockText = h("span", { class: "slot-text" });
  private readonly empty = h("p", { class: "empty" });
  private readonly cqOnly = h("input", { type: "checkbox", onchange: () => this.rebuild() });
  private shown: Transceiver | null = null;
  private lines = 0;
  private last: Decode | null = null;

  constructor(private readonly rig: Rig, private readonly chosen: (one: Transceiver, line: Decode) => void) {
    const head = h("tr", {}, ...["UTC", "dB", "DT", "Hz", "Message"].map((text) => h("th", { scope: "col" }, text)));
    const table = h("table", { class: "decodes", "aria-label": "FT8 and FT4 decodes" }, h("thead", {}, head), this.body);
    this.scroller = h("div", { class: "scroller", tabindex: 0, "aria-label": "Decodes" }, table, this.empty);
    this.element = h(
      "div",
      { class: "tab-body" },
      h("div", { class: "slot-row" }, h("div", { class: "slot-clock", role: "timer", "aria-label": "Period" }, this.clock, this.clockText),
        h("label", { class: "check" }, this.cqOnly, "CQ only"),
        h("button", { type: "button", class: "quiet", onclick: () => this.clear() }, "Clear")),
      this.scroller,
    );
    this.body.addEventListener("click", (event) => this.pick(event.target));
    this.body.addEventListener("keydown", (event) => {
      if (event.key === "Enter" || event.key === " ") {
        event.preventDefault();
        this.pick(event.target);
      }
    });
    rig.on("decodes", (one) => one === rig.active && this.update());
    rig.on("active", () => this.rebuild());
    rig.on("state", (one) => one === rig.active && this.showEmpty());
    rig.on("preferences", () => this.lines !== 0 && this.rebuild());
    window.setInterval(() => this.tick(), 100);
    this.rebuild();
  }

  private tick(): void {
    const one = this.rig.active;
    if (!one || this.element.offsetParent === null) return;
    const mode = one.state.mode === "ft4" ? "ft4" : "ft8";
    const { seconds, even } = slotAt(epochNow() + (this.rig.connection.clock.offset ?? 0), mode);
    this.clock.style.transform = `scaleX(${(seconds / slotLength(mode)).toFixed(3)})`;
    this.clock.classList.toggle("odd", !even);
    const text = `${even ? "even" : "odd"} ${seconds.toFixed(0)} s`;
    if (this.clockText.textContent !== text) this.clockText.textContent = text;
  }

  private clear(): void {
    if (this.rig.active) this.rig.active.decodes = [];
    this.rebuild();
  }

  private rebuild(): void {
    this.body.replaceChildren();
    this.lines = 0;
    this.last = null;
    this.shown = this.rig.active;
    this.update();
  }

  private update(): void {
    const one = this.rig.active;
    if (one !== this.shown) {
      this.rebuild();
      return;
    }
    const atEnd = this.scroller.scrollHeight - this.scroller.scrollTop - this.scroller.clientHeight < 60;
    const decodes = one?.decodes ?? [];
    const from = this.last ? decodes.indexOf(this.last) + 1 : 0;
    for (const line of decodes.slice(from)) this.addLine(line, decodes);
    this.last = decodes.at(-1) ?? null;
    while (this.body.childElementCount > 500) this.body.firstElementChild?.remove();
    this.lines = this.body.childElementCount;
    if (atEnd) this.scroller.scrollTop = this.scroller.scrollHeight;
    this.showEmpty();
  }

  private showEmpty(): void {
    const slots = this.rig.modeOf(this.rig.active?.state.mode ?? "")?.family === "slots";
    this.empty.hidden = this.lines > 0;
    this.empty.textContent = slots ? "Listening. Decodes come at the end of each period." : "Choose the mode FT8 or FT4 to see decodes here.";
  }

  private addLine(line: Decode, all: readonly Decode[]): void {
    const heard = parseMessage(line.text);
    if (this.cqOnly.checked && !heard.cq) return;
    const me = this.rig.preferences.call.toUpperCase();
    const kind = heard.cq ? "cq" : me && heard.to === me ? "mine" : "";
    const before = all[all.indexOf(line) - 1];
    const first = before && before.slot !== line.slot ? "first" : "";
    const row = h(
      "tr",
      { class: `${kind} ${first}`, tabindex: 0, "data-text": line.text, "data-frequency": line.frequency, title: "Click to answer" },
      h("td", {}, line.time), h("td", { class: "number" }, line.snr.toFixed(0)), h("td", { class: "number" }, line.dt.toFixed(1)),
      h("td", { class: "number" }, line.frequency.toFixed(0)), h("td", { class: "message" }, line.text),
    );
    row.dataset.index = String(this.key(line));
    this.body.append(row);
  }

  private readonly keys = new Map<number, Decode>();
  private nextKey = 0;

  private key(line: Decode): number {
    this.keys.set(++this.nextKey, line);
    this.keys.delete(this.nextKey - 600);
    return this.nextKey;
  }

  private pick(target: EventTarget | null): void {
    const row = (target as HTMLElement).closest("tr");
    const line = this.keys.get(Number(row?.dataset.index));
    const one = this.rig.active;
    if (!row || !line || !one) return;
    for (const other of this.body.querySelectorAll(".picked")) other.classList.remove("picked");
    row.classList.add("picked");
    this.chosen(one, line);
  }
}
