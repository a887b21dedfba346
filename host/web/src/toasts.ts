// Short notices that go away by themselves.
import { h } from "./dom";
import type { Rig } from "./rig";

export class Toasts {
  readonly element = h("div", { class: "toasts", role: "status", "aria-live": "polite" });

  constructor(rig: Rig) {
    rig.on("notice", ({ kind, text }) => {
      const same = [...this.element.children].find((one) => one.textContent === text);
      same?.remove();
      const toast = h("div", { class: `toast ${kind}` }, text);
      this.element.append(toast);
      while (this.element.childElementCount > 3) this.element.firstElementChild?.remove();
      window.setTimeout(() => toast.remove(), kind === "error" ? 7000 : 3000);
    });
  }
}
