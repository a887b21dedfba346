// Pictures of the page with synthetic signals: node build.mjs --tests tools && node build/tests/tools/look.mjs FOLDER
import { mkdirSync } from "node:fs";
import { join } from "node:path";
import { MockServer } from "../mock/server";
import { launch } from "../support/browser";

const out = process.argv[2] ?? "build/look";
mkdirSync(out, { recursive: true });
const server = new MockServer({ page: join(process.cwd(), "dist"), transmit: true });
const url = await server.start();
const browser = await launch();
const wanted = process.argv.slice(3);
const seconds = Number(process.env.LOOK_SECONDS ?? 16);

async function look(name: string, options: Parameters<typeof browser.newContext>[0], saved: object, preferences: object, act?: (page: import("playwright-core").Page) => Promise<void>): Promise<void> {
  if (wanted.length && !wanted.includes(name)) return;
  const context = await browser.newContext(options);
  await context.addInitScript(([transceivers, likes, marks]) => {
    localStorage.setItem("ferrow.transceivers", transceivers as string);
    localStorage.setItem("ferrow.preferences", likes as string);
    localStorage.setItem("ferrow.bookmarks", marks as string);
  }, [JSON.stringify(saved), JSON.stringify(preferences), JSON.stringify([{ name: "Beacon", frequency: 14100000, mode: "cw" }])]);
  const page = await context.newPage();
  page.on("console", (message) => console.log(name, message.type(), message.text()));
  page.on("pageerror", (error) => console.log(name, "error", error.message));
  await page.goto(url);
  await page.waitForTimeout(seconds * 1000);
  await act?.(page);
  console.log(name, JSON.stringify(await page.evaluate("ferrow.figures()")));
  await page.screenshot({ path: join(out, `${name}.png`) });
  await context.close();
}
const at = (frequency: number, mode: string, span: number, offset = 0): object => ({ state: { frequency, mode }, span, offset });
const wide = { width: 1440, height: 900 };
const dark = { viewport: wide, colorScheme: "dark" } as const;
const likes = { call: "N0CALL", grid: "JO62", transmit: true };

await look("dark", dark, [at(14074000, "ft8", 12000, 2000)], { ...likes, listening: true });
await look("light", { viewport: wide, colorScheme: "light" }, [at(14200000, "usb", 300000)], {}, (page) => page.click("text=Display"));
await look("four", dark, [at(14074000, "ft8", 6000, 1500), at(14030000, "cw", 24000), at(14200000, "usb", 48000), at(7150000, "lsb", 192000)], likes, (page) => page.click("text=Transmit"));
await look("two", dark, [at(14074000, "ft8", 6000, 1500), at(14200000, "usb", 192000)], likes, (page) => page.click("text=Bookmarks"));
await look("help", dark, [at(14150000, "am", 192000)], likes, (page) => page.keyboard.press("?"));
const phone = { viewport: { width: 390, height: 844 }, colorScheme: "dark", hasTouch: true, isMobile: true, deviceScaleFactor: 2 } as const;
await look("phone", phone, [at(14074000, "ft8", 6000, 1500), at(7150000, "lsb", 48000)], likes);
await look("phone-below", phone, [at(14074000, "ft8", 6000, 1500)], likes, async (page) => {
  await page.evaluate(() => scrollTo(0, 700));
  await page.waitForTimeout(500);
});
await browser.close();
await server.stop();
