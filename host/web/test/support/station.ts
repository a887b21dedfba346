// A simulated radio and `ferrow serve` for it, as programs of their own. FERROW_PROGRAM and FERROW_SIM_PROGRAM say where they are.
import { spawn, type ChildProcess } from "node:child_process";
import { createInterface } from "node:readline";

const program = (name: string): string => {
  const path = process.env[name];
  if (!path) throw new Error(`${name} is not set`);
  return path;
};

/** Starts a program and waits for its line "ready …"; the rest of that line. */
async function startReady(path: string, parameters: string[]): Promise<{ child: ChildProcess; ready: string; ended: Promise<number | null> }> {
  const child = spawn(path, parameters, { stdio: ["ignore", "pipe", "pipe"] });
  const said: string[] = [];
  child.stderr.on("data", (data: Buffer) => said.push(data.toString()));
  const ended = new Promise<number | null>((resolve) => child.on("exit", (code) => resolve(code)));
  const ready = await new Promise<string>((resolve, reject) => {
    const timer = setTimeout(() => reject(new Error(`${path} is not ready after 60 s: ${said.join("")}`)), 60_000);
    createInterface({ input: child.stdout }).on("line", (line) => {
      if (!line.startsWith("ready ")) return;
      clearTimeout(timer);
      resolve(line.slice(6));
    });
    void ended.then((code) => reject(new Error(`${path} ended with ${code}: ${said.join("")}`)));
  });
  return { child, ready, ended };
}

export class Station {
  url = "";
  private sim: ChildProcess | null = null;
  private server: ChildProcess | null = null;
  private serverEnded: Promise<number | null> = Promise.resolve(null);
  private port = 0;

  /** `address`: of the radio, one of 127.0.0.0/8 that nobody else has. */
  constructor(private readonly address: string, private readonly options: string[] = [], private readonly simOptions: string[] = []) {}

  async start(): Promise<void> {
    const { child } = await startReady(program("FERROW_SIM_PROGRAM"), ["--address", this.address, "--die-with-parent", ...this.simOptions]);
    this.sim = child;
    await this.startServer();
  }

  /** At the same port as before, if there was one. */
  async startServer(): Promise<void> {
    const parameters = ["serve", "--radio", this.address, "--rate", "384", "--listen", `${this.address}:${this.port}`, ...this.options];
    // A radio whose server was killed streams on to nobody.
    if (this.port) parameters.push("--take-over");
    const { child, ready, ended } = await startReady(program("FERROW_PROGRAM"), parameters);
    this.server = child;
    this.serverEnded = ended;
    this.url = ready;
    this.port = Number(new URL(ready).port);
  }

  /** Ends the server at once, as a crash would. */
  async killServer(): Promise<void> {
    this.server?.kill("SIGKILL");
    await this.serverEnded;
  }

  async stop(): Promise<number | null> {
    this.server?.kill("SIGTERM");
    const code = await this.serverEnded;
    this.sim?.kill("SIGTERM");
    return code;
  }
}
