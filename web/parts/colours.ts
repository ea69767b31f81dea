// Colours that the colour-blind can tell apart (Okabe and Ito), in an order of good contrast on light and dark.

const lineColours = ["#0072b2", "#d55e00", "#009e73", "#cc79a7", "#e69f00", "#56b4e9", "#8c6bb1", "#7f7f7f"];
const dashes: (number[] | undefined)[] = [undefined, [7, 3], [2, 3], [9, 3, 2, 3]];

export function lineColour(index: number): string {
  return lineColours[index % lineColours.length];
}

/** A further line of the same colour: none for an unbroken one. */
export function lineDash(index: number): number[] | undefined {
  return dashes[index % dashes.length];
}

/** Stops of the map "cividis", from low to high. */
const ramp = [
  [0, 34, 78],
  [53, 69, 108],
  [102, 105, 112],
  [148, 142, 119],
  [200, 184, 102],
  [254, 232, 56],
];

/** A colour for 0 (low) to 1 (high). */
export function rampColour(share: number): string {
  const place = Math.min(Math.max(share, 0), 1) * (ramp.length - 1);
  const below = Math.min(Math.floor(place), ramp.length - 2);
  const mixed = ramp[below].map((low, i) => Math.round(low + (ramp[below + 1][i] - low) * (place - below)));
  return `rgb(${mixed.join(",")})`;
}
