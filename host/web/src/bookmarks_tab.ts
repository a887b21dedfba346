// Bookmarks: kept in the browser, taken out and in as JSON.
import { h, iconButton, saveFile } from "./dom";
import { formatFrequency } from "./frequency";
import type { Rig } from "./rig";
import { loadBookmarks, mergeBookmarks, readBookmarks, store, type Bookmark } from "./settings";
import { bookmarksChanged } from "./scope_labels";

export class BookmarksTab {
  readonly element: HTMLElement;
  private readonly list = h("ul", { class: "bookmarks" });
  private readonly name = h("input", { type: "text", placeholder: "Name of this frequency", "aria-label": "Name of the bookmark", maxlength: 40 });
  private readonly file = h("input", { type: "file", accept: "application/json,.json", hidden: true, "aria-label": "Bookmarks to import" });

  constructor(private readonly rig: Rig) {
    const form = h("form", { class: "slot-row" }, this.name, h("button", { type: "submit" }, "Add"));
    form.addEventListener("submit", (event) => {
      event.preventDefault();
      this.add();
    });
    this.file.addEventListener("change", () => void this.import());
    this.element = h(
      "div",
      { class: "tab-body" },
      form, h("div", { class: "scroller" }, this.list),
      h("div", { class: "slot-row end" },
        h("button", { type: "button", class: "quiet", onclick: () => this.file.click() }, "Import …"),
        h("button", { type: "button", class: "quiet", onclick: () => this.export() }, "Export"), this.file),
    );
    this.update();
  }

  /** Bookmarks where the chosen transceiver is. */
  add(): void {
    const one = this.rig.active;
    if (!one) return;
    const { frequency, mode } = one.state;
    const name = this.name.value.trim() || `${formatFrequency(frequency).slice(0, -4)} ${mode.toUpperCase()}`;
    this.keep(mergeBookmarks(loadBookmarks(), [{ name, frequency, mode }]));
    this.name.value = "";
    this.rig.emit("notice", { kind: "info", text: `Bookmarked ${name}.` });
  }

  private keep(list: readonly Bookmark[]): void {
    store("bookmarks", list);
    bookmarksChanged();
    this.update();
  }

  private export(): void {
    saveFile("ferrow-bookmarks.json", JSON.stringify({ bookmarks: loadBookmarks() }, null, 2), "application/json");
  }

  private async import(): Promise<void> {
    const text = (await this.file.files?.[0]?.text()) ?? "";
    this.file.value = "";
    let read: Bookmark[] | null = null;
    try {
      read = readBookmarks(JSON.parse(text));
    } catch {
      // Told below, with every other file that holds no bookmarks.
    }
    if (read) this.keep(mergeBookmarks(loadBookmarks(), read));
    const said = read ? `Imported ${read.length} bookmarks.` : "That file holds no bookmarks.";
    this.rig.emit("notice", { kind: read ? "info" : "error", text: said });
  }

  private update(): void {
    const list = loadBookmarks();
    this.list.replaceChildren(
      ...list.map((one) =>
        h("li", {},
          h("button", { type: "button", class: "bookmark", onclick: () => this.rig.active && this.rig.goto(this.rig.active, one.frequency, one.mode) },
            h("span", { class: "bookmark-name" }, one.name),
            h("span", { class: "bookmark-place" }, `${formatFrequency(one.frequency)} ${one.mode.toUpperCase()}`)),
          iconButton("close", `Remove ${one.name}`, () => this.keep(loadBookmarks().filter((other) => JSON.stringify(other) !== JSON.stringify(one)))),
        ),
      ),
    );
    if (list.length === 0) this.list.append(h("li", { class: "empty" }, "No bookmarks yet. The key B keeps the present frequency."));
  }
}
