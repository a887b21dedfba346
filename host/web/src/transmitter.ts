// Keys the transmitter for the page: only when the operator has switched transmitting on and the server allows it. While keyed,
// pings go out five times a second, for the server lets go of the key when it hears nothing for a second.
import { MicrophoneTap } from "./audio";
import { microphoneMessage } from "./protocol";
import type { Rig } from "./rig";
import type { Transceiver } from "./transceiver";

export class Transmitter {
  private tap: MicrophoneTap | null = null;
  private sequence = 0;

  constructor(private readonly rig: Rig) {
    rig.on("transmit", (state) => {
      rig.connection.startPings(state.mine ? 200 : 2000);
      if (!state.mine) this.closeMicrophone();
    });
    rig.on("link", (state) => state !== "open" && this.closeMicrophone());
    // A page that is left must not leave a carrier behind.
    window.addEventListener("pagehide", () => this.stop());
    window.addEventListener("blur", () => this.release());
  }

  get ready(): boolean {
    return this.rig.transmit.allowed && this.rig.preferences.transmit;
  }

  get busyElsewhere(): boolean {
    return this.rig.transmit.owner !== null && !this.rig.transmit.mine;
  }

  /** Push to talk. */
  key(one: Transceiver, on: boolean): void {
    if (one.id === null || (on && (!this.ready || this.busyElsewhere))) return;
    if (on) this.rig.connection.startPings(200);
    this.rig.send({ do: "key", id: one.id, on });
    if (on && this.rig.modeOf(one.state.mode)?.family === "voice") void this.openMicrophone(one);
    if (!on) this.closeMicrophone();
    this.held = on ? one : null;
  }

  tune(one: Transceiver, on: boolean): void {
    if (one.id === null || (on && (!this.ready || this.busyElsewhere))) return;
    if (on) this.rig.connection.startPings(200);
    this.rig.send({ do: "tune", id: one.id, on });
  }

  text(one: Transceiver, text: string): void {
    if (one.id === null || !this.ready || text === "") return;
    this.rig.connection.startPings(200);
    this.rig.send({ do: "send", id: one.id, text });
  }

  ft8(one: Transceiver, message: string, frequency: number, parity: "even" | "odd" | "next", times: number): void {
    if (one.id === null || !this.ready) return;
    this.rig.connection.startPings(200);
    this.rig.send({ do: "ft8", id: one.id, message, frequency, parity, times });
  }

  /** Ends everything of ours that is on the air. */
  stop(): void {
    this.rig.send({ do: "stop" });
    this.closeMicrophone();
    this.held = null;
  }

  /** Whether the key is held down by the space bar or a finger. */
  private held: Transceiver | null = null;

  /** Lets go of a key that is held: the page has lost the keyboard. */
  release(): void {
    if (this.held) this.key(this.held, false);
  }

  private async openMicrophone(one: Transceiver): Promise<void> {
    this.closeMicrophone();
    const tap = new MicrophoneTap();
    this.tap = tap;
    try {
      await tap.start((samples) => {
        if (this.tap === tap && one.id !== null) this.rig.connection.sendRaw(microphoneMessage(one.id, this.sequence++, samples));
      });
      if (this.tap !== tap) tap.stop();
    } catch (error) {
      this.rig.emit("notice", { kind: "error", text: `No microphone: ${error instanceof Error ? error.message : String(error)}` });
    }
  }

  private closeMicrophone(): void {
    this.tap?.stop();
    this.tap = null;
  }
}
