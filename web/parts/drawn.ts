// What vrel sends of signals and paths, as lines and places.

import { LocalPlane } from "./geo.ts";
import type { Line } from "./line.ts";
import type { Path } from "./track.ts";

/** Whole numbers of 10^-decimals for each slice: `a` as the difference from the one before, `b` as that from `a`. */
export interface DrawnSignal {
  stream: number;
  name: string;
  unit: string;
  description: string;
  decimals: number;
  texts: [number, string][];
  a: (number | null)[];
  b: (number | null)[];
  breaks: number[];
}

/** Slices of equal width: the start of the first one and the width, in seconds. */
export interface Slices {
  from: number;
  width: number;
}

/** Places in 1e-8 degrees, each as the difference from the one before. A slice with two points has its first position
 * and its last one. `object` says what moves, where a stream tells of several; to the slices of `breaks` no line leads. */
export interface DrawnPath {
  stream: number;
  object: string;
  latitude: number[];
  longitude: number[];
  slice: number[];
  breaks: number[];
}

/** "2", or "0, Target1". */
export function pathName({ stream, object }: DrawnPath): string {
  return object ? `${stream}, ${object}` : String(stream);
}

/** Whether a signal has any value to draw. */
export function hasValues(signal: DrawnSignal): boolean {
  return signal.a.some((value) => value !== null);
}

/** The two values of each slice in the order of drawing; not-a-number where there is none. */
export function valuesOf(signal: DrawnSignal): { a: Float64Array; b: Float64Array } {
  const a = new Float64Array(signal.a.length).fill(NaN);
  const b = a.slice();
  // A power below 0 is not exact: it is divided by its inverse.
  const scaled = (whole: number) =>
    signal.decimals >= 0 ? whole / 10 ** signal.decimals : whole * 10 ** -signal.decimals;
  let whole = 0;
  signal.a.forEach((difference, i) => {
    if (difference === null) return;
    whole += difference;
    a[i] = scaled(whole);
    b[i] = scaled(whole + signal.b[i]!);
  });
  return { a, b };
}

export function lineOf(signal: DrawnSignal, slices: Slices, style: { name: string; colour: string; dash?: number[] }): Line {
  const breaks = new Set(signal.breaks);
  return {
    title: signal.description,
    ...style,
    decimals: signal.decimals,
    texts: new Map(signal.texts),
    times: Float64Array.from(signal.a, (_, i) => slices.from + i * slices.width),
    width: slices.width,
    ...valuesOf(signal),
    broken: (index) => breaks.has(index),
  };
}

function running(differences: number[]): number[] {
  let sum = 0;
  return differences.map((difference) => (sum += difference));
}

/** The plane in the middle of the first path that has a place; none without. */
export function planeOf(paths: DrawnPath[]): LocalPlane | null {
  const first = paths.find((path) => path.slice.length > 0);
  if (!first) return null;
  const middle = Math.floor(first.slice.length / 2);
  return new LocalPlane(running(first.latitude)[middle] / 1e8, running(first.longitude)[middle] / 1e8);
}

export function pathOf(
  drawn: DrawnPath,
  slices: Slices,
  plane: LocalPlane,
  style: { name: string; colour: string },
): Path {
  const longitudes = running(drawn.longitude);
  const places = running(drawn.latitude).map((latitude, i) => plane.place(latitude / 1e8, longitudes[i] / 1e8));
  const broken = new Set(drawn.breaks);
  return {
    ...style,
    times: drawn.slice.map((slice, i) => slices.from + (slice + placeInSlice(drawn.slice, i)) * slices.width),
    east: places.map(([east]) => east),
    north: places.map(([, north]) => north),
    broken: (i) => drawn.slice[i] !== drawn.slice[i - 1] && broken.has(drawn.slice[i]),
  };
}

/** The first of two points stands at the start of its slice, the last one at its end, a single one in the middle. */
function placeInSlice(slices: number[], index: number): number {
  if (slices[index + 1] === slices[index]) return 0;
  return slices[index - 1] === slices[index] ? 1 : 0.5;
}

/** In metres; gaps count nothing. */
export function lengthOf(path: Path): number {
  let length = 0;
  for (let i = 1; i < path.times.length; ++i) {
    if (path.broken(i)) continue;
    length += Math.hypot(path.east[i] - path.east[i - 1], path.north[i] - path.north[i - 1]);
  }
  return length;
}
