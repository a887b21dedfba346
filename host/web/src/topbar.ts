// Name of the radio, the bands, sound on and off, one more transceiver.
import { kBands } from "./bands";
import { h, icon, iconButton } from "./dom";
import type { Rig } from "./rig";
import { loadLast } from "./settings";

export class TopBar {
  readonly element: HTMLElement;
  private readonly radio = h("span", { class: "radio-name" });
  private readonly lamp = h("span", { class: "air-lamp", hidden: true, role: "status" }, "ON AIR");
  private readonly bands = h("nav", { class: "bands", "aria-label": "Bands" });
  private readonly buttons = new Map<string, HTMLButtonElement>();
  private readonly listen: HTMLButtonElement;
  private readonly volume = h("input", { type: "range", min: 0, max: 100, step: 1, class: "master", "aria-label": "Loudness of everything" });

  constructor(private readonly rig: Rig, help: () => void) {
    for (const band of kBands) {
      const button = h("button", { type: "button", "aria-pressed": "false", onclick: () => this.goto(band.name) }, band.name.replace("m", ""), h("small", {}, "m"));
      this.buttons.set(band.name, button);
      this.bands.append(button);
    }
    this.listen = h("button", { type: "button", class: "listen", "aria-pressed": "false", onclick: () => void rig.listen(!rig.preferences.listening || !rig.audio.running) });
    this.volume.addEventListener("input", () => rig.prefer({ volume: Number(this.volume.value) / 100, muted: false }));
    this.element = h(
      "header",
      { class: "topbar" },
      h("h1", { class: "brand" }, mark(), h("span", {}, "Ferrow")), this.radio, this.lamp, this.bands,
      h("div", { class: "top-tools" }, this.listen, this.volume,
        iconButton("plus", "One more transceiver", () => this.more()), iconButton("help", "Keys and mouse (?)", help)),
    );
    rig.on("hello", (hello) => {
      this.radio.textContent = hello.radio.name;
      this.radio.title = `${hello.radio.url}, ${hello.radio.rate / 1000} kHz`;
    });
    rig.on("preferences", () => this.update());
    rig.on("state", () => this.update());
    rig.on("active", () => this.update());
    rig.on("transmit", (state) => {
      this.lamp.hidden = !state.keyed;
      this.lamp.classList.toggle("other", !state.mine);
      this.lamp.textContent = state.mine || state.owner === null ? "ON AIR" : `ON AIR: ${state.owner}`;
    });
    this.update();
  }

  private goto(name: string): void {
    const band = kBands.find((one) => one.name === name);
    const one = this.rig.active;
    if (!band || !one) return;
    const last = loadLast(name);
    if (last && last.frequency >= band.low && last.frequency <= band.high) this.rig.goto(one, last.frequency, last.mode);
    else if (this.rig.modeOf(one.state.mode)?.family === "slots" && band.ft8 > 0) this.rig.goto(one, band.ft8, "ft8");
    else this.rig.gotoUsual(one, band.home);
  }

  private more(): void {
    const one = this.rig.active;
    this.rig.add(one?.state.frequency ?? 14200000, one?.state.mode ?? "usb", one?.view.span);
  }

  private update(): void {
    const { preferences, audio, active } = this.rig;
    const on = preferences.listening && audio.running;
    this.listen.replaceChildren(icon(on && !preferences.muted ? "speaker" : "muted"), h("span", {}, on ? "Listening" : "Listen"));
    this.listen.setAttribute("aria-pressed", String(on));
    this.volume.value = String(Math.round(preferences.volume * 100));
    this.volume.style.setProperty("--part", String(preferences.volume));
    const frequency = active?.state.frequency ?? 0;
    for (const band of kBands) this.buttons.get(band.name)?.setAttribute("aria-pressed", String(frequency >= band.low && frequency <= band.high));
  }
}

function mark(): SVGSVGElement {
  const space = "http://www.w3.org/2000/svg";
  const svg = document.createElementNS(space, "svg");
  svg.setAttribute("viewBox", "0 0 32 32");
  svg.setAttribute("class", "mark");
  svg.setAttribute("aria-hidden", "true");
  for (const [x, top] of [[5, 19], [10, 14], [16, 4], [22, 12], [27, 20]] as const) {
    const line = document.createElementNS(space, "path");
    line.setAttribute("d", `M${x} ${top}V28`);
    svg.append(line);
  }
  return svg;
}
