// What vrel lays into the page. Times are seconds from the start of a part's file; null is "not known".

import type { DrawnPath, DrawnSignal, Slices } from "../parts/drawn.ts";
import type { Background } from "../parts/track.ts";

export interface Report {
  title: string;
  background?: Background;
  parts: Part[];
}

export interface Part {
  file: string;
  size: number;
  start: string | null;
  startMillis: number | null;
  seconds: number | null;
  fast: boolean;
  streams: StreamFacts[];
  check: Check;
  places: Place[];
  events?: EventFacts[];
  eventsInAll?: number;
  signals?: DrawnSignal[];
  slices?: Slices & { count: number };
  plots?: { title: string; unit: string; signals: number[] }[];
  tracks?: Track[];
  /** Signals that are drawn, by their places in `signals`. */
  distances?: number[];
  upTimes?: number[];
  modes?: number[];
  devices: Device[];
  states?: StateFacts[];
  /** Stream, name, unit, description, samples, usable, rate, first, last, smallest, largest, changes. */
  statistics?: [number, string, string, string, number, number, string | null, string, string, string, string, number][];
  faults?: { stream: number; name: string; description: string; first: string; last: string }[];
}

export interface StreamFacts {
  id: number;
  codec: string;
  name: string;
  serial: number;
  from: number | null;
  to: number | null;
  packets: number;
  signals: number;
  damage: string;
}

export interface Check {
  judgement: "whole" | "open-ended" | "damaged";
  verdict: string;
  counters: Record<string, number>;
  streams: { id: number; codec: string; secondsLost: number | null; counters: Record<string, number> }[];
  placesInAll: number;
  notes: string[];
}

export interface Place {
  stream: number | null;
  kind: string;
  from: number | null;
  to: number | null;
  text: string;
}

export interface EventFacts {
  time: number | null;
  record: number | null;
  stream: number | null;
  kind: string;
  text: string;
  signal: string;
  before: number | boolean | null;
  after: number | boolean | null;
}

export interface Track extends DrawnPath {
  speed: number | null;
  northAccuracy: number | null;
  eastAccuracy: number | null;
  mode: number | null;
}

export interface Device {
  stream: number;
  headers: { tag: string; values: [string, string][] }[];
  settings: { name: string; value: string; unit: string; description: string }[];
}

export interface StateFacts {
  stream: number;
  name: string;
  unit: string;
  states: { value: unknown; text: string | null; usable: boolean; times: number; seconds: number; share: number }[];
}
