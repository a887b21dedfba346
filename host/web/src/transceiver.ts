// One transceiver of the page: what the server says of it, what its picture shows, what it has heard.
import { History } from "./history";
import { AutoLevel, TraceHistory, type Range } from "./levels";
import type { DecodeLine, Label, Settings, SpectrumFrame, TransceiverState } from "./protocol";
import type { SavedTransceiver } from "./settings";
import { Needle } from "./smeter";
import type { View } from "./view";

export interface Decode extends DecodeLine {
  mode: string;
  slot: string;
  /** Dial at which it was heard, Hz. */
  dial: number;
}

export interface TextLine {
  frequency: number;
  mode: string;
  text: string;
  sent: boolean;
}

const kKeptDecodes = 400;
const kKeptText = 6000;
/** dB below which a value says that nothing is known there: beyond the receiver's edge. */
const kNothing = -195;
/** ms for which the server's answers do not overrule what the operator has just set. */
const kOwnTime = 500;

export class Transceiver {
  id: number | null = null;
  view: View;
  readonly history = new History(1024);
  readonly trace = new TraceHistory();
  readonly autoLevel = new AutoLevel();
  readonly needle = new Needle();
  strength: number | null = null;
  open = true;
  labels: Label[] = [];
  decodes: Decode[] = [];
  text: TextLine[] = [];
  spectrum: Float32Array = new Float32Array(2048);
  frame: SpectrumFrame | null = null;
  /** What is to be set when the server has it again. */
  restore: Settings | null = null;
  /** Called with a decode that the operator chose to answer. */
  picked: ((line: Decode) => void) | null = null;
  /** Spectra received so far, and how many of them were on the screen. */
  received = 0;
  drawn = 0;
  private readonly line = new Float32Array(2048);
  private lineOf: SpectrumFrame | null = null;
  private lineParts = 0;
  private server: TransceiverState;
  private readonly own = new Map<keyof TransceiverState, number>();

  constructor(
    readonly key: number,
    public state: TransceiverState,
    span: number,
    offset: number,
  ) {
    this.server = state;
    this.view = { centre: state.frequency + offset, span };
  }

  /** Sets fields as the operator wishes; the server's word counts again half a second after the last. */
  wish(fields: Partial<TransceiverState>, now: number): void {
    this.state = { ...this.state, ...fields };
    for (const name of Object.keys(fields) as (keyof TransceiverState)[]) this.own.set(name, now + kOwnTime);
  }

  hear(state: TransceiverState): void {
    this.server = state;
  }

  /** Takes over what the server says where the operator is not just at it. True if something changed. */
  settle(now: number): boolean {
    let changed = false;
    const next: Record<string, unknown> = { ...this.state };
    for (const [name, value] of Object.entries(this.server) as [keyof TransceiverState, unknown][]) {
      if ((this.own.get(name) ?? 0) > now || next[name] === value) continue;
      next[name] = value;
      changed = true;
    }
    if (changed) this.state = next as unknown as TransceiverState;
    return changed;
  }

  addSpectrum(frame: SpectrumFrame, smoothing: number, perLine: number, rate: number): void {
    ++this.received;
    this.frame = frame;
    const count = frame.values.length;
    if (this.spectrum.length < count) this.spectrum = new Float32Array(count);
    for (let i = 0; i < count; ++i) {
      const level = frame.base + frame.step * (frame.values[i] as number);
      this.spectrum[i] = level > kNothing ? level : NaN;
    }
    this.autoLevel.update(this.spectrum, count);
    this.trace.add(this.spectrum, count, frame.low, frame.high, smoothing, 12 / Math.max(1, rate));
    this.addLine(frame, perLine);
  }

  /** Lines of several spectra show the highest of them. */
  private addLine(frame: SpectrumFrame, perLine: number): void {
    if (perLine <= 1) {
      this.lineOf = null;
      this.history.add(frame);
      return;
    }
    const { line, lineOf } = this;
    const count = frame.values.length;
    const same = lineOf?.low === frame.low && lineOf.high === frame.high && lineOf.values.length === count;
    if (!same) {
      if (lineOf) this.endLine(lineOf);
      line.fill(-Infinity);
      this.lineParts = 0;
    }
    this.lineOf = frame;
    for (let i = 0; i < count; ++i) line[i] = Math.max(line[i] as number, frame.base + frame.step * (frame.values[i] as number));
    if (++this.lineParts < perLine) return;
    this.endLine(frame);
    this.lineOf = null;
  }

  private endLine(frame: SpectrumFrame): void {
    let least = Infinity;
    let most = -Infinity;
    const count = frame.values.length;
    for (let i = 0; i < count; ++i) {
      least = Math.min(least, this.line[i] as number);
      most = Math.max(most, this.line[i] as number);
    }
    const step = Math.max(0.05, (most - least) / 255);
    const values = Uint8Array.from({ length: count }, (_, i) => Math.round(((this.line[i] as number) - least) / step));
    this.history.add({ ...frame, base: least, step, values });
  }

  range(auto: boolean, floor: number, top: number): Range {
    return (auto ? this.autoLevel.range : null) ?? { floor, top: Math.max(floor + 10, top) };
  }

  addDecodes(lines: readonly DecodeLine[], mode: string, slot: string): void {
    for (const line of lines) this.decodes.push({ ...line, mode, slot, dial: this.state.frequency });
    this.decodes.splice(0, this.decodes.length - kKeptDecodes);
  }

  addText(frequency: number, mode: string, text: string, sent: boolean): void {
    const last = this.text.at(-1);
    if (last && last.sent === sent && last.mode === mode && Math.abs(last.frequency - frequency) < 30) {
      last.text = (last.text + text).slice(-kKeptText);
    } else {
      this.text.push({ frequency, mode, text, sent });
      this.text.splice(0, this.text.length - 50);
    }
  }

  save(): SavedTransceiver {
    const { id: _id, valid: _valid, ...state } = this.state;
    return { state, span: this.view.span, offset: this.view.centre - this.state.frequency };
  }
}
