// What is shown, as it stands in the fragment of the address.

import type { Span } from "../parts/timeAxis.ts";

/** A signal of a file: "0/2:Speed2d". */
export type Key = string;

export interface State {
  /** The signals of each plot. */
  plots: Key[][];
  /** Seconds from the start; none for the whole. */
  span: Span | null;
}

export function keyOf(file: number, stream: number, name: string): Key {
  return `${file}/${stream}:${name}`;
}

export function partsOf(key: Key): { file: number; stream: number; signal: string } {
  const [, file, signal, stream] = /^(\d+)\/((\d+):.+)$/s.exec(key)!;
  return { file: Number(file), stream: Number(stream), signal };
}

/** "#plots=0/2:Speed2d,0/3:Speed2d;0/2:Alt&span=12.5,30", with what has a meaning here percent-encoded in names. */
export function toFragment({ plots, span }: State): string {
  const words: string[] = [];
  if (plots.length > 0) words.push(`plots=${plots.map((plot) => plot.map(encoded).join(",")).join(";")}`);
  if (span) words.push(`span=${span.map((time) => Number(time.toPrecision(12))).join(",")}`);
  return words.length > 0 ? `#${words.join("&")}` : "";
}

/** What a fragment says, as far as it can be understood. */
export function fromFragment(fragment: string): State {
  const state: State = { plots: [], span: null };
  for (const word of fragment.replace(/^#/, "").split("&")) {
    const [name, value = ""] = word.split(/=(.*)/s);
    if (name === "plots") state.plots = value.split(";").map(keysOf).filter((plot) => plot.length > 0);
    const times = value.split(",").map(Number);
    if (name === "span" && times.length === 2 && times[0] < times[1]) state.span = [times[0], times[1]];
  }
  return state;
}

function keysOf(text: string): Key[] {
  return text.split(",").map(decoded).filter((key) => /^\d+\/\d+:./.test(key));
}

function encoded(key: Key): string {
  return encodeURIComponent(key).replaceAll("%2F", "/").replaceAll("%3A", ":");
}

function decoded(text: string): Key {
  try {
    return decodeURIComponent(text);
  } catch {
    return "";
  }
}
