import assert from "node:assert/strict";
import { test } from "node:test";
import { bandAt, kBands, segmentsWithin, usualMode } from "../../src/bands";
import { mergeBookmarks, mergePreferences, readBookmarks } from "../../src/settings";
import { meterPlace, Needle, sUnits } from "../../src/smeter";
import { audioToHz, presets, scaledFilter, snapToPeak, tuningOfClick } from "../../src/tuning";
import { Transceiver } from "../../src/transceiver";
import type { SpectrumFrame, TransceiverState } from "../../src/protocol";

const state: TransceiverState = {
  id: 1, frequency: 14_070_000, mode: "usb", low: 200, high: 2800, agc: "medium", gain: 0, squelch: null, nr: null, volume: 0.5, mute: false, marker: null, valid: true,
};
const mode = (name: string, low: number, high: number, family: string): { name: string; low: number; high: number; family: string } => ({ name, low, high, family });

test("a click tunes in steps that go with mode and zoom", () => {
  assert.deepEqual(tuningOfClick(14_100_032, state, mode("usb", 200, 2800, "voice"), 48_000), { frequency: 14_100_000 });
  assert.deepEqual(tuningOfClick(14_030_004, { ...state, mode: "cw" }, mode("cw", -250, 250, "cw"), 48_000), { frequency: 14_030_000 });
});

test("a click within a text mode's passband moves the marker, one outside the dial", () => {
  const psk = mode("psk31", 100, 3000, "psk");
  assert.deepEqual(tuningOfClick(14_071_012, { ...state, mode: "psk31", marker: 1500 }, psk, 6000), { marker: 1012 });
  assert.deepEqual(tuningOfClick(14_080_000, { ...state, mode: "psk31", marker: 1500 }, psk, 48_000), { frequency: 14_078_500 });
});

test("the signal nearest to a click is found, noise is not", () => {
  const values = new Float32Array(1000).fill(-120);
  values[503] = -80;
  assert.equal(snapToPeak(50_000, 600, values, 1000, 0, 100_000), 50_350);
  assert.equal(snapToPeak(20_000, 600, values, 1000, 0, 100_000), 20_000);
});

test("audio frequencies lie where they are heard", () => {
  assert.equal(audioToHz(state, "psk", 1500), 14_071_500);
  assert.equal(audioToHz({ ...state, mode: "lsb" }, "voice", 1500), 14_068_500);
  assert.equal(audioToHz({ ...state, mode: "cw" }, "cw", 650), 14_070_000);
});

test("presets hold the mode's own width and keep to its side", () => {
  for (const one of presets(mode("lsb", -2800, -200, "voice"))) assert.ok(one.high === -200 && one.low < one.high);
  assert.ok(presets(mode("usb", 200, 2800, "voice")).some((one) => one.low === 200 && one.high === 2800));
  for (const one of presets(mode("am", -4500, 4500, "voice"))) assert.equal(one.low, -one.high);
  assert.deepEqual(scaledFilter(200, 2200, 0.5), { low: 200, high: 1200 });
  assert.deepEqual(scaledFilter(-2200, -200, 0.5), { low: -1200, high: -200 });
  assert.deepEqual(scaledFilter(-4000, 4000, 0.5), { low: -2000, high: 2000 });
});

test("bands do not overlap, their segments fill them, FT8 lies within", () => {
  let last = 0;
  for (const band of kBands) {
    assert.ok(band.low > last, band.name);
    last = band.high;
    assert.equal(band.segments[0]?.low, band.low);
    band.segments.forEach((one, i) => assert.ok(one.high > one.low && (i === 0 || band.segments[i - 1]?.high === one.low), band.name));
    for (const hz of [band.ft8, band.ft4]) if (hz) assert.equal(bandAt(hz), band);
    assert.equal(bandAt(band.home), band);
  }
  assert.deepEqual([usualMode(14_200_000), usualMode(7_150_000), usualMode(14_030_000), usualMode(14_074_000), usualMode(9_500_000)], ["usb", "lsb", "cw", "ft8", "am"]);
  assert.equal(segmentsWithin(14_060_000, 14_120_000).length, 5);
});

test("S units", () => {
  assert.deepEqual([-73, -79, -63, -33, -121, -200].map((level) => sUnits(level, -73)), ["S9", "S8", "S9+10", "S9+40", "S1", "S0"]);
  assert.equal(meterPlace(-73, -73), 0.6);
  assert.equal(meterPlace(-13, -73), 1);
  const needle = new Needle();
  needle.update(-60, 0.1);
  for (let i = 0; i < 10; ++i) needle.update(-120, 0.1);
  assert.ok(needle.value < -80 && needle.peak === -60);
  for (let i = 0; i < 40; ++i) needle.update(-120, 0.1);
  assert.ok(needle.peak < -100);
});

test("bookmarks are read from files of any content", () => {
  assert.deepEqual(readBookmarks([{ name: "a", frequency: 7e6, mode: "lsb" }, { name: "", frequency: 1, mode: "x" }, null, 7, { name: "b", frequency: "x", mode: "am" }]), [{ name: "a", frequency: 7e6, mode: "lsb" }]);
  assert.equal(readBookmarks("x"), null);
  assert.equal(readBookmarks(null), null);
  const merged = mergeBookmarks([{ name: "b", frequency: 2, mode: "am" }], [{ name: "b", frequency: 2, mode: "am" }, { name: "a", frequency: 1, mode: "am" }]);
  assert.deepEqual(merged.map((one) => one.name), ["a", "b"]);
});

test("stored preferences of a wrong type are not taken over", () => {
  const merged = mergePreferences({ rate: "fast", volume: 0.2, unknown: 1 });
  assert.deepEqual([merged.rate, merged.volume, "unknown" in merged], [30, 0.2, false]);
  assert.equal(mergePreferences(null).transmit, false);
});

test("a line of the waterfall holds the highest of its spectra, though their scales differ", () => {
  const one = new Transceiver(1, state, 48_000, 0);
  const frame = (base: number, step: number, ...values: number[]): SpectrumFrame => ({ id: 1, sequence: 0, low: 0, high: 3, base, step, values: Uint8Array.from(values) });
  one.addSpectrum(frame(-120, 0.5, 0, 100, 0), 0, 2, 30);
  assert.equal(one.history.added, 0);
  one.addSpectrum(frame(-200, 1, 0, 90, 150), 0, 2, 30);
  assert.equal(one.history.added, 1);
  const level = (i: number): number => Math.round((one.history.base[0] as number) + (one.history.step[0] as number) * (one.history.rowValues(0)[i] as number));
  assert.deepEqual([0, 1, 2].map(level), [-120, -70, -50]);
  // Beyond the receiver's edge nothing is drawn.
  assert.deepEqual([...one.spectrum.subarray(0, 3)], [NaN, -110, -50]);
  one.addSpectrum(frame(-120, 0.5, 1, 2, 3), 0, 1, 30);
  assert.equal(one.history.added, 2);
});

test("the server does not overrule what the operator is just setting", () => {
  const one = new Transceiver(1, state, 48_000, 0);
  one.wish({ frequency: 14_080_000 }, 1000);
  one.hear({ ...state, frequency: 14_075_000, agc: "slow" });
  assert.equal(one.settle(1100), true);
  assert.deepEqual([one.state.frequency, one.state.agc], [14_080_000, "slow"]);
  assert.equal(one.settle(1600), true);
  assert.equal(one.state.frequency, 14_075_000);
});
