// What the page remembers in the browser: how the operator likes it, the transceivers last used, bookmarks.
import type { Drawing } from "./waterfall";
import type { TraceStyle } from "./levels";
import type { AudioFormat, TransceiverState } from "./protocol";

export interface Preferences {
  colours: string;
  drawing: Drawing;
  trace: TraceStyle;
  smoothing: number;
  autoLevel: boolean;
  floor: number;
  top: number;
  /** Spectra a second. */
  rate: number;
  /** Spectra of one line of the waterfall. */
  perLine: number;
  step: number;
  volume: number;
  muted: boolean;
  listening: boolean;
  format: Exclude<AudioFormat, "off">;
  s9: number;
  call: string;
  grid: string;
  transmit: boolean;
  labels: boolean;
}

export const kDefaults: Preferences = {
  colours: "dusk", drawing: "auto", trace: "both", smoothing: 0.75, autoLevel: true, floor: -130, top: -60, rate: 30, perLine: 1,
  step: 100, volume: 0.7, muted: false, listening: false, format: "pcm", s9: -73, call: "", grid: "", transmit: false, labels: true,
};

export interface Bookmark {
  name: string;
  frequency: number;
  mode: string;
}

/** A transceiver as it was, and what its picture showed. */
export interface SavedTransceiver {
  state: Omit<TransceiverState, "id" | "valid">;
  span: number;
  /** Hz of the picture's middle from the dial. */
  offset: number;
}

const kPrefix = "ferrow.";

function read(key: string): unknown {
  try {
    return JSON.parse(localStorage.getItem(kPrefix + key) ?? "null");
  } catch {
    return null;
  }
}

export function store(key: string, value: unknown): void {
  try {
    localStorage.setItem(kPrefix + key, JSON.stringify(value));
  } catch {
    // Private windows may refuse; the page works without.
  }
}

/** The defaults, overlaid with what is of the same type in `stored`. */
export function mergePreferences(stored: unknown): Preferences {
  const merged: Record<string, unknown> = { ...kDefaults };
  if (typeof stored === "object" && stored !== null)
    for (const [key, value] of Object.entries(stored))
      if (key in merged && typeof value === typeof merged[key] && !Number.isNaN(value)) merged[key] = value;
  return merged as unknown as Preferences;
}

export const loadPreferences = (): Preferences => mergePreferences(read("preferences"));

const text = (value: unknown): value is string => typeof value === "string" && value.length > 0 && value.length < 200;
const hz = (value: unknown): value is number => typeof value === "number" && Number.isFinite(value) && value >= 0 && value <= 2e9;

/** Bookmarks out of anything: a list, or an object with "bookmarks". Null if it is neither; what is no bookmark is left out. */
export function readBookmarks(value: unknown): Bookmark[] | null {
  const list: unknown = Array.isArray(value) ? value : (value as { bookmarks?: unknown } | null)?.bookmarks;
  if (!Array.isArray(list)) return null;
  const found: Bookmark[] = [];
  for (const one of list as unknown[]) {
    const { name, frequency, mode } = (one ?? {}) as Record<string, unknown>;
    if (text(name) && hz(frequency) && text(mode)) found.push({ name, frequency: Math.round(frequency), mode });
  }
  return found;
}

/** Both lists, sorted by frequency; of those with one name, frequency and mode one is left. */
export function mergeBookmarks(a: readonly Bookmark[], b: readonly Bookmark[]): Bookmark[] {
  const all = new Map<string, Bookmark>();
  for (const one of [...a, ...b]) all.set(`${one.frequency} ${one.mode} ${one.name}`, one);
  return [...all.values()].sort((x, y) => x.frequency - y.frequency);
}

export const loadBookmarks = (): Bookmark[] => readBookmarks(read("bookmarks")) ?? [];

export function loadTransceivers(): SavedTransceiver[] {
  const list = read("transceivers");
  if (!Array.isArray(list)) return [];
  return (list as Partial<SavedTransceiver>[])
    .filter((one) => hz(one?.state?.frequency) && text(one.state?.mode) && typeof one.span === "number" && typeof one.offset === "number")
    .slice(0, 4) as SavedTransceiver[];
}

export function loadLast(band: string): { frequency: number; mode: string } | null {
  const saved = read(`band.${band}`) as { frequency?: unknown; mode?: unknown } | null;
  return saved && hz(saved.frequency) && text(saved.mode) ? { frequency: saved.frequency, mode: saved.mode } : null;
}
