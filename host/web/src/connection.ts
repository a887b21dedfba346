// The websocket to the server: comes back by itself, keeps the two clocks compared, counts what arrives.
import { parseBinary, parseText, type AudioPacket, type ClientMessage, type ServerMessage, type SpectrumFrame } from "./protocol";

export type LinkState = "connecting" | "open" | "lost";

export interface Receiver {
  onState(state: LinkState): void;
  onMessage(message: ServerMessage): void;
  onSpectrum(frame: SpectrumFrame): void;
  onAudio(packet: AudioPacket): void;
}

/** Milliseconds to wait before attempt `attempt` (0 the first): quick at first, five seconds at most. */
export function retryDelay(attempt: number): number {
  return Math.min(5000, 250 * 2 ** Math.min(attempt, 10));
}

/** How far the server's clock is ahead of the page's, from pings: the quickest of the last sixteen tells best. */
export class ClockOffset {
  private rounds: { trip: number; offset: number }[] = [];

  add(sent: number, server: number, now: number): void {
    const trip = now - sent;
    if (!(trip >= 0)) return;
    this.rounds.push({ trip, offset: server - (sent + trip / 2) });
    if (this.rounds.length > 16) this.rounds.shift();
  }

  private get best(): { trip: number; offset: number } | null {
    return this.rounds.reduce<{ trip: number; offset: number } | null>((a, b) => (a && a.trip <= b.trip ? a : b), null);
  }

  /** ms; null before the first answer. */
  get offset(): number | null {
    return this.best?.offset ?? null;
  }

  get trip(): number | null {
    return this.best?.trip ?? null;
  }
}

/** ms since 1970 with a clock that never jumps. */
export const epochNow = (): number => performance.timeOrigin + performance.now();

export class Connection {
  clock = new ClockOffset();
  state: LinkState = "connecting";
  bytes = 0;
  private socket: WebSocket | null = null;
  private attempt = 0;
  private timer = 0;
  private pinger = 0;
  private heard = 0;

  constructor(
    private readonly url: string,
    private readonly receiver: Receiver,
  ) {
    addEventListener("online", () => this.hurry());
    document.addEventListener("visibilitychange", () => {
      if (document.visibilityState === "visible") this.hurry();
    });
  }

  open(): void {
    clearTimeout(this.timer);
    this.dropSocket();
    const socket = new WebSocket(this.url);
    socket.binaryType = "arraybuffer";
    this.socket = socket;
    this.heard = performance.now();
    socket.onopen = () => {
      this.attempt = 0;
      this.clock = new ClockOffset();
      this.setState("open");
      this.startPings(500);
    };
    socket.onmessage = (event: MessageEvent<string | ArrayBuffer>) => this.take(event.data);
    socket.onclose = () => this.lost();
  }

  /** False when there is no connection; then nothing is sent. */
  send(message: ClientMessage): boolean {
    return this.sendRaw(JSON.stringify(message));
  }

  sendRaw(data: string | ArrayBuffer): boolean {
    if (this.socket?.readyState !== WebSocket.OPEN) return false;
    this.socket.send(data);
    return true;
  }

  /** While a transmitter is keyed the server wants to hear from us several times a second. */
  startPings(interval: number): void {
    clearInterval(this.pinger);
    const ping = (): void => {
      this.send({ do: "ping", t: epochNow() });
      if (performance.now() - this.heard > 6000) this.socket?.close();
    };
    ping();
    this.pinger = window.setInterval(ping, interval);
  }

  private hurry(): void {
    if (this.state === "lost") this.open();
  }

  private dropSocket(): void {
    if (!this.socket) return;
    this.socket.onclose = this.socket.onmessage = this.socket.onopen = null;
    this.socket.close();
    this.socket = null;
  }

  private lost(): void {
    clearInterval(this.pinger);
    this.dropSocket();
    this.setState("lost");
    this.timer = window.setTimeout(() => this.open(), retryDelay(this.attempt++));
  }

  private setState(state: LinkState): void {
    this.state = state;
    this.receiver.onState(state);
  }

  private take(data: string | ArrayBuffer): void {
    this.heard = performance.now();
    if (typeof data === "string") {
      this.bytes += data.length;
      const message = parseText(data);
      if (!message) return;
      if (message.is === "pong") this.clock.add(message.t, message.server, epochNow());
      this.receiver.onMessage(message);
      return;
    }
    this.bytes += data.byteLength;
    const message = parseBinary(data);
    if (message?.kind === "spectrum") this.receiver.onSpectrum(message.frame);
    else if (message?.kind === "audio") this.receiver.onAudio(message.packet);
  }
}
