import { launch } from "../support/browser";
import { openPage } from "../support/page";
import { Station } from "../support/station";
const station = new Station("127.77.3.9");
const browser = await launch();
await station.start();
const { page } = await openPage(browser, station.url, [{ frequency: 14_099_000, mode: "usb", span: 20_000 }], { format: process.argv[2] ?? "pcm", rate: 5 });
await page.waitForTimeout(3000);
await page.getByRole("button", { name: "Listen", exact: true }).click();
await page.evaluate(`(() => { const p = ferrow.rig.audio.push.bind(ferrow.rig.audio); ferrow.delays=[]; ferrow.rig.audio.push = (k) => { ferrow.delays.push(performance.timeOrigin+performance.now()+ (ferrow.rig.connection.clock.offset??0) - k.time); p(k); }; })()`);
for (let i = 0; i < 12; ++i) {
  await page.waitForTimeout(1500);
  console.log(JSON.stringify(await page.evaluate(`(() => { const a = ferrow.rig.audio; const d = ferrow.delays.splice(0).sort((x,y)=>x-y); const s = a.context.getOutputTimestamp(); return { n: d.length, dmin: d[0], dmed: d[d.length>>1], dmax: d[d.length-1], streams: a.streams, lat: a.latency, lag: performance.now()-s.performanceTime, ctx: a.context.currentTime - s.contextTime, out: a.context.outputLatency, t: a.context.currentTime, now: performance.now()/1000, trip: ferrow.rig.connection.clock.trip }; })()`)));
}
await browser.close();
await station.stop();
