// From what the page carries to what is drawn.

import { lineColour, lineDash, rampColour } from "../parts/colours.ts";
import { type DrawnSignal, lineOf, pathName, pathOf, valuesOf } from "../parts/drawn.ts";
import type { LocalPlane } from "../parts/geo.ts";
import { type Line, entryAt } from "../parts/line.ts";
import { fixed } from "../parts/numbers.ts";
import type { Band } from "../parts/plot.ts";
import type { Colouring, Path } from "../parts/track.ts";
import type { EventFacts, Part, Track } from "./data.ts";

/** A stream has the same colour wherever it is drawn. */
export function streamColour(part: Part, stream: number): string {
  return lineColour(part.streams.findIndex((one) => one.id === stream));
}

/** The lines of a plot: the colour says the stream, and further signals of it are dashed. */
export function linesOf(part: Part, signals: number[]): Line[] {
  const streams = new Set(signals.map((index) => part.signals![index].stream));
  const perStream = new Map<number, number>();
  return signals.map((index, place) => {
    const signal = part.signals![index];
    const before = perStream.get(signal.stream) ?? 0;
    perStream.set(signal.stream, before + 1);
    const hasOneStream = streams.size === 1;
    return lineOf(signal, part.slices!, {
      name: `${signal.stream}:${signal.name}`,
      colour: hasOneStream ? lineColour(place) : streamColour(part, signal.stream),
      dash: lineDash(hasOneStream ? Math.floor(place / 8) : before),
    });
  });
}

const modeColours = ["#009e73", "#e69f00", "#d55e00", "#cc79a7", "#56b4e9", "#0072b2", "#8c6bb1", "#7f7f7f"];

/** A time in which a mode stood. */
export interface ModeBand extends Band {
  value: number;
  text: string;
}

/** What a mode signal was when, by its changes: exact, and cut where its stream or its values had a gap. The colours
 * go by the time for which a mode stood, the longest first. */
export class Modes {
  readonly bands: ModeBand[] = [];

  constructor(part: Part, readonly signal: DrawnSignal) {
    const line = lineOf(signal, part.slices!, { name: "", colour: "" });
    const changes = (part.events ?? []).filter((event) => this.isChange(event));
    let begin = NaN;
    let last = NaN;
    for (let i = 0; i < line.times.length; ++i) {
      if (Number.isNaN(line.a[i])) continue;
      if (Number.isNaN(begin) || line.broken(i)) {
        this.addSpan(line, changes, begin, last);
        begin = line.times[i];
      }
      last = line.times[i] + line.width;
    }
    this.addSpan(line, changes, begin, last);
    const lengths = new Map<number, number>();
    for (const band of this.bands) lengths.set(band.value, (lengths.get(band.value) ?? 0) + band.to - band.from);
    const order = [...lengths].sort((one, other) => other[1] - one[1]).map(([value]) => value);
    for (const band of this.bands) band.colour = modeColours[order.indexOf(band.value) % modeColours.length];
  }

  /** How often, and for how many seconds in all, the mode was another one than that which stood longest. */
  get losses(): { usual: string; times: number; seconds: number } | null {
    const usual = this.bands.find((band) => band.colour === modeColours[0]);
    if (!usual) return null;
    const others = this.bands.filter((band) => band.value !== usual.value);
    const times = this.bands.filter((band, i) => band.value !== usual.value && this.bands[i - 1]?.value === usual.value);
    return { usual: usual.text, times: times.length, seconds: others.reduce((sum, { from, to }) => sum + to - from, 0) };
  }
  get legend(): { colour: string; text: string }[] {
    const texts = new Map(this.bands.map((band) => [band.text, band.colour]));
    return [...texts].map(([text, colour]) => ({ colour, text }));
  }
  colourAt(time: number): string | null {
    return this.bands.find((band) => time >= band.from && time <= band.to)?.colour ?? null;
  }

  private isChange(event: EventFacts): boolean {
    return event.stream === this.signal.stream && event.signal === this.signal.name && event.time !== null;
  }
  private addSpan(line: Line, changes: EventFacts[], begin: number, end: number): void {
    if (Number.isNaN(begin)) return;
    const within = changes.filter((event) => event.time! > begin && event.time! < end);
    let value = within.length > 0 ? Number(within[0].before) : line.a[entryAt(line.times, begin)];
    let from = begin;
    const add = (to: number) => {
      const text = this.signal.texts.find(([code]) => code === value)?.[1] ?? String(value);
      if (to > from) this.bands.push({ from, to, colour: "", value, text });
    };
    for (const event of within) {
      add(event.time!);
      from = event.time!;
      value = Number(event.after);
    }
    add(end);
  }
}

