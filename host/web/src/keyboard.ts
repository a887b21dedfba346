// Keys of the whole page; what they do is listed in the help.
import { stepFrequency } from "./frequency";
import type { Rig } from "./rig";
import type { Transceiver } from "./transceiver";
import type { Transmitter } from "./transmitter";
import { pan } from "./view";
import { scaledFilter } from "./tuning";

export interface KeyTargets {
  typeFrequency(): void;
  bookmark(): void;
  help(): void;
}

export const kKeys: readonly (readonly [keys: string, what: string])[] = [
  ["← →", "Tune by one step"],
  ["Shift ← →", "Tune by ten steps"],
  ["↑ ↓", "Larger or smaller step"],
  ["F or Enter", "Type a frequency"],
  ["+ −", "Zoom in, zoom out"],
  [", .", "Move the picture"],
  ["C", "Centre the picture on the dial"],
  ["[ ]", "Narrower or wider filter"],
  ["U L A W D", "USB, LSB, AM, CW, FT8"],
  ["M", "Mute"],
  ["N", "Noise reduction on and off"],
  ["S", "Sound on and off"],
  ["1 2 3 4", "Choose a transceiver"],
  ["B", "Bookmark"],
  ["Space", "Push to talk, where transmitting is on"],
  ["Esc", "Stop transmitting, close this"],
  ["?", "This list"],
];

const kModes: Record<string, string> = { u: "usb", l: "lsb", a: "am", w: "cw", d: "ft8" };
const kSteps = [1, 10, 50, 100, 500, 1000, 2500, 5000, 9000, 10000];

export function attachKeyboard(rig: Rig, transmitter: Transmitter, targets: KeyTargets): void {
  document.addEventListener("keydown", (event) => {
    const target = event.target as HTMLElement;
    if (event.ctrlKey || event.metaKey || event.altKey || target.closest("input:not([type=range], [type=checkbox]), textarea, select, dialog")) return;
    const one = rig.active;
    if (event.key === " ") {
      if (!one || !transmitter.ready || target.closest("button, [role=radio], tr, summary, input")) return;
      event.preventDefault();
      if (!event.repeat) transmitter.key(one, true);
      return;
    }
    if (target.matches("input[type=range]") && event.key.startsWith("Arrow")) return;
    if (target.closest("button, tr") && event.key === "Enter") return;
    if (act(rig, transmitter, targets, one, event)) event.preventDefault();
  });
  document.addEventListener("keyup", (event) => {
    if (event.key === " ") transmitter.release();
  });
}

function act(rig: Rig, transmitter: Transmitter, targets: KeyTargets, one: Transceiver | null, event: KeyboardEvent): boolean {
  const { key } = event;
  const { step } = rig.preferences;
  if (key === "?") targets.help();
  else if (key === "Escape") transmitter.stop();
  else if (!one) return false;
  else if (key === "ArrowLeft" || key === "ArrowRight") {
    const direction = key === "ArrowRight" ? 1 : -1;
    rig.tune(one, stepFrequency(one.state.frequency, step * (event.shiftKey ? 10 : 1), direction));
  } else if (key === "ArrowUp" || key === "ArrowDown") {
    const at = kSteps.indexOf(step) + (key === "ArrowUp" ? 1 : -1);
    rig.prefer({ step: kSteps[Math.min(kSteps.length - 1, Math.max(0, at))] ?? step });
  } else if (key === "f" || key === "F" || key === "Enter") targets.typeFrequency();
  else if (key === "+" || key === "=") rig.look(one, { centre: one.view.centre, span: Math.max(1000, one.view.span / 1.5) });
  else if (key === "-") rig.look(one, { centre: one.view.centre, span: Math.min(rig.rate, one.view.span * 1.5) });
  else if (key === "," || key === ".") rig.look(one, pan(one.view, one.view.span * (key === "." ? 0.1 : -0.1)));
  else if (key === "c" || key === "C") rig.look(one, { centre: one.state.frequency, span: one.view.span });
  else if (key === "[" || key === "]") rig.set(one, scaledFilter(one.state.low, one.state.high, key === "[" ? 0.85 : 1 / 0.85));
  else if (key === "m" || key === "M") rig.set(one, { mute: !one.state.mute });
  else if (key === "n" || key === "N") rig.set(one, { nr: one.state.nr === null ? 70 : null });
  else if (key === "s" || key === "S") void rig.listen(!(rig.preferences.listening && rig.audio.running));
  else if (key === "b" || key === "B") targets.bookmark();
  else if (/^[1-4]$/.test(key)) rig.choose(rig.transceivers[Number(key) - 1] ?? one);
  else if (kModes[key.toLowerCase()] && rig.modeOf(kModes[key.toLowerCase()] as string)) rig.setMode(one, kModes[key.toLowerCase()] as string);
  else return false;
  return true;
}
