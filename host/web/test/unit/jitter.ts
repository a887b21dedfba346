import assert from "node:assert/strict";
import { test } from "node:test";
import { JitterBuffer } from "../../src/jitter";

const kRate = 24000;
const kPacket = 256;

/** Plays `seconds` of a 1 kHz tone whose packets come with `late(i)` ms of delay; what came out, and the buffer. */
function play(seconds: number, late: (packet: number) => number, senderRate = kRate, inRate = kRate): { out: Float32Array; buffer: JitterBuffer; latency: number[] } {
  const buffer = new JitterBuffer(kRate);
  const out = new Float32Array(Math.floor((seconds * kRate) / 128) * 128);
  const latency: number[] = [];
  let packet = 0;
  for (let at = 0; at + 128 <= out.length; at += 128) {
    const now = (at / kRate) * 1000;
    const due = (): number => (((packet + 1) * kPacket) / senderRate) * 1000 * (kRate / inRate);
    while (due() + late(packet) <= now) {
      const samples = Float32Array.from({ length: kPacket }, (_, i) => 0.5 * Math.sin((2 * Math.PI * 1000 * (packet * kPacket + i)) / inRate));
      buffer.push(samples, inRate, due());
      ++packet;
    }
    buffer.mixInto(out.subarray(at, at + 128));
    if (at > kRate) latency.push(now - buffer.head);
  }
  return { out, buffer, latency };
}

/** Power of a tone and of everything else, from `from` on. */
function toneAndRest(out: Float32Array, hz: number, from: number): { tone: number; rest: number } {
  const n = 1200;
  let tone = 0, all = 0, windows = 0;
  for (let start = from; start + n <= out.length; start += n, ++windows) {
    let re = 0, im = 0;
    for (let i = 0; i < n; ++i) {
      const value = out[start + i] as number;
      re += value * Math.cos((2 * Math.PI * hz * i) / kRate);
      im += value * Math.sin((2 * Math.PI * hz * i) / kRate);
      all += value * value;
    }
    tone += (2 * (re * re + im * im)) / (n * n);
  }
  return { tone: tone / windows, rest: all / (n * windows) - tone / windows };
}

test("an even stream plays without a gap and with little delay", () => {
  const { out, buffer, latency } = play(6, () => 0);
  assert.equal(buffer.underruns, 0);
  assert.equal(buffer.skips, 0);
  assert.ok(Math.max(...latency) < 75, `${Math.max(...latency)} ms`);
  const { tone, rest } = toneAndRest(out, 1000, kRate);
  assert.ok(tone > 0.12 && rest < 0.005 * tone, `${tone} ${rest}`);
});

test("jitter of 30 ms is learnt: dropouts at the start only", () => {
  const late = (i: number): number => (i % 7 === 0 ? 30 : (i * 13) % 11);
  const { buffer, latency } = play(30, late);
  assert.ok(buffer.underruns <= 3, `${buffer.underruns}`);
  assert.ok(latency.slice(-1000).every((one) => one < 140), `${Math.max(...latency.slice(-1000))}`);
});

test("a sender whose clock is off by 300 ppm neither starves nor floods the buffer", () => {
  for (const rate of [kRate * 1.0003, kRate * 0.9997]) {
    const { buffer, latency } = play(60, () => 0, rate);
    assert.equal(buffer.underruns + buffer.skips, 0);
    assert.ok(Math.max(...latency) < 90, `${Math.max(...latency)}`);
  }
});

test("after a long pause the delay comes down at once", () => {
  const { buffer, latency } = play(8, (i) => (i > 200 && i < 230 ? 400 - (i - 200) * 10 : 0));
  assert.ok(latency.slice(-100).every((one) => one < 220), `${Math.max(...latency.slice(-100))}`);
  assert.ok(buffer.skips >= 1);
});

test("a stream that was muted comes back as it was", () => {
  const packets = new JitterBuffer(kRate);
  const out = new Float32Array(kPacket);
  let time = 0;
  const run = (count: number, sending: boolean): void => {
    for (let i = 0; i < count; ++i) {
      time += (kPacket / kRate) * 1000;
      if (sending) packets.push(new Float32Array(kPacket).fill(0.1), kRate, time);
      packets.mixInto(out.fill(0));
    }
  };
  run(100, true);
  const target = packets.target;
  for (let i = 0; i < 5; ++i) {
    run(200, false);
    run(100, true);
  }
  assert.equal(packets.underruns, 0);
  assert.ok(packets.target <= target && (out[100] as number) > 0.05, `${packets.target} ${out[100]}`);
});

test("48 kHz packets come out at the right pitch", () => {
  const { out } = play(4, () => 0, kRate, 48000);
  const { tone, rest } = toneAndRest(out, 1000, kRate * 2);
  assert.ok(tone > 0.12 && rest < 0.01 * tone, `${tone} ${rest}`);
});
