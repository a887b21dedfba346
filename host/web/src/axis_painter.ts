// Draws the scale of frequencies with the band plan below it.
import { segmentsWithin, type Use } from "./bands";
import { axisLabel } from "./frequency";
import { highOf, lowOf, tickStep, xOf, type View } from "./view";

const kColours: Record<Use, string> = {
  cw: "#d9a441", digital: "#58b09c", phone: "#5d8fd6", all: "#7e8799", beacon: "#b56fc4",
};
const kNames: Record<Use, string> = { cw: "CW", digital: "Digital", phone: "Phone", all: "All modes", beacon: "Beacons" };

export function drawAxis(canvas: HTMLCanvasElement, view: View, scale: number): void {
  const context = canvas.getContext("2d", { alpha: false }) as CanvasRenderingContext2D;
  const { width, height } = canvas;
  context.fillStyle = "#0e1825";
  context.fillRect(0, 0, width, height);
  const strip = Math.round(11 * scale);
  drawScale(context, view, width, height - strip, scale);
  context.font = `600 ${Math.round(8.5 * scale)}px system-ui, sans-serif`;
  context.textAlign = "center";
  for (const { band, segment } of segmentsWithin(lowOf(view), highOf(view))) {
    const from = Math.max(0, xOf(view, segment.low, width));
    const to = Math.min(width, xOf(view, segment.high, width));
    context.fillStyle = kColours[segment.use];
    context.globalAlpha = 0.8;
    context.fillRect(from, height - strip, Math.max(1, to - from - scale), strip);
    context.globalAlpha = 1;
    const text = `${band.name}  ${kNames[segment.use]}`;
    const shorter = kNames[segment.use];
    const fits = [text, shorter].find((one) => context.measureText(one).width < to - from - 8 * scale);
    if (!fits) continue;
    context.fillStyle = "#07101a";
    context.fillText(fits, (from + to) / 2, height - 2.6 * scale);
  }
  context.textAlign = "start";
}

function drawScale(context: CanvasRenderingContext2D, view: View, width: number, height: number, scale: number): void {
  const step = tickStep(view.span, width / scale, 90);
  const small = step / 5;
  context.fillStyle = "#c9d6e4";
  context.strokeStyle = "rgba(180, 200, 220, 0.5)";
  context.lineWidth = Math.max(1, Math.round(scale));
  context.font = `${Math.round(11 * scale)}px system-ui, sans-serif`;
  context.textAlign = "center";
  context.beginPath();
  for (let i = Math.ceil(lowOf(view) / small); i * small <= highOf(view); ++i) {
    const x = Math.round(xOf(view, i * small, width)) + 0.5;
    context.moveTo(x, 0);
    context.lineTo(x, (i % 5 === 0 ? 5 : 3) * scale);
    if (i % 5 !== 0) continue;
    const text = axisLabel(i * small, step);
    const half = context.measureText(text).width / 2 + 3 * scale;
    if (x > half && x < width - half) context.fillText(text, x, height - 4 * scale);
  }
  context.stroke();
}
