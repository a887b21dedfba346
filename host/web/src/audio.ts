// The loudspeaker: packets of the server to the sound card, by an AudioWorklet, or where the page has none (no https, not
// this machine) by a ScriptProcessorNode. Tells how long ago what is heard now left the library.
import { epochNow } from "./connection";
import { Mixer, type MixerMessage, type MixerReport, type StreamReport } from "./jitter";
import { pcmSamples, type AudioPacket } from "./protocol";

const kOldest = 800; // ms
/** Opus packets that may wait for the browser's decoder. */
const kMostQueued = 25;
/** After so many times that they were more, Opus is too much for this browser. */
const kMostJams = 3;

export const opusPossible = (): boolean => typeof AudioDecoder !== "undefined";

interface OpusStream {
  decoder: AudioDecoder;
  times: number[];
}

export class AudioPlayer {
  packets = 0;
  streams: StreamReport[] = [];
  private context: AudioContext | null = null;
  private gain: GainNode | null = null;
  private analyser: AnalyserNode | null = null;
  private post: ((message: MixerMessage) => void) | null = null;
  private readonly opus = new Map<number, OpusStream>();
  private level = 0.8;
  private silent = false;
  private jams = 0;
  private measured: { latency: number; at: number } | null = null;

  /** `serverAhead` tells how far the server's clock is ahead of the page's, in ms; null while not known. `opusTooSlow` is called when
   * the browser cannot decode as fast as packets come. */
  constructor(private readonly serverAhead: () => number | null, private readonly opusTooSlow: () => void) {}

  get running(): boolean {
    return this.context?.state === "running" && this.post !== null;
  }

  /** Browsers want a click or a key before sound may start; call it from there. */
  async start(rate: number): Promise<void> {
    if (!this.context) {
      this.context = makeContext(rate);
      this.gain = this.context.createGain();
      this.analyser = this.context.createAnalyser();
      this.analyser.fftSize = 4096;
      this.analyser.smoothingTimeConstant = 0.5;
      this.gain.connect(this.context.destination);
      this.applyVolume();
      const speaker = await this.makeSpeaker(this.context);
      speaker.connect(this.analyser);
      speaker.connect(this.gain);
    }
    await this.context.resume();
  }

  async stop(): Promise<void> {
    this.post?.({ what: "clear" });
    this.streams = [];
    this.measured = null;
    await this.context?.suspend();
  }

  setVolume(level: number, silent: boolean): void {
    this.level = level;
    this.silent = silent;
    this.applyVolume();
  }

  push(packet: AudioPacket): void {
    if (!this.post || !this.running) return;
    ++this.packets;
    // A page that could not keep up has a queue of old sound before it; that is not to be heard any more.
    const ahead = this.serverAhead();
    if (ahead !== null && epochNow() + ahead - packet.time > kOldest) return;
    if (packet.format === "opus") this.decode(packet);
    else this.play(packet.id, pcmSamples(packet.payload), packet.rate, packet.time);
  }

  drop(id: number): void {
    this.post?.({ what: "drop", id });
    const { decoder } = this.opus.get(id) ?? {};
    if (decoder && decoder.state !== "closed") decoder.close();
    this.opus.delete(id);
  }

  clear(): void {
    for (const id of [...this.opus.keys()]) this.drop(id);
    this.jams = 0;
    this.post?.({ what: "clear" });
    this.measured = null;
  }

  /** ms from the library to the loudspeaker; null while nothing plays. */
  get latency(): number | null {
    return this.measured && performance.now() - this.measured.at < 1500 ? this.measured.latency : null;
  }

  /** Levels of the sound, dB by frequency from 0 to half the rate; null while silent. */
  spectrum(): { decibel: Float32Array; rate: number } | null {
    if (!this.analyser || !this.context || !this.running) return null;
    const decibel = new Float32Array(this.analyser.frequencyBinCount);
    this.analyser.getFloatFrequencyData(decibel);
    return { decibel, rate: this.context.sampleRate };
  }

  private applyVolume(): void {
    if (this.gain && this.context) this.gain.gain.setTargetAtTime(this.silent ? 0 : this.level * this.level, this.context.currentTime, 0.015);
  }

