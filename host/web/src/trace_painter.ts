// Draws the spectrum as a line over a grid of levels.
import { layOnPixels } from "./history";
import type { Range, TraceStyle } from "./levels";
import type { Transceiver } from "./transceiver";
import { highOf, lowOf, tickStep, xOf } from "./view";

export class TracePainter {
  private readonly context: CanvasRenderingContext2D;
  private line = new Float32Array(0);
  private fill: CanvasGradient | null = null;
  private fillHeight = 0;

  constructor(private readonly canvas: HTMLCanvasElement) {
    this.context = canvas.getContext("2d", { alpha: false }) as CanvasRenderingContext2D;
  }

  resize(width: number, height: number): void {
    this.canvas.width = width;
    this.canvas.height = height;
    this.line = new Float32Array(width);
    this.fill = null;
  }

  draw(one: Transceiver, range: Range, style: TraceStyle, scale: number): void {
    const { width, height } = this.canvas;
    const { context } = this;
    context.fillStyle = "#0a111b";
    context.fillRect(0, 0, width, height);
    this.grid(one, range, scale);
    const { frame } = one;
    if (!frame || width === 0) return;
    const lay = (values: Float32Array): void =>
      layOnPixels(values, frame.values.length, frame.low, frame.high, lowOf(one.view), highOf(one.view), this.line);
    const main = style === "live" ? one.spectrum : style === "peak" ? one.trace.peak : one.trace.average;
    if (style === "both") {
      lay(one.trace.peak);
      this.stroke(range, "rgba(240, 180, 92, 0.55)", scale);
    }
    lay(main);
    this.area(range);
    this.stroke(range, style === "peak" ? "#f0b45c" : "#8fd8e6", 1.25 * scale);
  }

  private yOf(decibel: number, range: Range): number {
    const place = (range.top - decibel) / (range.top - range.floor);
    return Math.min(this.canvas.height, Math.max(0, place * this.canvas.height));
  }

  private grid(one: Transceiver, range: Range, scale: number): void {
    const { context, canvas } = this;
    const { width, height } = canvas;
    context.strokeStyle = "rgba(150, 180, 210, 0.10)";
    context.lineWidth = Math.max(1, Math.round(scale));
    context.beginPath();
    const apart = range.top - range.floor > 70 ? 20 : 10;
    const levels: number[] = [];
    for (let level = Math.ceil(range.floor / apart) * apart; level < range.top; level += apart) levels.push(level);
    for (const level of levels) {
      const y = Math.round(this.yOf(level, range)) + 0.5;
      context.moveTo(0, y);
      context.lineTo(width, y);
    }
    const step = tickStep(one.view.span, width / scale, 90);
    for (let hz = Math.ceil(lowOf(one.view) / step) * step; hz < highOf(one.view); hz += step) {
      const x = Math.round(xOf(one.view, hz, width)) + 0.5;
      context.moveTo(x, 0);
      context.lineTo(x, height);
    }
    context.stroke();
    context.font = `${Math.round(10 * scale)}px system-ui, sans-serif`;
    context.fillStyle = "rgba(170, 190, 210, 0.55)";
    for (const level of levels) {
      const y = this.yOf(level, range);
      if (y > 14 * scale && y < height - 6 * scale) context.fillText(String(level), 4 * scale, y - 3 * scale);
    }
  }

  private area(range: Range): void {
    const { context, canvas } = this;
    if (!this.fill || this.fillHeight !== canvas.height) {
      this.fill = context.createLinearGradient(0, 0, 0, canvas.height);
      this.fill.addColorStop(0, "rgba(96, 190, 214, 0.50)");
      this.fill.addColorStop(1, "rgba(58, 120, 160, 0.06)");
      this.fillHeight = canvas.height;
    }
    context.fillStyle = this.fill;
    context.beginPath();
    let open = false;
    for (let x = 0; x < this.line.length; ++x) {
      const value = this.line[x] as number;
      if (Number.isNaN(value)) {
        if (open) context.lineTo(x, canvas.height);
        open = false;
        continue;
      }
      if (!open) context.moveTo(x, canvas.height);
      open = true;
      context.lineTo(x + 0.5, this.yOf(value, range));
    }
    if (open) context.lineTo(this.line.length, canvas.height);
    context.fill();
  }

  private stroke(range: Range, colour: string, width: number): void {
    const { context } = this;
    context.strokeStyle = colour;
    context.lineWidth = width;
    context.lineJoin = "round";
    context.beginPath();
    let open = false;
    for (let x = 0; x < this.line.length; ++x) {
      const value = this.line[x] as number;
      if (Number.isNaN(value)) {
        open = false;
        continue;
      }
      const y = this.yOf(value, range);
      if (open) context.lineTo(x + 0.5, y);
      else context.moveTo(x + 0.5, y);
      open = true;
    }
    context.stroke();
  }
}
