// What becomes of spectra on their way to the screen: the automatic level range, averaging, peak hold.

export interface Range {
  /** dB of the darkest colour and of the bottom of the trace. */
  floor: number;
  /** dB of the brightest colour and of the top of the trace. */
  top: number;
}

/** The value below which `share` of the values lie, by a histogram of half dB. NaN are left out. */
export function percentile(values: Float32Array, count: number, share: number): number {
  const histogram = new Uint32Array(512);
  let known = 0;
  for (let i = 0; i < count; ++i) {
    const value = values[i] as number;
    if (Number.isNaN(value)) continue;
    ++known;
    const slot = Math.round((value + 200) * 2);
    const kept = Math.min(511, Math.max(0, slot));
    histogram[kept] = (histogram[kept] as number) + 1;
  }
  let left = share * known;
  for (let slot = 0; slot < 512; ++slot) {
    left -= histogram[slot] as number;
    if (left <= 0) return slot / 2 - 200;
  }
  return 56;
}

/** Finds the range that shows the noise as a calm dark and the strong signals bright; moves slowly. */
export class AutoLevel {
  private noise = NaN;
  private peak = NaN;

  update(decibel: Float32Array, count: number): void {
    const noise = percentile(decibel, count, 0.4);
    const peak = percentile(decibel, count, 0.998);
    if (Number.isNaN(this.noise)) {
      this.noise = noise;
      this.peak = peak;
      return;
    }
    // A big step (another band, another gain) is taken over quickly, small ones in a second or two.
    const rate = Math.abs(noise - this.noise) > 12 ? 0.3 : 0.03;
    this.noise += (noise - this.noise) * rate;
    this.peak += (peak - this.peak) * (peak > this.peak ? 0.1 : 0.01);
  }

  restart(): void {
    this.noise = NaN;
  }

  get range(): Range | null {
    if (Number.isNaN(this.noise)) return null;
    const floor = this.noise - 6;
    return { floor, top: Math.max(floor + 48, this.peak + 6) };
  }
}

export type TraceStyle = "live" | "average" | "peak" | "both";

/** Average and peak of spectra that lie at the same place; both begin anew when the place changes. */
export class TraceHistory {
  readonly average = new Float32Array(2048);
  readonly peak = new Float32Array(2048);
  count = 0;
  private low = NaN;
  private high = NaN;

  /** `smoothing` 0 (none) to 1; `fall` dB by which the peak sinks with each spectrum. */
  add(decibel: Float32Array, count: number, low: number, high: number, smoothing: number, fall: number): void {
    if (count !== this.count || low !== this.low || high !== this.high) {
      this.count = count;
      this.low = low;
      this.high = high;
      this.average.set(decibel.subarray(0, count));
      this.peak.set(decibel.subarray(0, count));
      return;
    }
    const part = 1 - Math.min(0.98, Math.max(0, smoothing));
    for (let i = 0; i < count; ++i) {
      const value = decibel[i] as number;
      const old = this.average[i] as number;
      this.average[i] = Number.isNaN(old) ? value : old + (value - old) * part;
      const peak = (this.peak[i] as number) - fall;
      this.peak[i] = peak > value ? peak : value;
    }
  }

  clearPeak(): void {
    this.peak.set(this.average);
  }
}
