// Colour maps of the waterfall: 256 colours each, made from a few stops.

type Stop = readonly [number, number, number];

export interface ColourMap {
  name: string;
  title: string;
  stops: readonly Stop[];
}

export const kColourMaps: readonly ColourMap[] = [
  {
    name: "dusk",
    title: "Dusk",
    stops: [[5, 8, 20], [12, 24, 62], [34, 44, 126], [106, 48, 146], [204, 70, 104], [246, 158, 62], [255, 250, 218]],
  },
  {
    name: "lagoon",
    title: "Lagoon",
    stops: [[4, 10, 18], [6, 30, 50], [8, 66, 92], [18, 120, 128], [70, 184, 146], [178, 230, 150], [252, 255, 224]],
  },
  {
    name: "ember",
    title: "Ember",
    stops: [[8, 6, 8], [44, 12, 16], [108, 22, 18], [184, 52, 18], [236, 116, 26], [252, 196, 84], [255, 252, 226]],
  },
  {
    name: "aurora",
    title: "Aurora",
    stops: [[3, 5, 16], [14, 20, 70], [20, 62, 140], [16, 140, 150], [66, 206, 90], [232, 226, 60], [255, 96, 56]],
  },
  {
    name: "phosphor",
    title: "Phosphor",
    stops: [[2, 8, 5], [6, 32, 18], [14, 76, 42], [40, 140, 76], [104, 208, 122], [208, 255, 208]],
  },
  { name: "slate", title: "Slate", stops: [[7, 8, 10], [46, 52, 60], [112, 120, 130], [190, 196, 204], [255, 255, 255]] },
];

export function colourMap(name: string): ColourMap {
  return kColourMaps.find((one) => one.name === name) ?? (kColourMaps[0] as ColourMap);
}

/** 256 colours as bytes R, G, B, A. */
export function palette(map: ColourMap): Uint8ClampedArray {
  const out = new Uint8ClampedArray(256 * 4);
  const last = map.stops.length - 1;
  for (let i = 0; i < 256; ++i) {
    const place = (i / 255) * last;
    const below = Math.min(last - 1, Math.floor(place));
    const part = place - below;
    const a = map.stops[below] as Stop;
    const b = map.stops[below + 1] as Stop;
    for (let c = 0; c < 3; ++c) out[4 * i + c] = Math.round((a[c] as number) * (1 - part) + (b[c] as number) * part);
    out[4 * i + 3] = 255;
  }
  return out;
}
