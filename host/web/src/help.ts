// The overlay that tells of keys and mouse.
import { h, iconButton } from "./dom";
import { kKeys } from "./keyboard";

const kMouse: readonly (readonly [string, string])[] = [
  ["Click in the picture", "Tune there; in CW and AM to the signal nearest"],
  ["Drag the picture", "Move it"],
  ["Drag the passband", "Tune"],
  ["Drag an edge of it", "Filter"],
  ["Wheel, two fingers", "Zoom around the pointer"],
  ["Shift wheel", "Move the picture"],
  ["Wheel on a digit", "Turn it; click its upper or lower half too"],
  ["Click on a decode", "Prepare the answer"],
];

export function makeHelp(): HTMLDialogElement {
  const rows = (list: readonly (readonly [string, string])[], tag: "kbd" | "span"): HTMLElement =>
    h("dl", {}, ...list.flatMap(([key, what]) => [h("dt", {}, h(tag, {}, key)), h("dd", {}, what)]));
  const dialog = h("dialog", { class: "help", "aria-labelledby": "help-title" });
  dialog.append(
    h("div", { class: "help-head" }, h("h2", { id: "help-title" }, "Keys and mouse"), iconButton("close", "Close", () => dialog.close())),
    h("div", { class: "help-columns" }, rows(kKeys, "kbd"), rows(kMouse, "span")),
  );
  dialog.addEventListener("click", (event) => {
    if (event.target === dialog) dialog.close();
  });
  return dialog;
}
