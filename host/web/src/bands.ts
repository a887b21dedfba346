// Amateur bands of region 1 with their usual division, in kHz, and where FT8 and FT4 are found.

export type Use = "cw" | "digital" | "phone" | "all" | "beacon";

export interface Segment {
  low: number;
  high: number;
  use: Use;
}

export interface Band {
  name: string;
  /** Hz. */
  low: number;
  high: number;
  segments: readonly Segment[];
  /** Dial of FT8 and FT4 in Hz; 0: none. */
  ft8: number;
  ft4: number;
  /** Sideband of voice. */
  voice: "lsb" | "usb";
  /** Where the band's button goes when it was never visited. */
  home: number;
}

type Part = readonly [high: number, use: Use];

function band(name: string, low: number, parts: readonly Part[], ft8: number, ft4: number, home: number): Band {
  const segments: Segment[] = [];
  let from = low * 1000;
  for (const [high, use] of parts) {
    segments.push({ low: from, high: high * 1000, use });
    from = high * 1000;
  }
  const voice = low < 10000 && name !== "60m" ? "lsb" : "usb";
  return { name, low: low * 1000, high: from, segments, ft8: ft8 * 1000, ft4: ft4 * 1000, voice, home: home * 1000 };
}

export const kBands: readonly Band[] = [
  band("160m", 1810, [[1838, "cw"], [1843, "digital"], [2000, "all"]], 1840, 0, 1850),
  band("80m", 3500, [[3570, "cw"], [3600, "digital"], [3800, "phone"]], 3573, 3575, 3690),
  band("60m", 5351.5, [[5354, "cw"], [5366, "all"], [5366.5, "digital"]], 5357, 0, 5357),
  band("40m", 7000, [[7040, "cw"], [7060, "digital"], [7200, "phone"]], 7074, 7047.5, 7150),
  band("30m", 10100, [[10130, "cw"], [10150, "digital"]], 10136, 10140, 10136),
  band("20m", 14000, [[14070, "cw"], [14099, "digital"], [14101, "beacon"], [14112, "digital"], [14350, "phone"]], 14074, 14080, 14200),
  band("17m", 18068, [[18095, "cw"], [18109, "digital"], [18111, "beacon"], [18120, "digital"], [18168, "phone"]], 18100, 18104, 18130),
  band("15m", 21000, [[21070, "cw"], [21149, "digital"], [21151, "beacon"], [21450, "phone"]], 21074, 21140, 21285),
  band("12m", 24890, [[24915, "cw"], [24929, "digital"], [24931, "beacon"], [24940, "digital"], [24990, "phone"]], 24915, 24919, 24950),
  band("10m", 28000, [[28070, "cw"], [28190, "digital"], [28225, "beacon"], [28300, "all"], [28320, "digital"], [29700, "phone"]], 28074, 28180, 28500),
  band("6m", 50000, [[50100, "cw"], [50300, "phone"], [50400, "digital"], [50500, "beacon"], [52000, "all"]], 50313, 50318, 50150),
  band("2m", 144000, [[144025, "all"], [144100, "cw"], [144150, "digital"], [144400, "phone"], [144491, "beacon"], [146000, "all"]],
    144174, 144170, 144300),
];

export function bandAt(hz: number): Band | null {
  return kBands.find((one) => hz >= one.low && hz <= one.high) ?? null;
}

/** The segments that a range of Hz touches. */
export function segmentsWithin(low: number, high: number): { band: Band; segment: Segment }[] {
  const found: { band: Band; segment: Segment }[] = [];
  for (const one of kBands)
    if (one.high > low && one.low < high)
      for (const segment of one.segments) if (segment.high > low && segment.low < high) found.push({ band: one, segment });
  return found;
}

/** The mode that is usual at a frequency, for the bookmark and the band buttons. */
export function usualMode(hz: number): string {
  const here = bandAt(hz);
  if (!here) return "am";
  if (hz === here.ft8) return "ft8";
  if (hz === here.ft4) return "ft4";
  const segment = here.segments.find((one) => hz >= one.low && hz < one.high);
  return segment?.use === "cw" || segment?.use === "beacon" ? "cw" : here.voice;
}
