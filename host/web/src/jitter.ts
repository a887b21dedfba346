// Takes packets of audio as the network brings them and gives samples as the sound card wants them. Plain arithmetic on one
// thread; used by the worklet, and without one by the page itself.

export interface StreamReport {
  id: number;
  /** Server's clock in ms when the sample that plays next left the library. */
  head: number;
  /** Seconds waiting. */
  fill: number;
  target: number;
  underruns: number;
  skips: number;
}

const kLeast = 0.025;
const kMost = 0.25;
const kCapacity = 2; // seconds
const kPause = 0.3; // seconds without a packet that are silence, not a late packet
const kReserve = 0.015; // seconds that are to wait at the worst moment
const kFade = 0.008; // of a sample
const kEase = 0.004; // seconds off the target that are left alone

/**
 * One transceiver's audio. The buffer grows after a dropout and shrinks while it is never nearly empty; what waits for no good is
 * passed over, faded from the one place to the other.
 */
export class JitterBuffer {
  underruns = 0;
  skips = 0;
  target = 0.04;
  private ring = new Float32Array(0);
  private rate = 0;
  private written = 0;
  private read = 0;
  private endTime = 0;
  private playing = false;
  private smooth = 0;
  private lowest = Infinity;
  private watched = 0;
  private loudness = 0;
  private starved = 0;
  // Where it was before it passed over something, and how loud that is still.
  private old = 0;
  private oldPart = 0;
  private patience = 0.04;

  constructor(private readonly outRate: number) {}

  /** `time` is the server's when the last of the samples left the library. */
  push(samples: Float32Array, rate: number, time: number): void {
    if (rate !== this.rate) {
      this.rate = rate;
      this.ring = new Float32Array(Math.ceil(rate * kCapacity));
      this.written = this.read = 0;
      this.playing = false;
    }
    for (const sample of samples) {
      this.ring[this.written % this.ring.length] = sample;
      ++this.written;
    }
    this.endTime = time;
    if (!this.playing && this.starved > kPause) {
      // The stream was muted: nothing is to be learnt from that.
      this.target = this.patience;
      --this.underruns;
    }
    this.starved = 0;
    if (this.fill > this.target + 0.15 || this.written - this.read > this.ring.length) {
      this.skipTo(this.written - this.target * this.rate);
    }
  }

  private skipTo(place: number): void {
    this.old = this.read;
    this.oldPart = this.written - this.read > this.ring.length ? 0 : 1;
    this.read = place;
    this.smooth = this.fill;
    this.lowest = Infinity;
    this.watched = 0;
    ++this.skips;
  }

  /** Seconds of audio waiting. */
  get fill(): number {
    return this.rate ? (this.written - this.read) / this.rate : 0;
  }

  get head(): number {
    return this.endTime - this.fill * 1000;
  }

  /** Adds to `out` what is to be heard. */
  mixInto(out: Float32Array): void {
    if (!this.rate) return;
    if (!this.playing) {
      if (this.underruns > 0) this.starved += out.length / this.outRate;
      if (this.fill < this.target) return;
      this.playing = true;
      this.smooth = this.fill;
      this.loudness = 0;
    }
    // Two clocks are never the same: a little faster when too much waits, a little slower when too little, half a percent at most.
    this.smooth += (this.fill - this.smooth) * 0.02;
    const over = this.smooth - this.target;
    const pull = Math.max(-0.005, Math.min(0.005, (over - Math.max(-kEase, Math.min(kEase, over))) * 0.25));
    const step = (this.rate / this.outRate) * (1 + pull);
    for (let i = 0; i < out.length; ++i) {
      if (this.written - this.read < 3) {
        this.playing = false;
        ++this.underruns;
        this.patience = this.target;
        this.target = Math.min(kMost, this.target + 0.015);
        this.lowest = Infinity;
        this.watched = 0;
        return;
      }
      this.loudness = Math.min(1, this.loudness + 0.004);
      let sample = this.sampleAt(this.read);
      if (this.oldPart > 0) {
        sample += this.oldPart * (this.sampleAt(this.old) - sample);
        this.old += step;
        this.oldPart -= kFade;
      }
      out[i] = (out[i] as number) + this.loudness * sample;
      this.read += step;
    }
    this.watch(out.length / this.outRate);
  }

  private watch(seconds: number): void {
    this.lowest = Math.min(this.lowest, this.fill);
    this.watched += seconds;
    const excess = this.lowest - kReserve;
    if (excess > 0.03 && this.watched > 1.5) {
      this.skipTo(this.read + excess * this.rate);
      return;
    }
    if (this.watched < 4) return;
    if (excess > 0) this.target = Math.max(kLeast, this.target - Math.min(0.01, excess / 2));
    this.lowest = Infinity;
    this.watched = 0;
  }

  // Cubic through the four samples around the place.
  private sampleAt(place: number): number {
    const i = Math.floor(place);
    const t = place - i;
    const n = this.ring.length;
    const a = this.ring[(i + n - 1) % n] as number;
    const b = this.ring[i % n] as number;
    const c = this.ring[(i + 1) % n] as number;
    const d = this.ring[(i + 2) % n] as number;
    return b + 0.5 * t * (c - a + t * (2 * a - 5 * b + 4 * c - d + t * (3 * (b - c) + d - a)));
  }
}

export class Mixer {
  private readonly streams = new Map<number, JitterBuffer>();

  constructor(private readonly outRate: number) {}

  push(id: number, samples: Float32Array, rate: number, time: number): void {
    let stream = this.streams.get(id);
    if (!stream) this.streams.set(id, (stream = new JitterBuffer(this.outRate)));
    stream.push(samples, rate, time);
  }

  drop(id: number): void {
    this.streams.delete(id);
  }

  clear(): void {
    this.streams.clear();
  }

  mix(out: Float32Array): void {
    out.fill(0);
    for (const stream of this.streams.values()) stream.mixInto(out);
  }

  report(): StreamReport[] {
    return [...this.streams].map(([id, one]) => ({
      id, head: one.head, fill: one.fill, target: one.target, underruns: one.underruns, skips: one.skips,
    }));
  }
}

export type MixerMessage =
  | { what: "audio"; id: number; samples: Float32Array; rate: number; time: number }
  | { what: "drop"; id: number }
  | { what: "clear" };

export interface MixerReport {
  /** Time of the audio context at which the heads play. */
  time: number;
  streams: StreamReport[];
}
