// Frequencies in Hz as whole numbers: how they are written, read and stepped.

export const kHighest = 2_000_000_000;

/** 14074000 becomes "14.074.000"; below 1 MHz "0.472.000". */
export function formatFrequency(hz: number): string {
  const whole = Math.max(0, Math.round(hz));
  const megahertz = Math.floor(whole / 1e6);
  const rest = String(whole % 1_000_000).padStart(6, "0");
  return `${megahertz}.${rest.slice(0, 3)}.${rest.slice(3)}`;
}

/** Shortest text for an axis whose marks lie `step` Hz apart: "14.074" or "14.0742" MHz. */
export function axisLabel(hz: number, step: number): string {
  const digits = Math.min(6, Math.max(3, 6 - Math.floor(Math.log10(step))));
  return (hz / 1e6).toFixed(step >= 1000 ? 3 : digits);
}

/**
 * Reads what people type: "14.074" and "14,074" as MHz, "7074k" or "7074" as kHz, "14074000" as Hz, "14.074.000" with
 * groups, units MHz, kHz, Hz, M, k. Null if it is no frequency of 1 Hz to 2 GHz.
 */
export function parseFrequency(text: string): number | null {
  const match = /^\s*([0-9][0-9.,]*)\s*(m|mhz|k|khz|hz)?\s*$/i.exec(text);
  if (!match) return null;
  let number = (match[1] ?? "").replaceAll(",", ".");
  const unit = (match[2] ?? "").toLowerCase();
  const dots = number.split(".").length - 1;
  let scale = unit.startsWith("m") ? 1e6 : unit.startsWith("k") ? 1e3 : unit === "hz" ? 1 : 0;
  if (dots > 1) {
    if (!/^\d{1,4}\.\d{3}\.\d{1,3}$/.test(number)) return null;
    const parts = number.split(".");
    number = `${parts[0]}.${parts[1]}${parts[2]}`;
    scale ||= 1e6;
  }
  const value = Number(number);
  if (!Number.isFinite(value)) return null;
  scale ||= dots > 0 || value < 500 ? 1e6 : value < 500_000 ? 1e3 : 1;
  const hz = Math.round(value * scale);
  return hz >= 1 && hz <= kHighest ? hz : null;
}

/** Turns the digit of 10^power by `steps`; carries go on as on a counter. The result stays within 0 to 2 GHz. */
export function turnDigit(hz: number, power: number, steps: number): number {
  return Math.min(kHighest, Math.max(0, hz + steps * 10 ** power));
}

/** Replaces the digit of 10^power. */
export function setDigit(hz: number, power: number, digit: number): number {
  const unit = 10 ** power;
  const present = Math.floor(hz / unit) % 10;
  return Math.min(kHighest, Math.max(0, hz + (digit - present) * unit));
}

/** One step of `step` Hz up (1) or down (-1), onto multiples of the step first. */
export function stepFrequency(hz: number, step: number, direction: number): number {
  const place = hz / step;
  const next = direction > 0 ? Math.floor(place + 1e-9) + direction : Math.ceil(place - 1e-9) + direction;
  return Math.min(kHighest, Math.max(0, next * step));
}

/** The nearest multiple of `step`. */
export function snap(hz: number, step: number): number {
  return Math.round(hz / step) * step;
}
