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
  private pendingLine: SpectrumFrame | null = null;
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
    for (let i = 0; i < count; ++i) this.spectrum[i] = frame.base + frame.step * (frame.values[i] as number);
    this.autoLevel.update(this.spectrum, count);
    this.trace.add(this.spectrum, count, frame.low, frame.high, smoothing, 12 / Math.max(1, rate));
    this.addLine(frame, perLine);
  }

  /** Lines of several spectra show the highest of them. */
  private addLine(frame: SpectrumFrame, perLine: number): void {
    const line = this.pendingLine;
    if (line && line.low === frame.low && line.high === frame.high && line.base === frame.base && line.step === frame.step
        && line.values.length === frame.values.length) {
      for (let i = 0; i < line.values.length; ++i) line.values[i] = Math.max(line.values[i] as number, frame.values[i] as number);
      ++this.lineParts;
    } else {
      this.pendingLine = { ...frame, values: frame.values.slice() };
      this.lineParts = 1;
    }
    if (this.lineParts < perLine || !this.pendingLine) return;
    this.history.add(this.pendingLine);
    this.pendingLine = null;
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
