// Labels on the waterfall: texts that are read, calls of the last FT8 periods, bookmarks. A click on one tunes to it.
import { h } from "./dom";
import { parseMessage, slotLength } from "./qso";
import type { Rig } from "./rig";
import { loadBookmarks } from "./settings";
import type { Transceiver } from "./transceiver";
import { audioToHz, hasMarker } from "./tuning";
import { xOf } from "./view";

interface Shown {
  key: string;
  hz: number;
  text: string;
  kind: "text" | "cq" | "call" | "marked";
  act(): void;
}

const kRows = 4;
const kRowHeight = 19;

export class ScopeLabels {
  readonly element = h("div", { class: "labels" });
  private readonly buttons = new Map<string, HTMLButtonElement>();
  private updated = 0;

  constructor(private readonly rig: Rig, private readonly one: Transceiver) {}

  draw(width: number, moved: boolean): void {
    const now = performance.now();
    if (!moved && now - this.updated < 400) return;
    this.updated = now;
    const shown = this.rig.preferences.labels ? this.collect() : [];
    const kept = new Set<string>();
    const ends = new Array<number>(kRows).fill(-Infinity);
    shown.sort((a, b) => a.hz - b.hz);
    for (const one of shown) {
      const x = xOf(this.one.view, one.hz, width);
      if (x < 0 || x > width - 8) continue;
      const room = Math.min(170, 13 + one.text.length * 7.6);
      const row = ends.findIndex((end) => end < x);
      if (row < 0) continue;
      ends[row] = x + room;
      kept.add(one.key);
      this.place(one, x, row);
    }
    for (const [key, button] of this.buttons) {
      if (kept.has(key)) continue;
      button.remove();
      this.buttons.delete(key);
    }
  }

  private place(one: Shown, x: number, row: number): void {
    let button = this.buttons.get(one.key);
    if (!button) {
      button = h("button", { type: "button", class: `label ${one.kind}` });
      this.buttons.set(one.key, button);
      this.element.append(button);
    }
    button.className = `label ${one.kind}`;
    button.onclick = () => one.act();
    if (button.textContent !== one.text) button.textContent = one.text;
    button.style.transform = `translate(${x.toFixed(1)}px, ${row * kRowHeight}px)`;
  }

  private collect(): Shown[] {
    const { one, rig } = this;
    const family = rig.modeOf(one.state.mode)?.family ?? "voice";
    const all: Shown[] = one.labels.map((label) => {
      const hz = audioToHz(one.state, family, label.frequency);
      return {
        key: `t${Math.round(label.frequency / 20)}`, hz, text: label.text.trim().slice(-22) || label.mode, kind: "text",
        act: () => (hasMarker(family) ? rig.set(one, { marker: Math.round(label.frequency) }) : rig.tune(one, Math.round(hz))),
      };
    });
    if (family === "slots") all.push(...this.calls());
    for (const mark of bookmarks())
      all.push({ key: `b${mark.frequency}${mark.name}`, hz: mark.frequency, text: mark.name, kind: "marked", act: () => rig.goto(one, mark.frequency, mark.mode) });
    return all;
  }

  private calls(): Shown[] {
    const { one } = this;
    const latest = Date.parse(one.decodes.at(-1)?.slot ?? "");
    const byCall = new Map<string, Shown>();
    for (const line of one.decodes) {
      if (line.dial !== one.state.frequency || latest - Date.parse(line.slot) > 2000 * slotLength(line.mode)) continue;
      const heard = parseMessage(line.text);
      if (!heard.from) continue;
      byCall.set(heard.from, {
        key: `c${heard.from}`, hz: line.dial + line.frequency, text: heard.from, kind: heard.cq ? "cq" : "call",
        act: () => one.picked?.(line),
      });
    }
    return [...byCall.values()];
  }
}

let cached: ReturnType<typeof loadBookmarks> | null = null;
const bookmarks = (): ReturnType<typeof loadBookmarks> => (cached ??= loadBookmarks());

/** The list in the store is another now. */
export function bookmarksChanged(): void {
  cached = null;
}
