// What goes on the air. Behind a switch that is off when the page is first used; and the server must allow it.
import { h } from "./dom";
import type { Rig } from "./rig";
import { SlotsForm } from "./slots_form";
import type { Decode, Transceiver } from "./transceiver";
import type { Transmitter } from "./transmitter";

export class TransmitTab {
  readonly element: HTMLElement;
  readonly slots: SlotsForm;
  private readonly enable = h("input", { type: "checkbox", role: "switch", "aria-label": "Transmitting" });
  private readonly why = h("p", { class: "empty" });
  private readonly body: HTMLElement;
  private readonly ptt: HTMLButtonElement;
  private readonly tuneButton: HTMLButtonElement;
  private readonly stopButton: HTMLButtonElement;
  private readonly voice: HTMLElement;
  private readonly keyboard: HTMLElement;
  private readonly sent = h("div", { class: "sent-text", "aria-label": "Sent", role: "log" });
  private readonly message = h("textarea", { rows: 2, "aria-label": "Text to send", placeholder: "Text, Enter sends it", maxlength: 500 });
  private readonly power = h("span", { class: "power" });
  private tuning = false;

  constructor(private readonly rig: Rig, private readonly transmitter: Transmitter) {
    this.slots = new SlotsForm(rig, transmitter);
    this.enable.addEventListener("change", () => {
      rig.prefer({ transmit: this.enable.checked });
      if (!this.enable.checked) transmitter.stop();
    });
    this.ptt = h("button", { type: "button", class: "ptt", "aria-pressed": "false" }, "Push to talk");
    this.ptt.addEventListener("pointerdown", (event) => {
      this.ptt.setPointerCapture(event.pointerId);
      this.withActive((one) => transmitter.key(one, true));
    });
    for (const name of ["pointerup", "pointercancel"]) this.ptt.addEventListener(name, () => this.withActive((one) => transmitter.key(one, false)));
    this.ptt.addEventListener("keydown", (event) => {
      if ((event.key === " " || event.key === "Enter") && !event.repeat) this.withActive((one) => transmitter.key(one, true));
    });
    this.ptt.addEventListener("keyup", () => this.withActive((one) => transmitter.key(one, false)));
    this.tuneButton = h("button", { type: "button", "aria-pressed": "false", onclick: () => this.toggleTune() }, "Tune");
    this.stopButton = h("button", { type: "button", class: "stop", onclick: () => transmitter.stop() }, "Stop");
    this.message.addEventListener("keydown", (event) => {
      event.stopPropagation();
      if (event.key !== "Enter" || event.shiftKey) return;
      event.preventDefault();
      this.sendText(this.message.value);
      this.message.value = "";
    });
    this.voice = h("div", { class: "stack" }, this.ptt, h("p", { class: "muted" }, "Space bar keys too. The microphone of this browser goes on the air while keyed."));
    this.keyboard = h("div", { class: "stack" }, this.sent, this.message, this.macros());
    this.body = h("div", { class: "stack" }, this.voice, this.keyboard, this.slots.element, h("div", { class: "slot-row" }, this.tuneButton, this.stopButton, this.power));
    this.element = h("div", { class: "tab-body padded" }, h("label", { class: "check switch" }, this.enable, "Transmitting on"), this.why, this.body);
    rig.on("transmit", () => this.update());
    rig.on("state", (one) => one === rig.active && this.update());
    rig.on("active", () => this.update());
    rig.on("preferences", () => this.update());
    rig.on("sent", ({ text }) => (this.sent.textContent = ((this.sent.textContent ?? "") + text).slice(-300)));
    this.update();
  }

  answer(one: Transceiver, line: Decode): void {
    this.slots.answer(one, line);
  }

  private macros(): HTMLElement {
    const list: readonly (readonly [string, () => string])[] = [
      ["CQ", () => `CQ CQ DE ${this.me} ${this.me} K`],
      ["Call", () => this.me],
      ["599", () => `UR 599 599 DE ${this.me} K`],
      ["73", () => `TU 73 DE ${this.me} SK`],
    ];
    return h("div", { class: "slot-row" }, ...list.map(([name, text]) => h("button", { type: "button", onclick: () => this.sendText(text()) }, name)));
  }

  private get me(): string {
    return this.rig.preferences.call || "MYCALL";
  }

  private sendText(text: string): void {
    if (text.includes("MYCALL")) {
      this.rig.emit("notice", { kind: "error", text: "Fill in your call first." });
      return;
    }
    this.withActive((one) => this.transmitter.text(one, text));
  }

  private toggleTune(): void {
    this.withActive((one) => this.transmitter.tune(one, !this.tuning));
    this.tuning = !this.tuning && this.transmitter.ready;
  }

  private withActive(act: (one: Transceiver) => void): void {
    if (this.rig.active) act(this.rig.active);
  }

  private update(): void {
    const { transmit, preferences } = this.rig;
    const { ready } = this.transmitter;
    if (!transmit.keyed) this.tuning = false;
    this.enable.checked = preferences.transmit && transmit.allowed;
    this.enable.disabled = !transmit.allowed;
    this.why.textContent = !transmit.allowed
      ? "The server does not transmit. Its operator allows it with --transmit, for a radio that can."
      : !preferences.transmit
        ? "Nothing goes on the air while this is off."
        : this.transmitter.busyElsewhere
          ? `Listener ${transmit.owner ?? ""} is transmitting.`
          : "";
    this.why.hidden = this.why.textContent === "";
    this.body.classList.toggle("gone", !ready);
    const family = this.rig.modeOf(this.rig.active?.state.mode ?? "")?.family ?? "voice";
    this.voice.classList.toggle("gone", family !== "voice");
    this.slots.element.classList.toggle("gone", family !== "slots");
    this.keyboard.classList.toggle("gone", family === "voice" || family === "slots");
    this.ptt.setAttribute("aria-pressed", String(transmit.mine && transmit.keyed));
    this.tuneButton.setAttribute("aria-pressed", String(this.tuning));
    const figures = transmit.keyed && transmit.forward !== undefined;
    this.power.textContent = figures ? `${transmit.forward?.toFixed(1)} W  SWR ${transmit.swr?.toFixed(1) ?? "–"}` : "";
  }
}
