// What page and server say to each other: JSON texts both ways, spectra and audio as binary messages.

export interface ModeInfo {
  name: string;
  low: number;
  high: number;
  family: string;
}

export interface Transmit {
  allowed: boolean;
  keyed: boolean;
  owner: number | null;
  mine: boolean;
  forward?: number;
  swr?: number;
}

export interface Hello {
  is: "hello";
  version: string;
  listener: number;
  radio: { name: string; url: string; rate: number; low?: number; high?: number };
  modes: ModeInfo[];
  transmit: Transmit;
  audio: { formats: string[]; rate: number };
  limits?: { transceivers: number };
  time: number;
}

export interface TransceiverState {
  id: number;
  frequency: number;
  mode: string;
  /** Filter edges in Hz from the dial. */
  low: number;
  high: number;
  agc: string;
  gain: number;
  squelch: number | null;
  nr: number | null;
  volume: number;
  mute: boolean;
  marker: number | null;
  /** False: outside what the radio can reach. */
  valid: boolean;
}

export interface DecodeLine {
  time: string;
  snr: number;
  dt: number;
  frequency: number;
  text: string;
}

export interface Label {
  frequency: number;
  text: string;
  mode: string;
}

export type ServerMessage =
  | Hello
  | ({ is: "transceiver" } & TransceiverState)
  | { is: "removed"; id: number }
  | { is: "meter"; id: number; strength: number; open: boolean }
  | { is: "decodes"; id: number; mode: string; slot: string; lines: DecodeLine[] }
  | { is: "text"; id: number; frequency: number; mode: string; text: string }
  | { is: "labels"; id: number; labels: Label[] }
  | ({ is: "transmit" } & Transmit)
  | { is: "sent"; id: number; text: string }
  | { is: "logged"; call: string }
  | { is: "gap"; count: number }
  | { is: "pong"; t: number; server: number }
  | { is: "radio"; ok: boolean; text: string }
  | { is: "error"; text: string; about?: string };

export type Settings = Partial<Omit<TransceiverState, "id" | "valid">>;

export type ClientMessage =
  | { do: "add"; frequency: number; mode: string }
  | { do: "remove"; id: number }
  | ({ do: "set"; id: number } & Settings)
  | { do: "view"; id: number; zoom: number; offset: number; bins: number; rate: number }
  | { do: "audio"; format: AudioFormat }
  | { do: "ping"; t: number }
  | { do: "key"; id: number; on: boolean }
  | { do: "tune"; id: number; on: boolean }
  | { do: "send"; id: number; text: string }
  | { do: "stop" }
  | { do: "ft8"; id: number; message: string; frequency: number; parity: "even" | "odd" | "next"; times: number }
  | { do: "log"; call: string; grid: string; sent: string; received: string; mode: string; frequency: number };

export type AudioFormat = "pcm" | "opus" | "off";

export interface SpectrumFrame {
  id: number;
  sequence: number;
  /** Hz; bin k lies at low + (k + 0.5) * (high - low) / bins. */
  low: number;
  high: number;
  /** dB = base + step * value. */
  base: number;
  step: number;
  values: Uint8Array;
}

export interface AudioPacket {
  id: number;
  format: "pcm" | "opus";
  sequence: number;
  /** Server's clock in ms since 1970 when the last sample left the library. */
  time: number;
  rate: number;
  payload: Uint8Array;
}

/** Null for what is no JSON object of a kind that has an "is". */
export function parseText(text: string): ServerMessage | null {
  try {
    const value: unknown = JSON.parse(text);
    if (typeof value !== "object" || value === null || !("is" in value) || typeof value.is !== "string") return null;
    return value as ServerMessage;
  } catch {
    return null;
  }
}

export type BinaryMessage = { kind: "spectrum"; frame: SpectrumFrame } | { kind: "audio"; packet: AudioPacket };

const kSpectrumHeader = 32;
const kAudioHeader = 20;

/** Null for a message that is cut, of an unknown kind, or whose numbers make no sense. */
export function parseBinary(data: ArrayBuffer): BinaryMessage | null {
  const view = new DataView(data);
  if (data.byteLength < 4) return null;
  const kind = view.getUint8(0);
  if (kind === 1) {
    if (data.byteLength < kSpectrumHeader) return null;
    const bins = view.getUint16(2, true);
    const low = view.getFloat64(8, true);
    const high = view.getFloat64(16, true);
    const base = view.getFloat32(24, true);
    const step = view.getFloat32(28, true);
    if (bins === 0 || bins > 2048 || data.byteLength < kSpectrumHeader + bins) return null;
    if (!(high > low) || !Number.isFinite(high - low) || !Number.isFinite(base) || !Number.isFinite(step)) return null;
    const values = new Uint8Array(data, kSpectrumHeader, bins);
    return { kind: "spectrum", frame: { id: view.getUint8(1), sequence: view.getUint32(4, true), low, high, base, step, values } };
  }
  if (kind === 2) {
    if (data.byteLength < kAudioHeader) return null;
    const format = view.getUint8(2);
    const rate = view.getUint32(16, true);
    if (format > 1 || rate < 4000 || rate > 192000) return null;
    return {
      kind: "audio",
      packet: {
        id: view.getUint8(1),
        format: format === 0 ? "pcm" : "opus",
        sequence: view.getUint32(4, true),
        time: view.getFloat64(8, true),
        rate,
        payload: new Uint8Array(data, kAudioHeader),
      },
    };
  }
  return null;
}

/** Signed 16 bit little endian to samples of -1 to 1; an odd last byte is dropped. */
export function pcmSamples(payload: Uint8Array): Float32Array {
  const view = new DataView(payload.buffer, payload.byteOffset, payload.byteLength);
  const out = new Float32Array(payload.byteLength >> 1);
  for (let i = 0; i < out.length; ++i) out[i] = view.getInt16(2 * i, true) / 32768;
  return out;
}

/** A microphone message: kind 3 with samples at 48 kHz. */
export function microphoneMessage(id: number, sequence: number, samples: Float32Array): ArrayBuffer {
  const out = new ArrayBuffer(8 + 2 * samples.length);
  const view = new DataView(out);
  view.setUint8(0, 3);
  view.setUint8(1, id);
  view.setUint32(4, sequence, true);
  for (let i = 0; i < samples.length; ++i) {
    const value = Math.max(-1, Math.min(1, samples[i] as number));
    view.setInt16(8 + 2 * i, Math.round(value * 32767), true);
  }
  return out;
}
