// A contact in FT8 or FT4: whom, which message, when, and the log at its end.
import { h } from "./dom";
import { answerTo, parseMessage, reportOf, sequence, slotIsEven } from "./qso";
import type { Rig } from "./rig";
import type { Decode, Transceiver } from "./transceiver";
import type { Transmitter } from "./transmitter";

const kNames = ["Call", "Report", "R + report", "RR73", "73", "CQ"];

export class SlotsForm {
  readonly element: HTMLElement;
  private readonly call: HTMLInputElement;
  private readonly grid: HTMLInputElement;
  private readonly dxCall: HTMLInputElement;
  private readonly dxGrid: HTMLInputElement;
  private readonly report: HTMLInputElement;
  private readonly frequency = h("input", { type: "number", min: 200, max: 3000, step: 10, value: 1500, "aria-label": "Audio frequency in Hz" });
  private readonly parity = h("select", { "aria-label": "Period" }, ...["next", "even", "odd"].map((value) => h("option", { value }, value)));
  private readonly auto = h("input", { type: "checkbox", checked: true });
  private readonly list = h("div", { class: "messages", role: "radiogroup", "aria-label": "Next message" });
  private readonly free = h("input", { type: "text", maxlength: 13, placeholder: "Free text", "aria-label": "Free text" });
  private chosen = 5;
  private received = "";
  private running = false;
  private readonly sendButton: HTMLButtonElement;

  constructor(private readonly rig: Rig, private readonly transmitter: Transmitter) {
    const field = (label: string, placeholder: string, changed: () => void): HTMLInputElement => {
      const input = h("input", { type: "text", placeholder, "aria-label": label, maxlength: 11, autocapitalize: "characters", spellcheck: "false" });
      input.addEventListener("input", changed);
      return input;
    };
    const own = (): void => {
      rig.prefer({ call: this.call.value.trim().toUpperCase(), grid: this.grid.value.trim().toUpperCase() });
      this.fill();
    };
    this.call = field("My call", "My call", own);
    this.grid = field("My grid", "Grid", own);
    this.dxCall = field("Their call", "Their call", () => this.fill());
    this.dxGrid = field("Their grid", "Grid", () => undefined);
    this.report = field("Report for them", "-10", () => this.fill());
    this.call.value = rig.preferences.call;
    this.grid.value = rig.preferences.grid;
    this.sendButton = h("button", { type: "button", class: "primary", onclick: () => this.toggle() }, "Send");
    this.element = h(
      "div",
      { class: "stack slots" },
      h("div", { class: "fields" }, this.call, this.grid), h("div", { class: "fields three" }, this.dxCall, this.dxGrid, this.report),
      this.list, this.free,
      h("div", { class: "fields three" }, h("label", {}, "Hz", this.frequency), h("label", {}, "Period", this.parity), h("label", { class: "check" }, this.auto, "Go on by itself")),
      h("div", { class: "slot-row" }, this.sendButton, h("button", { type: "button", onclick: () => this.log() }, "Log contact")),
    );
    this.free.addEventListener("input", () => this.choose(this.free.value ? 6 : 5));
    for (const input of this.element.querySelectorAll("input, select")) input.addEventListener("keydown", (event) => event.stopPropagation());
    rig.on("decodes", (one) => one === rig.active && this.follow(one));
    rig.on("transmit", (state) => {
      if (!state.mine && !state.keyed) this.setRunning(false);
    });
    this.fill();
  }

  /** A line was clicked: whom it comes from, and what is said next. */
  answer(one: Transceiver, line: Decode): void {
    const heard = parseMessage(line.text);
    if (!heard.from) return;
    if (this.dxCall.value !== heard.from) this.received = "";
    this.dxCall.value = heard.from;
    if (heard.grid) this.dxGrid.value = heard.grid;
    this.report.value = reportOf(line.snr);
    this.parity.value = slotIsEven(line.time, one.state.mode) ? "odd" : "even";
    if (heard.cq) this.frequency.value = String(Math.round(line.frequency));
    this.remember(heard.report);
    const next = answerTo(heard, { call: this.rig.preferences.call, grid: this.rig.preferences.grid });
    this.chosen = Math.max(0, next);
    this.free.value = "";
    this.fill();
  }

  private remember(report: string | null): void {
    if (report && /[+-]/.test(report)) this.received = report.replace(/^R/, "");
  }

  /** The other station's answer moves the contact on. */
  private follow(one: Transceiver): void {
    const me = this.rig.preferences.call.toUpperCase();
    const newest = one.decodes.at(-1)?.slot;
    if (!me || !this.auto.checked || !this.running) return;
    for (const line of one.decodes.filter((decode) => decode.slot === newest)) {
      const heard = parseMessage(line.text);
      if (heard.to !== me || heard.from !== this.dxCall.value.toUpperCase()) continue;
      this.remember(heard.report);
      const next = answerTo(heard, { call: me, grid: "" });
      if (next < 0) {
        this.transmitter.stop();
        this.setRunning(false);
        this.log();
      } else if (next !== this.chosen) {
        this.choose(next);
        this.send(one);
      }
    }
  }

  private get messages(): string[] {
    const { call, grid } = this.rig.preferences;
    return sequence({ call, grid }, { call: this.dxCall.value.trim().toUpperCase(), grid: "" }, this.report.value.trim() || "-10");
  }

  private fill(): void {
    const messages = this.messages;
    const names = messages.length > 1 ? kNames : ["CQ"];
    const offset = messages.length > 1 ? 0 : 5;
    this.list.replaceChildren(
      ...messages.map((text, i) => {
        const checked = i + offset === this.chosen;
        return h("button", { type: "button", role: "radio", "aria-checked": String(checked), class: "message-choice", onclick: () => this.choose(i + offset) },
          h("span", { class: "message-kind" }, names[i] ?? ""), h("span", {}, text));
      }),
    );
    if (messages.length === 0) this.list.append(h("p", { class: "muted" }, "Fill in your call to see the messages."));
  }

  private choose(index: number): void {
    this.chosen = index;
    if (index < 6) this.free.value = "";
    this.fill();
  }

  private get message(): string {
    if (this.chosen === 6) return this.free.value.trim().toUpperCase();
    const messages = this.messages;
    return messages[messages.length > 1 ? this.chosen : 0] ?? "";
  }

  private toggle(): void {
    if (this.running) {
      this.transmitter.stop();
      this.setRunning(false);
    } else if (this.rig.active && this.message) {
      this.send(this.rig.active);
      this.setRunning(true);
    }
  }

  private send(one: Transceiver): void {
    const last = /( 73| RR73)$/.test(this.message);
    this.transmitter.ft8(one, this.message, Number(this.frequency.value), this.parity.value as "even" | "odd" | "next", last ? 1 : 10);
  }

  private setRunning(running: boolean): void {
    this.running = running;
    this.sendButton.textContent = running ? "Halt" : "Send";
    this.sendButton.classList.toggle("stop", running);
  }

  private log(): void {
    const one = this.rig.active;
    const call = this.dxCall.value.trim().toUpperCase();
    if (!one || !call) return;
    this.rig.send({
      do: "log", call, grid: this.dxGrid.value.trim().toUpperCase(), sent: this.report.value.trim(), received: this.received,
      mode: one.state.mode.toUpperCase(), frequency: one.state.frequency + Number(this.frequency.value),
    });
  }
}
