// What a click at a frequency means in each mode.
import type { ModeInfo, TransceiverState } from "./protocol";

/** Hz between the tones of RTTY; its marker is the lower one. */
const kShift = 170;
/** Hz of the tone that a CW signal on the dial's frequency makes. */
export const kCwPitch = 650;

export const hasMarker = (family: string): boolean => family === "psk" || family === "rtty";

/** Where in the spectrum an audio frequency of the transceiver lies. */
export function audioToHz(state: TransceiverState, family: string, audio: number): number {
  if (family === "cw") return state.frequency + audio - kCwPitch;
  return state.mode === "lsb" ? state.frequency - audio : state.frequency + audio;
}

/** Multiples of how many Hz a click tunes to. */
export function clickStep(family: string, mode: string, span: number): number {
  if (family === "cw") return 10;
  if (mode === "am" || mode === "fm") return span > 20000 ? 500 : 100;
  return span > 200000 ? 500 : span > 5000 ? 100 : 10;
}

export interface Tuning {
  frequency?: number;
  marker?: number;
}

/** `hz`: where the click was. Text modes put their marker there, and move the dial only if that is out of the passband. */
export function tuningOfClick(hz: number, state: TransceiverState, mode: ModeInfo | null, span: number): Tuning {
  const family = mode?.family ?? "voice";
  if (hasMarker(family)) {
    const audio = Math.round(hz - state.frequency) - (family === "rtty" ? kShift / 2 : 0);
    if (audio >= 100 && audio <= 3500) return { marker: audio };
    const marker = state.marker ?? 1500;
    return { frequency: Math.round((hz - marker) / 10) * 10 };
  }
  const step = clickStep(family, state.mode, span);
  return { frequency: Math.round(hz / step) * step };
}

/** Frequency of the strongest bin within `reach` Hz of `hz`, if it stands 8 dB out of their middle; else `hz`. */
export function snapToPeak(hz: number, reach: number, values: Float32Array, count: number, low: number, high: number): number {
  const width = (high - low) / count;
  const from = Math.max(0, Math.floor((hz - reach - low) / width));
  const to = Math.min(count - 1, Math.ceil((hz + reach - low) / width));
  if (to - from < 2) return hz;
  let best = from;
  for (let i = from; i <= to; ++i) if ((values[i] as number) > (values[best] as number)) best = i;
  const sorted = values.slice(from, to + 1).sort();
  const middle = sorted[sorted.length >> 1] as number;
  return (values[best] as number) - middle < 8 ? hz : low + (best + 0.5) * width;
}

export interface Preset {
  name: string;
  low: number;
  high: number;
}

const kWidths: Record<string, readonly number[]> = {
  cw: [100, 250, 500, 1000],
  am: [5000, 7000, 9000, 12000],
  fm: [8000, 12000, 15000],
  voice: [1800, 2400, 3000, 3600],
  rtty: [300, 500, 1000, 2000],
};

/** Passbands of usual widths for a mode; of the modes that want all of a sideband only that. */
export function presets(mode: ModeInfo): Preset[] {
  const widths = kWidths[mode.name] ?? kWidths[mode.family];
  const label = (width: number): string => (width >= 1000 ? `${width / 1000}k` : String(width));
  if (!widths) return [{ name: label(mode.high - mode.low), low: mode.low, high: mode.high }];
  return [...new Set([...widths, mode.high - mode.low])].sort((a, b) => a - b).map((width) => {
    const name = label(width);
    if (mode.low < 0 && mode.high > 0) return { name, low: -width / 2, high: width / 2 };
    if (mode.family !== "voice") {
      const centre = (mode.low + mode.high) / 2;
      return { name, low: centre - width / 2, high: centre + width / 2 };
    }
    return mode.high <= 0 ? { name, low: mode.high - width, high: mode.high } : { name, low: mode.low, high: mode.low + width };
  });
}

/** Narrower (below 1) or wider passband around what it listens to. */
export function scaledFilter(low: number, high: number, factor: number): { low: number; high: number } {
  const width = Math.max(50, (high - low) * factor);
  if (low >= 0) return { low, high: Math.round(low + width) };
  if (high <= 0) return { low: Math.round(high - width), high };
  return { low: Math.round((-width * -low) / (high - low)), high: Math.round((width * high) / (high - low)) };
}
