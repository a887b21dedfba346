// The page: puts its parts together and draws with each picture of the screen.
import { BookmarksTab } from "./bookmarks_tab";
import { DecodesTab } from "./decodes_tab";
import { DisplayTab } from "./display_tab";
import { h } from "./dom";
import { makeHelp } from "./help";
import { attachKeyboard } from "./keyboard";
import { Panel } from "./panel";
import { ReceiverControls } from "./receiver_controls";
import { Rig } from "./rig";
import { StatusBar } from "./statusbar";
import { Tabs } from "./tabs";
import { TextTab } from "./text_tab";
import { Toasts } from "./toasts";
import { TopBar } from "./topbar";
import type { Transceiver } from "./transceiver";
import { Transmitter } from "./transmitter";
import { TransmitTab } from "./transmit_tab";
import { lowOf } from "./view";

const socket = new URL("ws", location.href);
socket.protocol = location.protocol === "https:" ? "wss:" : "ws:";
socket.search = location.search;
const rig = new Rig(socket.href);

const panels = new Map<Transceiver, Panel>();
const stage = h("main", { class: "stage", "aria-label": "Transceivers" });
const switcher = h("div", { class: "switcher", role: "group", "aria-label": "Transceivers" });
const help = makeHelp();
const transmitter = new Transmitter(rig);
const transmitTab = new TransmitTab(rig, transmitter);
const bookmarksTab = new BookmarksTab(rig);

const tabs = new Tabs([
  ["decodes", "FT8", new DecodesTab(rig, answer).element],
  ["text", "Text", new TextTab(rig).element],
  ["bookmarks", "Bookmarks", bookmarksTab.element],
  ["transmit", "Transmit", transmitTab.element],
  ["display", "Display", new DisplayTab(rig).element],
]);
const topBar = new TopBar(rig, () => help.showModal());
const statusBar = new StatusBar(rig, () => (rig.active && panels.get(rig.active)?.scope.painter) ?? "");
const side = h("aside", { class: "side", "aria-label": "Controls of the chosen transceiver" }, new ReceiverControls(rig).element, tabs.element);
document.body.append(topBar.element, switcher, stage, side, statusBar.element, new Toasts(rig).element, help);

function answer(one: Transceiver, line: Parameters<TransmitTab["answer"]>[1]): void {
  transmitTab.answer(one, line);
  if (transmitter.ready) tabs.show("transmit");
}

function arrange(): void {
  for (const [one, panel] of panels) {
    if (rig.transceivers.includes(one)) continue;
    panel.scope.release();
    panel.element.remove();
    panels.delete(one);
  }
  for (const one of rig.transceivers) {
    let panel = panels.get(one);
    if (!panel) {
      panel = new Panel(rig, one);
      panels.set(one, panel);
      one.picked = (line) => answer(one, line);
    }
    stage.append(panel.element);
  }
  stage.dataset.count = String(rig.transceivers.length);
  switcher.hidden = rig.transceivers.length < 2;
  refresh();
}

function refresh(): void {
  for (const panel of panels.values()) panel.update();
  switcher.replaceChildren(
    ...rig.transceivers.map((one, i) =>
      h("button", { type: "button", "aria-pressed": String(one === rig.active), onclick: () => rig.choose(one) },
        `${i + 1}`, h("small", {}, `${(one.state.frequency / 1e6).toFixed(3)} ${one.state.mode.toUpperCase()}`))),
  );
}

// The tab that goes with the mode comes forward when the mode changes, not whenever a state arrives.
let tabMode = "";
function matchTab(): void {
  const mode = rig.active?.state.mode ?? "";
  if (mode === tabMode || !rig.hello) return;
  tabMode = mode;
  const family = rig.modeOf(mode)?.family;
  if (family === "slots") tabs.show("decodes");
  else if (family && family !== "voice") tabs.show("text");
}

rig.on("list", arrange);
rig.on("active", refresh);
rig.on("active", matchTab);
rig.on("link", refresh);
rig.on("state", (one) => {
  panels.get(one)?.update();
  const at = rig.transceivers.indexOf(one);
  const text = switcher.children[at]?.querySelector("small");
  if (text) text.textContent = `${(one.state.frequency / 1e6).toFixed(3)} ${one.state.mode.toUpperCase()}`;
  matchTab();
});
rig.on("view", (one) => panels.get(one)?.scope.changed());
rig.on("hello", () => {
  for (const panel of panels.values()) panel.fillModes();
  matchTab();
});
let drawing = rig.preferences.drawing;
rig.on("preferences", (now) => {
  for (const panel of panels.values()) panel.scope.restyle(now.drawing !== drawing);
  drawing = now.drawing;
});

attachKeyboard(rig, transmitter, {
  typeFrequency: () => rig.active && panels.get(rig.active)?.dial.type(),
  bookmark: () => bookmarksTab.add(),
  help: () => (help.open ? help.close() : help.showModal()),
});

// Sound that was on when the page was left may start again with the first click or key.
const wake = (): void => {
  if (rig.preferences.listening && !rig.audio.running) void rig.listen(true);
};
document.addEventListener("pointerdown", wake, { capture: true });
document.addEventListener("keydown", wake, { capture: true });

function frame(now: number): void {
  for (const panel of panels.values()) panel.draw(now);
  requestAnimationFrame(frame);
}

arrange();
rig.connection.open();
requestAnimationFrame(frame);

/** For looking inside from the browser's console. */
Object.assign(window, {
  ferrow: {
    rig,
    figures: () => ({ ...statusBar.figures }),
    scope: (one: Transceiver | null = rig.active) => {
      const scope = one && panels.get(one)?.scope;
      return scope && one ? { painter: scope.painter, ...scope.edgesHz, low: lowOf(one.view), xOf: (hz: number) => scope.xOf(hz) } : null;
    },
  },
});