  private async makeSpeaker(context: AudioContext): Promise<AudioNode> {
    // The worklet is there on https and on this machine only.
    if ((context as { audioWorklet?: AudioWorklet }).audioWorklet) {
      await context.audioWorklet.addModule(`worklet.js${location.search}`);
      const node = new AudioWorkletNode(context, "ferrow-speaker", { numberOfInputs: 0, outputChannelCount: [1] });
      node.port.onmessage = (event: MessageEvent<MixerReport>) => this.take(event.data);
      this.post = (message) => node.port.postMessage(message, message.what === "audio" ? [message.samples.buffer] : []);
      return node;
    }
    const mixer = new Mixer(context.sampleRate);
    const node = context.createScriptProcessor(1024, 0, 1);
    node.onaudioprocess = (event) => {
      this.take({ time: event.playbackTime, streams: mixer.report() });
      mixer.mix(event.outputBuffer.getChannelData(0));
    };
    this.post = (message) => {
      if (message.what === "audio") mixer.push(message.id, message.samples, message.rate, message.time);
      else if (message.what === "drop") mixer.drop(message.id);
      else mixer.clear();
    };
    return node;
  }

  private take(report: MixerReport): void {
    this.streams = report.streams;
    const ahead = this.serverAhead();
    const filled = report.streams.filter((one) => one.fill > 0);
    if (!this.context || ahead === null || filled.length === 0) return;
    const stamp = this.context.getOutputTimestamp();
    const heard = stamp.performanceTime
      ? performance.timeOrigin + stamp.performanceTime + (report.time - (stamp.contextTime ?? 0)) * 1000
      : epochNow() + (this.context.outputLatency || this.context.baseLatency) * 1000;
    const latency = Math.max(...filled.map((one) => heard + ahead - one.head));
    const before = this.latency ?? latency;
    this.measured = { latency: before + (latency - before) * 0.3, at: performance.now() };
  }

  private play(id: number, samples: Float32Array, rate: number, time: number): void {
    this.post?.({ what: "audio", id, samples, rate, time });
  }

  private decode(packet: AudioPacket): void {
    let stream = this.opus.get(packet.id);
    if (!stream || stream.decoder.state === "closed") {
      stream = this.makeDecoder(packet.id, packet.rate);
      this.opus.set(packet.id, stream);
    }
    if (stream.decoder.decodeQueueSize > kMostQueued) {
      this.opus.delete(packet.id);
      stream.decoder.close();
      if (++this.jams >= kMostJams) this.opusTooSlow();
      return;
    }
    stream.times.push(packet.time);
    stream.decoder.decode(new EncodedAudioChunk({ type: "key", timestamp: packet.time * 1000, data: packet.payload }));
  }

  private makeDecoder(id: number, rate: number): OpusStream {
    const times: number[] = [];
    const decoder = new AudioDecoder({
      output: (data) => {
        const samples = new Float32Array(data.numberOfFrames);
        data.copyTo(samples, { planeIndex: 0, format: "f32-planar" });
        this.play(id, samples, data.sampleRate, times.shift() ?? 0);
        data.close();
      },
      error: (error) => console.warn("opus:", error.message),
    });
    decoder.configure({ codec: "opus", sampleRate: rate, numberOfChannels: 1 });
    return { decoder, times };
  }
}

function makeContext(rate: number): AudioContext {
  try {
    return new AudioContext({ sampleRate: rate, latencyHint: "interactive" });
  } catch {
    return new AudioContext({ latencyHint: "interactive" });
  }
}

/** The microphone at 48 kHz, in chunks of 512 samples, until stop(). */
export class MicrophoneTap {
  private context: AudioContext | null = null;
  private stream: MediaStream | null = null;

  async start(take: (samples: Float32Array) => void): Promise<void> {
    const audio = { echoCancellation: false, noiseSuppression: false, autoGainControl: true, channelCount: 1 };
    this.stream = await navigator.mediaDevices.getUserMedia({ audio });
    this.context = new AudioContext({ sampleRate: 48000, latencyHint: "interactive" });
    await this.context.audioWorklet.addModule(`worklet.js${location.search}`);
    const node = new AudioWorkletNode(this.context, "ferrow-microphone", { numberOfOutputs: 0 });
    node.port.onmessage = (event: MessageEvent<Float32Array>) => take(event.data);
    this.context.createMediaStreamSource(this.stream).connect(node);
  }

  stop(): void {
    for (const track of this.stream?.getTracks() ?? []) track.stop();
    void this.context?.close();
    this.context = this.stream = null;
  }
}
