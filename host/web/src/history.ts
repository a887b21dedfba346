// The last spectra of a panadapter, each with the frequencies it lies at, so that zooming and panning moves what was
// already heard along.
import type { SpectrumFrame } from "./protocol";

export const kBins = 2048;

export class History {
  readonly values: Uint8Array;
  readonly bins: Uint16Array;
  readonly low: Float64Array;
  readonly high: Float64Array;
  readonly base: Float32Array;
  readonly step: Float32Array;
  /** Spectra ever added; the newest lies in row (added - 1) % rows. */
  added = 0;

  constructor(readonly rows: number) {
    this.values = new Uint8Array(rows * kBins);
    this.bins = new Uint16Array(rows);
    this.low = new Float64Array(rows);
    this.high = new Float64Array(rows);
    this.base = new Float32Array(rows);
    this.step = new Float32Array(rows);
  }

  add(frame: SpectrumFrame): number {
    const row = this.added % this.rows;
    this.values.set(frame.values, row * kBins);
    this.bins[row] = frame.values.length;
    this.low[row] = frame.low;
    this.high[row] = frame.high;
    this.base[row] = frame.base;
    this.step[row] = frame.step;
    ++this.added;
    return row;
  }

  /** The row of the spectrum `age` before the newest (0), or -1 where there is none. */
  rowAt(age: number): number {
    const number = this.added - 1 - age;
    return number < 0 || age >= this.rows ? -1 : number % this.rows;
  }

  rowValues(row: number): Uint8Array {
    return this.values.subarray(row * kBins, row * kBins + (this.bins[row] as number));
  }
}

/**
 * Lays a spectrum onto `out.length` pixels of a view from viewLow to viewHigh: the highest bin of each pixel where several
 * fall into one, a line from bin to bin where one covers several; NaN outside. `values` is any kind of number.
 */
export function layOnPixels(
  values: ArrayLike<number>, count: number, low: number, high: number, viewLow: number, viewHigh: number, out: Float32Array,
): void {
  const width = out.length;
  const perHz = count / (high - low);
  const first = (viewLow - low) * perHz;
  const perPixel = ((viewHigh - viewLow) / width) * perHz;
  for (let x = 0; x < width; ++x) {
    const from = first + x * perPixel;
    const to = from + perPixel;
    if (to <= 0 || from >= count) {
      out[x] = NaN;
    } else if (perPixel >= 1) {
      const a = Math.max(0, Math.floor(from));
      const b = Math.min(count, Math.max(a + 1, Math.floor(to)));
      let best = values[a] as number;
      for (let i = a + 1; i < b; ++i) if ((values[i] as number) > best) best = values[i] as number;
      out[x] = best;
    } else {
      const place = Math.min(count - 1, Math.max(0, (from + to) / 2 - 0.5));
      const i = Math.floor(place);
      const next = Math.min(count - 1, i + 1);
      out[x] = (values[i] as number) + ((values[next] as number) - (values[i] as number)) * (place - i);
    }
  }
}
