// A picture of the page of a running server: node picture.mjs URL FILE.png. Waits for a period of FT8, half a minute at most.
import { writeFileSync } from "node:fs";
import { findChromium, launch } from "../support/browser";
import { openPage, spectra, until } from "../support/page";

const [url, file] = process.argv.slice(2);
if (!url || !file) throw new Error("usage: picture.mjs URL FILE.png");
if (!findChromium()) {
  console.error("there is no chromium here (FERROW_CHROMIUM may say where)");
  process.exit(1);
}
const browser = await launch();
const list = [
  { frequency: 14_074_000, mode: "ft8", span: 4400, offset: 1500 },
  { frequency: 14_150_000, mode: "usb", span: 300_000, offset: 0 },
];
const likes = { listening: true, rate: 20, perLine: 2, call: "N0CALL", grid: "JO62", trace: "both" };
const { page } = await openPage(browser, url, list, likes, { viewport: { width: 1440, height: 860 }, colorScheme: "dark" });
await page.getByRole("button", { name: "Listen", exact: true }).click();
await spectra(page, 20);
await until(() => page.locator(".decodes tbody tr").count(), (rows) => rows > 0, 60, "decodes").catch((error: unknown) => console.error(String(error)));
// Until the waterfall is full of the next period.
await page.waitForTimeout(12_000);
await page.mouse.move(0, 0);
writeFileSync(file, await page.screenshot());
await browser.close();
