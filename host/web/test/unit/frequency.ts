import assert from "node:assert/strict";
import { test } from "node:test";
import { axisLabel, formatFrequency, parseFrequency, setDigit, stepFrequency, turnDigit } from "../../src/frequency";

test("frequencies are written in groups of three", () => {
  assert.equal(formatFrequency(14074000), "14.074.000");
  assert.equal(formatFrequency(472000), "0.472.000");
  assert.equal(formatFrequency(144_300_001), "144.300.001");
});

test("frequencies are read in the forms that people type", () => {
  for (const [text, hz] of [
    ["14.074", 14074000], ["14,074", 14074000], ["7074k", 7074000], ["7074", 7074000], ["14074000", 14074000], ["14.074.5", 14074500], ["14.074.000", 14074000],
    ["3.5 MHz", 3500000], ["50", 50_000_000], ["1840.5 khz", 1840500], ["100 hz", 100],
  ] as const) assert.equal(parseFrequency(text), hz, text);
  for (const text of ["", "abc", "14.0.7.4", "-7", "0", "1e9", "99999 MHz", "14..1"]) assert.equal(parseFrequency(text), null, text);
});

test("what is written is read back", () => {
  for (const hz of [135700, 472000, 1840000, 7000001, 14074000, 50313000, 1_296_200_000]) assert.equal(parseFrequency(formatFrequency(hz)), hz);
});

test("digits turn with carry and stop at the ends", () => {
  assert.equal(turnDigit(9_999_999, 0, 1), 10_000_000);
  assert.equal(turnDigit(14_000_000, 3, -1), 13_999_000);
  assert.equal(turnDigit(500, 6, -1), 0);
  assert.equal(setDigit(14_074_000, 6, 8), 18_074_000);
});

test("a step goes to the next multiple", () => {
  assert.equal(stepFrequency(14_074_030, 100, 1), 14_074_100);
  assert.equal(stepFrequency(14_074_030, 100, -1), 14_074_000);
  assert.equal(stepFrequency(14_074_000, 100, 1), 14_074_100);
  assert.equal(stepFrequency(14_074_000, 100, -1), 14_073_900);
});

test("axis labels tell neighbouring marks apart", () => {
  for (const step of [10, 20, 50, 100, 200, 500, 1000, 5000, 50000]) assert.notEqual(axisLabel(14_074_000, step), axisLabel(14_074_000 + step, step), String(step));
});
