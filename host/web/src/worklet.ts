// Runs on the browser's audio thread: mixes the transceivers' audio, and takes the microphone.
import { Mixer, type MixerMessage, type MixerReport } from "./jitter";

declare const sampleRate: number;
declare const currentTime: number;
declare class AudioWorkletProcessor {
  readonly port: MessagePort;
}
declare function registerProcessor(name: string, made: new () => AudioWorkletProcessor): void;

class Speaker extends AudioWorkletProcessor {
  private readonly mixer = new Mixer(sampleRate);
  private told = 0;

  constructor() {
    super();
    this.port.onmessage = (event: MessageEvent<MixerMessage>) => {
      const message = event.data;
      if (message.what === "audio") this.mixer.push(message.id, message.samples, message.rate, message.time);
      else if (message.what === "drop") this.mixer.drop(message.id);
      else this.mixer.clear();
    };
  }

  process(_inputs: Float32Array[][], outputs: Float32Array[][]): boolean {
    const out = outputs[0]?.[0];
    if (!out) return true;
    if (currentTime - this.told > 0.2) {
      this.told = currentTime;
      this.port.postMessage({ time: currentTime, streams: this.mixer.report() } satisfies MixerReport);
    }
    this.mixer.mix(out);
    return true;
  }
}

class Microphone extends AudioWorkletProcessor {
  private chunk = new Float32Array(512);
  private used = 0;

  process(inputs: Float32Array[][]): boolean {
    for (const sample of inputs[0]?.[0] ?? []) {
      this.chunk[this.used++] = sample;
      if (this.used < this.chunk.length) continue;
      this.port.postMessage(this.chunk, [this.chunk.buffer]);
      this.chunk = new Float32Array(512);
      this.used = 0;
    }
    return true;
  }
}

registerProcessor("ferrow-speaker", Speaker);
registerProcessor("ferrow-microphone", Microphone);
