// What part of the spectrum a panadapter shows, and the arithmetic of zooming and panning it.

export interface View {
  /** Hz in the middle of the picture. */
  centre: number;
  /** Hz from edge to edge. */
  span: number;
}

/** What one receiver covers: its centre and width in Hz. */
export interface Reach {
  centre: number;
  width: number;
}

export const kNarrowest = 500;

export const lowOf = (view: View): number => view.centre - view.span / 2;
export const highOf = (view: View): number => view.centre + view.span / 2;

export function xOf(view: View, hz: number, width: number): number {
  return ((hz - lowOf(view)) / view.span) * width;
}

export function hzAt(view: View, x: number, width: number): number {
  return lowOf(view) + (x / width) * view.span;
}

/** Magnifies by `factor` (2: half the span) so that what is at x stays at x. */
export function zoomAround(view: View, x: number, width: number, factor: number, widest: number): View {
  const anchor = hzAt(view, x, width);
  const span = Math.min(widest, Math.max(kNarrowest, view.span / factor));
  return { centre: anchor - (x / width - 0.5) * span, span };
}

export function pan(view: View, hz: number): View {
  return { centre: view.centre + hz, span: view.span };
}

/** Keeps the view within what the receiver covers. */
export function clampTo(view: View, reach: Reach): View {
  const span = Math.min(view.span, reach.width);
  const room = (reach.width - span) / 2;
  return { centre: Math.min(reach.centre + room, Math.max(reach.centre - room, view.centre)), span };
}

/** Brings `hz` back into the view with a margin of an eighth, if it is outside that. */
export function follow(view: View, hz: number): View {
  const margin = view.span / 8;
  if (hz < lowOf(view) + margin) return { centre: hz - margin + view.span / 2, span: view.span };
  if (hz > highOf(view) - margin) return { centre: hz + margin - view.span / 2, span: view.span };
  return view;
}

/** The highest power of two by which a spectrum of `rate` Hz can be magnified and still fill the view. */
export function serverZoom(view: View, rate: number, highest = 512): number {
  let zoom = 1;
  while (zoom * 2 <= highest && rate / (zoom * 2) >= view.span) zoom *= 2;
  return zoom;
}

/** Bins to ask for, so that each pixel of the picture has one at least: a power of two. */
export function serverBins(view: View, rate: number, zoom: number, pixels: number): number {
  const needed = (pixels * (rate / zoom)) / view.span;
  let bins = 256;
  while (bins < needed && bins < 2048) bins *= 2;
  return bins;
}

/** Distance of the marks of an axis: 1, 2 or 5 times a power of ten, at least `room` pixels apart. */
export function tickStep(span: number, width: number, room: number): number {
  const least = (span * room) / Math.max(1, width);
  const unit = 10 ** Math.floor(Math.log10(least));
  for (const factor of [1, 2, 5]) if (factor * unit >= least) return factor * unit;
  return 10 * unit;
}
