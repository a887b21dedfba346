// What CW, PSK and RTTY have brought, a paragraph a signal.
import { h } from "./dom";
import type { Rig } from "./rig";
import type { Transceiver } from "./transceiver";
import { hasMarker } from "./tuning";

export class TextTab {
  readonly element: HTMLElement;
  private readonly list = h("div", { class: "text-list", role: "log", "aria-label": "Received text" });
  private readonly empty = h("p", { class: "empty" });

  constructor(private readonly rig: Rig) {
    this.element = h(
      "div",
      { class: "tab-body" },
      h("div", { class: "slot-row" }, h("span", { class: "grow muted" }, "A click on a line tunes to it."),
        h("button", { type: "button", class: "quiet", onclick: () => this.clear() }, "Clear")),
      h("div", { class: "scroller", tabindex: 0, "aria-label": "Received text" }, this.list, this.empty),
    );
    rig.on("text", (one) => one === rig.active && this.update());
    rig.on("active", () => this.update());
    rig.on("state", (one) => one === rig.active && this.update());
    this.update();
  }

  private clear(): void {
    if (this.rig.active) this.rig.active.text = [];
    this.update();
  }

  private update(): void {
    const one = this.rig.active;
    const lines = one?.text ?? [];
    this.empty.hidden = lines.length > 0;
    const family = this.rig.modeOf(one?.state.mode ?? "")?.family ?? "";
    const keyboard = family === "cw" || hasMarker(family);
    this.empty.textContent = keyboard ? "Listening for text." : "Choose CW, PSK or RTTY to read text here.";
    const shown = [...this.list.children] as HTMLElement[];
    lines.forEach((line, i) => {
      const node = shown[i] ?? this.list.appendChild(h("button", { type: "button", class: "text-line" }, h("span", { class: "text-hz" }), h("span", { class: "text-text" })));
      node.classList.toggle("sent", line.sent);
      const [hz, text] = node.children as unknown as [HTMLElement, HTMLElement];
      hz.textContent = line.sent ? "sent" : `${line.mode} ${Math.round(line.frequency)}`;
      const tail = line.text.slice(-600);
      if (text.textContent !== tail) text.textContent = tail;
      node.onclick = () => one && this.tune(one, line.frequency, family);
    });
    for (const node of shown.slice(lines.length)) node.remove();
  }

  private tune(one: Transceiver, audio: number, family: string): void {
    if (hasMarker(family)) this.rig.set(one, { marker: Math.round(audio) });
  }
}
