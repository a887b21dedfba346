// A waterfall on a plain canvas: rows already drawn are moved down, all of them are drawn anew only when the view changes.
import { layOnPixels, type History } from "./history";
import type { Range } from "./levels";
import { highOf, lowOf, type View } from "./view";
import type { WaterfallPainter } from "./waterfall";

export class CanvasWaterfall implements WaterfallPainter {
  readonly kind = "canvas";
  private readonly context: CanvasRenderingContext2D;
  private colours = new Uint32Array(256);
  private drawn = 0;
  private key = "";
  private line = new Float32Array(0);
  private rangeUsed: Range | null = null;

  constructor(
    private readonly canvas: HTMLCanvasElement,
    private readonly history: History,
  ) {
    this.context = canvas.getContext("2d", { alpha: false }) as CanvasRenderingContext2D;
  }

  setPalette(colours: Uint8ClampedArray): void {
    this.colours = new Uint32Array(colours.slice().buffer);
    this.key = "";
  }

  resize(width: number, height: number): void {
    if (this.canvas.width === width && this.canvas.height === height) return;
    this.canvas.width = width;
    this.canvas.height = height;
    this.key = "";
  }

  draw(view: View, range: Range): void {
    const { width, height } = this.canvas;
    if (width === 0 || height === 0) return;
    const fresh = this.history.added - this.drawn;
    const key = `${view.centre} ${view.span} ${width} ${height}`;
    const used = this.rangeUsed;
    const moved = !used || Math.abs(used.floor - range.floor) > 3 || Math.abs(used.top - range.top) > 6;
    if (key !== this.key || moved || fresh >= height) {
      this.key = key;
      this.rangeUsed = range;
      this.paint(0, height, view, range);
    } else if (fresh > 0) {
      this.context.drawImage(this.canvas, 0, 0, width, height - fresh, 0, fresh, width, height - fresh);
      this.paint(0, fresh, view, range);
    }
    this.drawn = this.history.added;
  }

  release(): void {
    this.canvas.width = 0;
  }

  private paint(from: number, to: number, view: View, range: Range): void {
    const { width } = this.canvas;
    if (this.line.length !== width) this.line = new Float32Array(width);
    const image = this.context.createImageData(width, to - from);
    const pixels = new Uint32Array(image.data.buffer);
    const dark = this.colours[0] as number;
    for (let y = from; y < to; ++y) {
      const row = this.history.rowAt(y);
      const at = (y - from) * width;
      if (row < 0) {
        pixels.fill(dark, at, at + width);
        continue;
      }
      const h = this.history;
      layOnPixels(h.rowValues(row), h.bins[row] as number, h.low[row] as number, h.high[row] as number, lowOf(view), highOf(view), this.line);
      const scale = (255 / (range.top - range.floor)) * (h.step[row] as number);
      const base = (255 * ((h.base[row] as number) - range.floor)) / (range.top - range.floor);
      for (let x = 0; x < width; ++x) {
        const value = base + (this.line[x] as number) * scale;
        // A NaN, outside the spectrum, fails the first comparison.
        pixels[at + x] = this.colours[value > 0 ? Math.min(255, value | 0) : 0] as number;
      }
    }
    this.context.putImageData(image, 0, from);
  }
}
