import assert from "node:assert/strict";
import { test } from "node:test";
import { clampTo, follow, highOf, hzAt, lowOf, serverBins, serverZoom, tickStep, xOf, zoomAround } from "../../src/view";

const view = { centre: 14_100_000, span: 48_000 };

test("pixels and hertz are each other's inverse", () => {
  for (const x of [0, 17, 400, 999]) assert.ok(Math.abs(xOf(view, hzAt(view, x, 1000), 1000) - x) < 1e-6);
  assert.equal(hzAt(view, 500, 1000), 14_100_000);
});

test("zooming leaves what is under the pointer where it is", () => {
  for (const factor of [0.3, 0.9, 1.5, 8]) {
    const before = hzAt(view, 230, 1000);
    const zoomed = zoomAround(view, 230, 1000, factor, 384_000);
    assert.ok(Math.abs(hzAt(zoomed, 230, 1000) - before) < 1e-6, String(factor));
  }
  assert.equal(zoomAround(view, 10, 1000, 0.001, 384_000).span, 384_000);
  assert.equal(zoomAround(view, 10, 1000, 1e6, 384_000).span, 500);
});

test("the view stays within the receiver", () => {
  const reach = { centre: 14_000_000, width: 384_000 };
  const kept = clampTo({ centre: 15_000_000, span: 100_000 }, reach);
  assert.equal(highOf(kept), 14_192_000);
  assert.equal(kept.span, 100_000);
  assert.deepEqual(clampTo({ centre: 13_900_000, span: 1e6 }, reach), { centre: 14_000_000, span: 384_000 });
});

test("a dial that leaves the picture takes it along, another does not", () => {
  assert.deepEqual(follow(view, 14_105_000), view);
  const moved = follow(view, 14_200_000);
  assert.ok(lowOf(moved) < 14_200_000 && highOf(moved) > 14_200_000);
});

test("the server's zoom is the highest power of two that fills the view", () => {
  for (const span of [384_000, 300_000, 192_000, 100_000, 48_000, 3000, 750]) {
    const zoom = serverZoom({ centre: 0, span }, 384_000);
    assert.ok(384_000 / zoom >= span, `${span}`);
    assert.ok(zoom === 512 || 384_000 / (2 * zoom) < span, `${span}`);
  }
});

test("there is a bin for each pixel up to the most the server gives", () => {
  assert.equal(serverBins(view, 384_000, 8, 1000), 1024);
  assert.equal(serverBins({ centre: 0, span: 25_000 }, 384_000, 8, 1000), 2048);
  assert.equal(serverBins(view, 384_000, 8, 200), 256);
});

test("marks are 1, 2 or 5 times a power of ten and have room", () => {
  for (const span of [700, 5000, 33_000, 384_000]) {
    const step = tickStep(span, 900, 90);
    assert.ok((step / span) * 900 >= 90);
    assert.ok([1, 2, 5].includes(step / 10 ** Math.floor(Math.log10(step) + 1e-9)));
  }
});
