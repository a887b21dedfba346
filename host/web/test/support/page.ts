// What the tests ask of a page.
import assert from "node:assert/strict";
import type { Browser, BrowserContextOptions, Page } from "playwright-core";

export interface Saved {
  frequency: number;
  mode: string;
  span: number;
  offset?: number;
}

export interface Figures {
  received: number;
  drawn: number;
  latency: number | null;
  trip: number | null;
  painter: string;
}

/** Opens the page with transceivers and preferences as if they had been left so; errors of the page end up in `errors`. */
export async function openPage(
  browser: Browser, url: string, saved: Saved[], preferences: object = {}, options: BrowserContextOptions = {},
): Promise<{ page: Page; errors: string[] }> {
  const context = await browser.newContext({ viewport: { width: 1000, height: 620 }, ...options });
  const transceivers = saved.map(({ frequency, mode, span, offset }) => ({ state: { frequency, mode }, span, offset: offset ?? 0 }));
  await context.addInitScript(
    ([list, likes]) => {
      if (localStorage.getItem("ferrow.transceivers")) return;
      if (list !== "[]") localStorage.setItem("ferrow.transceivers", list as string);
      localStorage.setItem("ferrow.preferences", likes as string);
    },
    [JSON.stringify(transceivers), JSON.stringify(preferences)],
  );
  const page = await context.newPage();
  page.setDefaultTimeout(60_000);
  const errors: string[] = [];
  page.on("console", (message) => {
    if (message.type() === "error" || message.type() === "warning") errors.push(message.text());
  });
  page.on("pageerror", (error) => errors.push(error.message));
  await page.goto(url);
  return { page, errors };
}

export const figures = (page: Page): Promise<Figures> => page.evaluate("ferrow.figures()");
export const frequency = (page: Page): Promise<number> => page.evaluate("ferrow.rig.active.state.frequency");
export const received = (page: Page): Promise<number> => page.evaluate("ferrow.rig.active.received");
/** CSS pixels from the picture's left edge. */
export const xOf = (page: Page, hz: number): Promise<number> => page.evaluate(`ferrow.scope().xOf(${hz})`);

/** Waits until `ask` gives what `good` likes, and returns that. */
export async function until<T>(ask: () => Promise<T>, good: (value: T) => boolean, seconds: number, what: string): Promise<T> {
  const end = Date.now() + seconds * 1000;
  for (;;) {
    const value = await ask();
    if (good(value)) return value;
    if (Date.now() > end) assert.fail(`${what}: still ${JSON.stringify(value)} after ${seconds} s`);
    await new Promise((resolve) => setTimeout(resolve, 200));
  }
}

/** Waits for so many spectra more. */
export async function spectra(page: Page, count: number): Promise<void> {
  const from = await received(page);
  await until(() => received(page), (now) => now >= from + count, 90, `${count} spectra`);
}

/** Mean brightness (0 to 255) of each column of an element's lower part, as it is on the screen, read back from a screenshot. */
export async function columns(page: Page, selector: string, from: number, to: number): Promise<number[]> {
  const png = (await page.locator(selector).first().screenshot()).toString("base64");
  return page.evaluate(
    async ([data, low, high]) => {
      const bytes = Uint8Array.from(atob(data), (one) => one.charCodeAt(0));
      const picture = await createImageBitmap(new Blob([bytes], { type: "image/png" }));
      const canvas = new OffscreenCanvas(picture.width, picture.height);
      const context = canvas.getContext("2d") as OffscreenCanvasRenderingContext2D;
      context.drawImage(picture, 0, 0);
      const top = Math.floor(picture.height * (low));
      const rows = Math.max(1, Math.floor(picture.height * (high)) - top);
      const { data: pixels } = context.getImageData(0, top, picture.width, rows);
      return Array.from({ length: picture.width }, (_, x) => {
        let sum = 0;
        for (let y = 0; y < rows; ++y) {
          const at = 4 * (y * picture.width + x);
          sum += ((pixels[at] as number) + (pixels[at + 1] as number) + (pixels[at + 2] as number)) / 3;
        }
        return sum / rows;
      });
    },
    [png, from, to] as const,
  );
}

/** Hz of the loudest tone that the page plays now, and how far it stands out of the middle, dB. */
export async function loudestTone(page: Page): Promise<{ hz: number; above: number }> {
  return page.evaluate(`(() => {
    const sound = ferrow.rig.audio.spectrum();
    if (!sound) return { hz: 0, above: 0 };
    const values = sound.decibel;
    let best = 4;
    for (let i = 4; i < values.length; ++i) if (values[i] > values[best]) best = i;
    const middle = [...values.slice(0, Math.floor(values.length / 3))].sort((a, b) => a - b)[Math.floor(values.length / 6)];
    return { hz: (best * sound.rate) / 2 / values.length, above: Number.isFinite(middle) ? values[best] - middle : 0 };
  })()`);
}
