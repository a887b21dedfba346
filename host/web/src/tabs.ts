// Tabs after the pattern that screen readers know: arrow keys move, one panel shows.
import { h } from "./dom";

export class Tabs {
  readonly element: HTMLElement;
  private readonly buttons = new Map<string, HTMLButtonElement>();
  private readonly bodies = new Map<string, HTMLElement>();

  constructor(list: readonly (readonly [name: string, title: string, body: HTMLElement])[]) {
    const bar = h("div", { class: "tab-bar", role: "tablist", "aria-label": "More" });
    this.element = h("section", { class: "card tabs" }, bar);
    for (const [name, title, body] of list) {
      const button = h("button", { type: "button", role: "tab", id: `tab-${name}`, "aria-controls": `body-${name}`, onclick: () => this.show(name) }, title);
      body.id = `body-${name}`;
      body.setAttribute("role", "tabpanel");
      body.setAttribute("aria-labelledby", `tab-${name}`);
      this.buttons.set(name, button);
      this.bodies.set(name, body);
      bar.append(button);
      this.element.append(body);
    }
    bar.addEventListener("keydown", (event) => {
      const turn = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
      if (turn === undefined) return;
      event.preventDefault();
      event.stopPropagation();
      const names = [...this.buttons.keys()];
      const at = names.findIndex((name) => this.buttons.get(name) === document.activeElement);
      const next = names[(at + turn + names.length) % names.length] as string;
      this.show(next);
      this.buttons.get(next)?.focus();
    });
    this.show(list[0]?.[0] ?? "");
  }

  show(name: string): void {
    for (const [one, button] of this.buttons) {
      button.setAttribute("aria-selected", String(one === name));
      button.tabIndex = one === name ? 0 : -1;
      (this.bodies.get(one) as HTMLElement).hidden = one !== name;
    }
  }
}