export function trackPath(part: Part, track: Track, plane: LocalPlane): Path {
  // Objects of one stream are told apart.
  const colour = track.object
    ? lineColour(part.streams.length + part.tracks!.indexOf(track))
    : streamColour(part, track.stream);
  return pathOf(track, part.slices!, plane, { name: pathName(track), colour });
}

/** By mode, where a stream has one, then by stream, speed and accuracy. */
export function colouringsOf(part: Part, tracks: Track[], paths: Path[], modes: Modes[]): Colouring[] {
  const known = new Map<number, Float64Array>();
  const value = (signal: number | null, slice: number) => {
    if (signal === null) return NaN;
    if (!known.has(signal)) known.set(signal, valuesOf(part.signals![signal]).a);
    return known.get(signal)![slice];
  };
  const byMode = tracks.map((track) => modes.find((one) => one.signal.stream === track.stream));
  const colourings: Colouring[] = [];
  if (byMode.some(Boolean)) {
    const texts = new Map(byMode.flatMap((one) => one?.legend ?? []).map(({ colour, text }) => [colour + text, { colour, text }]));
    colourings.push({
      name: "position mode",
      colour: (path, point) => byMode[path]?.colourAt(paths[path].times[point]) ?? null,
      legend: [...texts.values()],
    });
  }
  colourings.push({
    name: "stream",
    colour: () => null,
    legend: paths.map(({ colour, name }) => ({ colour, text: `stream ${name}` })),
  });
  const accuracy = (track: Track, slice: number) =>
    Math.hypot(value(track.northAccuracy, slice), value(track.eastAccuracy, slice));
  colourings.push(...byValue("speed", "m/s", tracks, (track, slice) => value(track.speed, slice)));
  colourings.push(...byValue("accuracy", "m", tracks, held(tracks, accuracy)));
  return colourings;
}

/** A value that comes more seldom than the slices stands until the next one. */
function held(tracks: Track[], value: (track: Track, slice: number) => number): (track: Track, slice: number) => number {
  const known = new Map<Track, Map<number, number>>();
  for (const track of tracks) {
    const values = new Map<number, number>();
    let last = NaN;
    let next = 0;
    for (const slice of track.slice) {
      for (; next <= slice; ++next) {
        const here = value(track, next);
        if (!Number.isNaN(here)) last = here;
      }
      values.set(slice, last);
    }
    known.set(track, values);
  }
  return (track, slice) => known.get(track)!.get(slice) ?? NaN;
}

function byValue(name: string, unit: string, tracks: Track[], value: (track: Track, slice: number) => number): Colouring[] {
  let [low, high] = [Infinity, -Infinity];
  for (const track of tracks) {
    for (const slice of track.slice) {
      const here = value(track, slice);
      if (Number.isNaN(here)) continue;
      low = Math.min(low, here);
      high = Math.max(high, here);
    }
  }
  if (!(low <= high)) return [];
  const share = (here: number) => (high > low ? (here - low) / (high - low) : 0);
  const digits = high - low < 1 ? 3 : 1;
  return [
    {
      name,
      colour: (path, point) => {
        const here = value(tracks[path], tracks[path].slice[point]);
        return Number.isNaN(here) ? null : rampColour(share(here));
      },
      legend: [0, 0.25, 0.5, 0.75, 1].map((at) => ({
        colour: rampColour(at),
        text: `${fixed(low + at * (high - low), digits)} ${unit}`,
      })),
    },
  ];
}

/** The times at which a value falls, such as that of a clock which starts anew. */
export function fallsOf(part: Part, signal: DrawnSignal): number[] {
  const line = lineOf(signal, part.slices!, { name: "", colour: "" });
  const falls: number[] = [];
  let last = -Infinity;
  for (let i = 0; i < line.times.length; ++i) {
    if (Number.isNaN(line.a[i])) continue;
    if (line.a[i] < last || line.b[i] < line.a[i]) falls.push(line.times[i]);
    last = line.b[i];
  }
  return falls;
}

/** How far a value went from its first to its last; the largest of several signals. */
export function riseOf(part: Part, signals: number[]): number | null {
  const isNumber = (value: number) => !Number.isNaN(value);
  const rises = signals.map((index) => {
    const { a, b } = valuesOf(part.signals![index]);
    return (b.findLast(isNumber) ?? NaN) - (a.find(isNumber) ?? NaN);
  });
  return rises.some(isNumber) ? Math.max(...rises.filter(isNumber)) : null;
}

export function largestOf(part: Part, signals: number[]): number | null {
  let largest = -Infinity;
  for (const index of signals) {
    const { a, b } = valuesOf(part.signals![index]);
    for (let i = 0; i < a.length; ++i) if (!Number.isNaN(a[i])) largest = Math.max(largest, a[i], b[i]);
  }
  return Number.isFinite(largest) ? largest : null;
}
