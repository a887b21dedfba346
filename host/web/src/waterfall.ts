// The waterfall: newest spectrum on top. Drawn by the graphics processor where there is one, else on a plain canvas.
import type { History } from "./history";
import type { Range } from "./levels";
import type { View } from "./view";
import { CanvasWaterfall } from "./waterfall_canvas";
import { GlWaterfall, hardwareGl } from "./waterfall_gl";

export type Drawing = "auto" | "webgl" | "canvas";

export interface WaterfallPainter {
  readonly kind: "webgl" | "canvas";
  setPalette(colours: Uint8ClampedArray): void;
  /** Draws the history; `width` and `height` in pixels of the canvas. */
  draw(view: View, range: Range): void;
  resize(width: number, height: number): void;
  release(): void;
}

/** What is chosen, as far as the browser can; "auto" takes WebGL unless it is drawn by software. */
export function makeWaterfall(canvas: HTMLCanvasElement, history: History, wish: Drawing): WaterfallPainter {
  if (wish === "webgl" || (wish === "auto" && hardwareGl())) {
    const painter = GlWaterfall.make(canvas, history);
    if (painter) return painter;
  }
  return new CanvasWaterfall(canvas, history);
}
