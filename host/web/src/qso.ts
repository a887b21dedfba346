// FT8 and FT4 messages: what they say, and what is answered. Pure text, no radio.

export interface Heard {
  /** Who is called; null for CQ and for free text. */
  to: string | null;
  from: string | null;
  cq: boolean;
  /** Word behind CQ: "DX", "TEST", "POTA". */
  area: string | null;
  grid: string | null;
  /** "-12", "R-07", "RRR", "RR73", "73", or null. */
  report: string | null;
}

export interface Station {
  call: string;
  grid: string;
}

const kCall = /^<?(?:[A-Z0-9]{1,4}\/)?(?:[A-Z]{1,2}|[A-Z][0-9]|[0-9][A-Z]{1,2})[0-9]{1,4}[A-Z]{1,4}(?:\/[A-Z0-9]{1,4})?>?$/;
const kGrid = /^[A-R]{2}[0-9]{2}$/;
const kReport = /^(R?[+-]\d{2}|RRR|RR73|73)$/;

export const isCall = (word: string): boolean => kCall.test(word);
export const isGrid = (word: string): boolean => kGrid.test(word) && word !== "RR73";

const bare = (call: string): string => call.replace(/[<>]/g, "");

export function parseMessage(text: string): Heard {
  const heard: Heard = { to: null, from: null, cq: false, area: null, grid: null, report: null };
  const words = text.trim().toUpperCase().split(/\s+/);
  if (words[0] === "CQ") {
    heard.cq = true;
    let at = 1;
    const second = words[1] ?? "";
    if (words.length > 2 && !isCall(second) && /^[A-Z]{1,4}$|^\d{3}$/.test(second)) {
      heard.area = second;
      at = 2;
    }
    if (isCall(words[at] ?? "")) heard.from = bare(words[at] as string);
    if (isGrid(words[at + 1] ?? "")) heard.grid = words[at + 1] as string;
    return heard;
  }
  const [to = "", from = ""] = words;
  const hashed = (word: string): boolean => word === "<...>";
  if (!(isCall(to) || hashed(to)) || !(isCall(from) || hashed(from))) return heard;
  heard.to = hashed(to) ? null : bare(to);
  heard.from = hashed(from) ? null : bare(from);
  for (const word of words.slice(2)) {
    if (isGrid(word)) heard.grid = word;
    else if (kReport.test(word)) heard.report = word;
  }
  return heard;
}

/** "-07", "+12": two digits with a sign, within what a message can carry. */
export function reportOf(snr: number): string {
  const value = Math.max(-50, Math.min(49, Math.round(snr)));
  return `${value < 0 ? "-" : "+"}${String(Math.abs(value)).padStart(2, "0")}`;
}

/** The messages of a contact, in order; the last is the call to everybody. */
export function sequence(me: Station, dx: Station, report: string): string[] {
  if (!me.call) return [];
  const grid = me.grid.slice(0, 4).toUpperCase();
  const pair = `${dx.call} ${me.call}`;
  const contact = dx.call ? [`${pair} ${grid}`.trim(), `${pair} ${report}`, `${pair} R${report}`, `${pair} RR73`, `${pair} 73`] : [];
  return [...contact, `CQ ${me.call} ${grid}`.trim()];
}

/** Place in sequence() of what answers `heard`; -1 where nothing is to be said. */
export function answerTo(heard: Heard, me: Station): number {
  if (heard.cq) return 0;
  if (heard.to !== me.call.toUpperCase() || !me.call) return 0;
  const report = heard.report;
  if (report === null) return 1;
  if (/^[+-]/.test(report)) return 2;
  if (/^R[+-]/.test(report)) return 3;
  if (report === "RRR" || report === "RR73") return 4;
  return -1;
}

/** Seconds of a period of FT8 or FT4. */
export const slotLength = (mode: string): number => (mode === "ft4" ? 7.5 : 15);

/** Where in its period a time (ms since 1970) lies, and whether the period is an even one. */
export function slotAt(time: number, mode: string): { seconds: number; even: boolean } {
  const length = slotLength(mode) * 1000;
  const inMinute = time % 60000;
  return { seconds: (inMinute % length) / 1000, even: Math.floor(inMinute / length) % 2 === 0 };
}

/** Whether the period that a decode's "hhmmss" names is even; half seconds of FT4 may be missing in it. */
export function slotIsEven(hhmmss: string, mode: string): boolean {
  const seconds = Number(hhmmss.slice(4, 6)) + (mode === "ft4" ? 0.75 : 0);
  return Math.floor(seconds / slotLength(mode)) % 2 === 0;
}
