// Signal strength in S units: 6 dB each below S9, then dB over S9.

/** dBFS that counts as S9 until the operator calibrates. */
export const kDefaultS9 = -73;

export function sUnits(decibel: number, s9: number): string {
  const over = decibel - s9;
  if (over >= 5) return `S9+${Math.round(over / 5) * 5}`;
  return `S${Math.min(9, Math.max(0, Math.round(9 + over / 6)))}`;
}

/** Place on a scale of 0 (S0) to 1 (60 dB over S9); S9 lies at 0.6. */
export function meterPlace(decibel: number, s9: number): number {
  const over = decibel - s9;
  const place = over <= 0 ? 0.6 + (over / 54) * 0.6 : 0.6 + (over / 60) * 0.4;
  return Math.min(1, Math.max(0, place));
}

/** A needle: follows upwards at once, falls back by `fall` dB a second; the peak mark stays for a second and a half. */
export class Needle {
  value = -200;
  peak = -200;
  private held = 0;

  update(decibel: number, seconds: number, fall = 25): void {
    this.value = Math.max(decibel, this.value - fall * seconds);
    this.held -= seconds;
    if (decibel >= this.peak) {
      this.peak = decibel;
      this.held = 1.5;
    } else if (this.held <= 0) {
      this.peak = Math.max(this.value, this.peak - fall * seconds);
    }
  }
}
