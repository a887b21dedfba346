import assert from "node:assert/strict";
import { test } from "node:test";
import { microphoneMessage, parseBinary, parseText, pcmSamples } from "../../src/protocol";
import { ClockOffset, retryDelay } from "../../src/connection";

function spectrum(bins: number, values = bins): ArrayBuffer {
  const out = new DataView(new ArrayBuffer(32 + values));
  out.setUint8(0, 1);
  out.setUint8(1, 9);
  out.setUint16(2, bins, true);
  out.setUint32(4, 77, true);
  out.setFloat64(8, 14_000_000, true);
  out.setFloat64(16, 14_048_000, true);
  out.setFloat32(24, -150, true);
  out.setFloat32(28, 0.5, true);
  for (let i = 0; i < values; ++i) out.setUint8(32 + i, i & 255);
  return out.buffer;
}

test("a spectrum is read field by field", () => {
  const message = parseBinary(spectrum(512));
  assert.equal(message?.kind, "spectrum");
  const frame = message?.kind === "spectrum" ? message.frame : null;
  assert.deepEqual([frame?.id, frame?.sequence, frame?.low, frame?.high, frame?.base, frame?.step], [9, 77, 14_000_000, 14_048_000, -150, 0.5]);
  assert.equal(frame?.values.length, 512);
  assert.equal(frame?.values[300], 300 & 255);
});

test("messages that are cut or make no sense are dropped", () => {
  for (const length of [0, 1, 3, 8, 31]) assert.equal(parseBinary(spectrum(64).slice(0, length)), null);
  assert.equal(parseBinary(spectrum(64, 63)), null);
  assert.equal(parseBinary(spectrum(0, 10)), null);
  const upside = spectrum(64);
  new DataView(upside).setFloat64(16, 1, true);
  assert.equal(parseBinary(upside), null);
  const strange = spectrum(64);
  new DataView(strange).setFloat32(24, NaN, true);
  assert.equal(parseBinary(strange), null);
  const other = spectrum(64);
  new DataView(other).setUint8(0, 200);
  assert.equal(parseBinary(other), null);
});

test("audio is read, 16 bit become samples", () => {
  const out = new DataView(new ArrayBuffer(26));
  out.setUint8(0, 2);
  out.setUint8(1, 3);
  out.setUint32(4, 5, true);
  out.setFloat64(8, 1e12, true);
  out.setUint32(16, 24000, true);
  out.setInt16(20, -32768, true);
  out.setInt16(22, 16384, true);
  const message = parseBinary(out.buffer);
  const packet = message?.kind === "audio" ? message.packet : null;
  assert.deepEqual([packet?.id, packet?.format, packet?.sequence, packet?.time, packet?.rate], [3, "pcm", 5, 1e12, 24000]);
  assert.deepEqual([...pcmSamples(packet?.payload ?? new Uint8Array())], [-1, 0.5, 0]);
  out.setUint8(2, 7);
  assert.equal(parseBinary(out.buffer), null);
});

test("the microphone's samples are limited", () => {
  const view = new DataView(microphoneMessage(4, 8, Float32Array.of(0, 2, -2)));
  assert.deepEqual([view.getUint8(0), view.getUint8(1), view.getUint32(4, true), view.getInt16(10, true), view.getInt16(12, true)], [3, 4, 8, 32767, -32767]);
});

test("texts that are no objects with an is are dropped", () => {
  for (const text of ["", "{", "[]", "null", "3", "{}", '{"is":4}']) assert.equal(parseText(text), null, text);
  assert.deepEqual(parseText('{"is":"gap","count":2}'), { is: "gap", count: 2 });
});

test("attempts to connect start quick and never wait more than five seconds", () => {
  assert.ok(retryDelay(0) <= 300);
  for (let i = 1; i < 50; ++i) assert.ok(retryDelay(i) >= retryDelay(i - 1) && retryDelay(i) <= 5000);
});

test("the quickest ping tells the clock", () => {
  const clock = new ClockOffset();
  assert.equal(clock.offset, null);
  clock.add(1000, 5100, 1200);
  clock.add(2000, 6005, 2010);
  clock.add(3000, 7300, 3400);
  assert.equal(clock.offset, 4000);
  assert.equal(clock.trip, 10);
});
