// What must hold for the page on small screens, and through a lost connection.
import assert from "node:assert/strict";
import { after, afterEach, before, test } from "node:test";
import type { Browser, Page } from "playwright-core";
import { launch } from "../support/browser";
import { frequency, openPage, received, spectra, until } from "../support/page";
import { Station } from "../support/station";

const station = new Station("127.77.3.2", ["--transmit"]);
let browser: Browser;

before(async () => {
  browser = await launch();
  await station.start();
});
// Also what a failed test has left open.
afterEach(async () => {
  for (const context of browser.contexts()) await context.close();
});
after(async () => {
  await browser?.close();
  await station.stop();
});

const phone = { viewport: { width: 390, height: 844 }, hasTouch: true, isMobile: true, deviceScaleFactor: 2 } as const;

const overflow = (page: Page): Promise<string[]> =>
  page.evaluate(() => {
    const wide = document.documentElement.clientWidth;
    if (document.documentElement.scrollWidth <= wide) return [];
    return [...document.querySelectorAll("body *")].filter((one) => one.getBoundingClientRect().right > wide + 1).map((one) => `${one.tagName}.${one.className}`).slice(0, 8);
  });

test("on a phone nothing overflows, whatever is shown", async () => {
  const { page, errors } = await openPage(browser, station.url, [{ frequency: 14_074_000, mode: "ft8", span: 6000, offset: 1500 }, { frequency: 7_150_000, mode: "lsb", span: 48_000 }],
    { rate: 10, transmit: true, call: "N0CALL", grid: "JO62" }, phone);
  await spectra(page, 10);
  for (const tab of ["FT8", "Text", "Bookmarks", "Transmit", "Display"]) {
    await page.getByRole("tab", { name: tab }).click();
    assert.deepEqual(await overflow(page), [], tab);
    assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), 390, tab);
  }
  assert.equal(await page.locator(".panel:visible").count(), 1);
  await page.locator(".switcher button").nth(1).click();
  await until(() => frequency(page), (hz) => hz === 7_150_000, 5, "the other transceiver");
  assert.equal(await page.locator(".panel:visible").count(), 1);
  assert.deepEqual(errors, []);
});

test("two fingers zoom, one moves the picture", async () => {
  const { page } = await openPage(browser, station.url, [{ frequency: 14_150_000, mode: "usb", span: 96_000 }], { rate: 10 }, phone);
  await spectra(page, 5);
  const box = (await page.locator(".scope").boundingBox()) ?? assert.fail("no picture");
  const session = await page.context().newCDPSession(page);
  const y = box.y + box.height * 0.7;
  const touch = (type: "touchStart" | "touchMove" | "touchEnd", ...xs: number[]): Promise<unknown> =>
    session.send("Input.dispatchTouchEvent", { type, touchPoints: xs.map((x, id) => ({ x: box.x + x, y, id })) });
  const middle = (): Promise<number> => page.evaluate("ferrow.scope().low + ferrow.rig.active.view.span / 2");
  const span = (): Promise<number> => page.evaluate("ferrow.rig.active.view.span");
  const before = await middle();
  await touch("touchStart", 170, 200);
  for (let i = 1; i <= 10; ++i) await touch("touchMove", 170 - 8 * i, 200 + 8 * i);
  await touch("touchEnd");
  await until(span, (now) => now < 40_000, 10, "zoomed");
  assert.ok(Math.abs((await middle()) - before) < 5000);
  const from = await middle();
  await touch("touchStart", 60);
  for (let i = 1; i <= 10; ++i) await touch("touchMove", 60 + 10 * i);
  await touch("touchEnd");
  await until(middle, (now) => now < from - 1000, 10, "moved");
  assert.equal(await frequency(page), 14_150_000);
});

test("a server that dies and comes back finds everything restored", async () => {
  const { page } = await openPage(browser, station.url, [{ frequency: 14_150_000, mode: "usb", span: 48_000 }, { frequency: 7_215_000, mode: "am", span: 24_000 }], { rate: 15 });
  await spectra(page, 10);
  await page.evaluate("ferrow.rig.set(ferrow.rig.active, { low: 300, high: 2400, agc: 'slow', volume: 0.25 })");
  await page.waitForTimeout(1000);
  await station.killServer();
  await until(() => page.locator(".link").getAttribute("data-state"), (state) => state === "lost", 20, "told as lost");
  assert.ok(await page.getByText("Waiting for the server").first().isVisible());
  await station.startServer();
  const count = await received(page);
  await until(() => received(page), (now) => now > count + 10, 60, "spectra after the restart");
  assert.equal(await page.locator(".link").getAttribute("data-state"), "open");
  await page.waitForTimeout(1500);
  const states = await page.evaluate<{ frequency: number; mode: string; low: number; high: number; agc: string; volume: number }[]>("ferrow.rig.transceivers.map(one => one.server)");
  const [a, b] = states;
  assert.deepEqual([a?.frequency, a?.mode, a?.low, a?.high, a?.agc, a?.volume], [14_150_000, "usb", 300, 2400, "slow", 0.25]);
  assert.deepEqual([b?.frequency, b?.mode], [7_215_000, "am"]);
});

test("a page that is opened again is as it was left", async () => {
  const { page } = await openPage(browser, station.url, [{ frequency: 14_200_000, mode: "usb", span: 48_000 }], { rate: 10 });
  await spectra(page, 5);
  await page.keyboard.press("b");
  await page.evaluate("ferrow.rig.tune(ferrow.rig.active, 14150000)");
  await page.getByRole("group", { name: "Mode" }).getByText("AM", { exact: true }).click();
  await page.waitForTimeout(1500);
  await page.reload();
  await spectra(page, 5);
  assert.deepEqual(await page.evaluate("[ferrow.rig.active.state.frequency, ferrow.rig.active.state.mode]"), [14_150_000, "am"]);
  await page.getByRole("tab", { name: "Bookmarks" }).click();
  await page.locator(".bookmark").first().click();
  assert.equal(await frequency(page), 14_200_000);
});

test("nothing is sent before transmitting is switched on; then the key is held and let go", async () => {
  const { page } = await openPage(browser, station.url, [{ frequency: 14_200_000, mode: "cw", span: 48_000 }], { rate: 10 });
  await spectra(page, 5);
  const keyed = (): Promise<boolean> => page.evaluate("ferrow.rig.transmit.keyed");
  await page.locator(".scope").hover({ position: { x: 5, y: 5 } });
  await page.keyboard.down(" ");
  await page.waitForTimeout(1000);
  assert.equal(await keyed(), false);
  await page.keyboard.up(" ");
  await page.getByRole("tab", { name: "Transmit" }).click();
  assert.equal(await page.getByRole("button", { name: "Tune" }).isVisible(), false);
  await page.getByLabel("Transmitting", { exact: true }).click();
  await page.getByRole("button", { name: "Tune" }).click();
  await until(keyed, (on) => on, 20, "on the air");
  assert.ok(await page.locator(".air-lamp").isVisible());
  // Longer than the server waits for a listener of whom it hears nothing.
  await page.waitForTimeout(2500);
  assert.equal(await keyed(), true);
  await page.keyboard.press("Escape");
  await until(keyed, (on) => !on, 20, "off the air");
});
