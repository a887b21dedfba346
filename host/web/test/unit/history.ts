import assert from "node:assert/strict";
import { test } from "node:test";
import { History, layOnPixels } from "../../src/history";
import { AutoLevel, percentile, TraceHistory } from "../../src/levels";
import { kColourMaps, palette } from "../../src/colours";
import type { SpectrumFrame } from "../../src/protocol";

const frame = (low: number, high: number, values: number[]): SpectrumFrame => ({ id: 1, sequence: 0, low, high, base: -150, step: 0.5, values: Uint8Array.from(values) });

test("the newest rows are kept, the oldest are lost", () => {
  const history = new History(4);
  for (let i = 0; i < 6; ++i) history.add(frame(i, i + 1, [i, i]));
  assert.deepEqual([0, 1, 2, 3].map((age) => history.low[history.rowAt(age)]), [5, 4, 3, 2]);
  assert.equal(history.rowAt(4), -1);
  assert.equal(new History(4).rowAt(0), -1);
});

test("a narrow signal keeps its height when many bins fall into a pixel", () => {
  const values = new Float32Array(2048).fill(-120);
  values[1234] = -40;
  const out = new Float32Array(300);
  layOnPixels(values, 2048, 0, 204_800, 0, 204_800, out);
  const at = out.indexOf(Math.max(...out));
  assert.equal(out[at], -40);
  assert.equal(at, Math.floor((1234.5 / 2048) * 300));
});

test("few bins become a line, and outside there is nothing", () => {
  const out = new Float32Array(100);
  layOnPixels([0, 10], 2, 0, 100, 0, 200, out);
  assert.equal(out[10], 0);
  assert.ok(Math.abs((out[25] as number) - 5.1) < 0.2);
  assert.equal(out[49], 10);
  assert.ok(Number.isNaN(out[51]));
});

test("no pixel of a spectrum is left out at any width", () => {
  for (const width of [1, 7, 99, 640, 1400, 5000]) {
    const out = new Float32Array(width);
    layOnPixels(new Uint8Array(1000).fill(7), 1000, -50, 50, -50, 50, out);
    assert.ok(out.every((value) => value === 7), String(width));
  }
});

test("the range lies around noise and signals", () => {
  const values = new Float32Array(1000).map((_, i) => -120 + (i % 10) * 0.3);
  values[500] = values[501] = values[502] = values[503] = -50;
  assert.ok(Math.abs(percentile(values, 1000, 0.5) + 118.7) < 0.6);
  const level = new AutoLevel();
  assert.equal(level.range === null, true);
  for (let i = 0; i < 300; ++i) level.update(values, 1000);
  const range = level.range;
  assert.ok(range && range.floor < -120 && range.floor > -135 && range.top >= -50 && range.top < -30, JSON.stringify(range));
});

test("peaks fall slowly and averages follow; another place starts anew", () => {
  const trace = new TraceHistory();
  trace.add(Float32Array.of(0, -100), 2, 0, 2, 0.5, 1);
  trace.add(Float32Array.of(-100, -100), 2, 0, 2, 0.5, 1);
  assert.deepEqual([trace.peak[0], trace.average[0]], [-1, -50]);
  trace.add(Float32Array.of(-90, -90), 2, 5, 7, 0.5, 1);
  assert.deepEqual([trace.peak[0], trace.average[0]], [-90, -90]);
});

test("colour maps go from dark to bright without steps back", () => {
  for (const map of kColourMaps) {
    const colours = palette(map);
    const light = (i: number): number => 0.3 * (colours[4 * i] as number) + 0.59 * (colours[4 * i + 1] as number) + 0.11 * (colours[4 * i + 2] as number);
    assert.ok(light(0) < 20, map.name);
    if (map.name === "aurora") continue; // ends in red
    for (let i = 1; i < 256; ++i) assert.ok(light(i) >= light(i - 1) - 1, `${map.name} ${i}`);
  }
});
