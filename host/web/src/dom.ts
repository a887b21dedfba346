// Making elements in few words.

type Child = Node | string | null | undefined | false;
type Attributes = Record<string, string | number | boolean | null | undefined | ((event: never) => void)>;

/** `on…` are listeners, `class`, `aria-…` and the like attributes; true sets an empty attribute, false and null none. */
export function h<K extends keyof HTMLElementTagNameMap>(tag: K, attributes: Attributes = {}, ...children: Child[]): HTMLElementTagNameMap[K] {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (typeof value === "function") made.addEventListener(name.slice(2).toLowerCase(), value as EventListener);
    else if (value === true) made.setAttribute(name, "");
    else if (value !== false && value !== null && value !== undefined) made.setAttribute(name, String(value));
  }
  for (const child of children) if (child) made.append(child);
  return made;
}

const kIcons = {
  speaker: "M3 9v6h4l5 4V5L7 9H3zm12.5-1.5a6 6 0 0 1 0 9M18 5a9 9 0 0 1 0 14",
  muted: "M3 9v6h4l5 4V5L7 9H3zm13 .5 5 5m0-5-5 5",
  close: "M6 6l12 12M18 6L6 18",
  plus: "M12 5v14M5 12h14",
  minus: "M5 12h14",
  gear: "M4 7h10m4 0h2M4 17h4m4 0h8M16 4.5v5M10 14.5v5",
  help: "M9 9a3 3 0 1 1 4.2 2.7c-.8.4-1.2 1-1.2 2.3m0 3v.01",
  star: "M12 4l2.4 5 5.6.7-4.1 3.8 1.1 5.5-5-2.8-5 2.8 1.1-5.5L4 9.7l5.6-.7z",
  centre: "M12 3v4m0 10v4M3 12h4m10 0h4M12 9.5a2.5 2.5 0 1 1 0 5 2.5 2.5 0 0 1 0-5z",
} as const;
export type IconName = keyof typeof kIcons;

export function icon(name: IconName): SVGSVGElement {
  const space = "http://www.w3.org/2000/svg";
  const svg = document.createElementNS(space, "svg");
  svg.setAttribute("viewBox", "0 0 24 24");
  svg.setAttribute("class", "icon");
  svg.setAttribute("aria-hidden", "true");
  const path = document.createElementNS(space, "path");
  path.setAttribute("d", kIcons[name]);
  svg.append(path);
  return svg;
}

export function iconButton(name: IconName, label: string, click: () => void, extra: Attributes = {}): HTMLButtonElement {
  return h("button", { type: "button", class: "icon-button", title: label, "aria-label": label, onclick: click, ...extra }, icon(name));
}

/** A row of buttons of which one is pressed. */
export class Choice {
  readonly element: HTMLElement;
  private readonly buttons = new Map<string, HTMLButtonElement>();

  constructor(label: string, options: readonly (readonly [value: string, text: string])[], private readonly chosen: (value: string) => void) {
    this.element = h("div", { class: "choice", role: "group", "aria-label": label });
    this.fill(options);
  }

  fill(options: readonly (readonly [value: string, text: string])[]): void {
    this.buttons.clear();
    this.element.replaceChildren();
    for (const [value, text] of options) {
      const button = h("button", { type: "button", "aria-pressed": "false", "data-value": value, onclick: () => this.chosen(value) }, text);
      this.buttons.set(value, button);
      this.element.append(button);
    }
  }

  set value(value: string) {
    for (const [name, button] of this.buttons) button.setAttribute("aria-pressed", String(name === value));
  }
}

export interface Slider {
  element: HTMLElement;
  input: HTMLInputElement;
  set(value: number, text: string): void;
}

/** A labelled slider with its value behind; `changed` is called while it moves. */
export function slider(label: string, low: number, high: number, step: number, changed: (value: number) => void): Slider {
  const output = h("output", { class: "slider-value" });
  const input = h("input", { type: "range", min: low, max: high, step, "aria-label": label });
  input.addEventListener("input", () => changed(Number(input.value)));
  const element = h("label", { class: "slider" }, h("span", {}, label), input, output);
  return {
    element,
    input,
    set(value, text) {
      if (document.activeElement !== input || Math.abs(Number(input.value) - value) > step) input.value = String(value);
      output.textContent = text;
      input.setAttribute("aria-valuetext", text);
      input.style.setProperty("--part", String((Number(input.value) - low) / (high - low)));
    },
  };
}

export function select(label: string, options: readonly (readonly [value: string, text: string])[], changed: (value: string) => void): HTMLSelectElement {
  const made = h("select", { "aria-label": label });
  for (const [value, text] of options) made.append(h("option", { value }, text));
  made.addEventListener("change", () => changed(made.value));
  return made;
}

/** A file for the operator to keep. */
export function saveFile(name: string, text: string, type: string): void {
  const url = URL.createObjectURL(new Blob([text], { type }));
  h("a", { href: url, download: name }).click();
  window.setTimeout(() => URL.revokeObjectURL(url), 1000);
}
