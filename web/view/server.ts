// What the server answers.

import type { DrawnPath, DrawnSignal, Slices } from "../parts/drawn.ts";
import type { Span } from "../parts/timeAxis.ts";

export interface FileFacts {
  name: string;
  startMillis: number | null;
  seconds: number | null;
  judgement: string;
  verdict: string;
  streams: { id: number; codec: string; name: string }[];
}

export interface SignalFacts {
  stream: number;
  name: string;
  unit: string;
  description: string;
  table: string;
  /** 0 for a scalar. */
  elements: number;
}

export type SlicedSignal = DrawnSignal & Slices;
export type SlicedPath = DrawnPath & Slices;

async function answerTo(path: string, signal?: AbortSignal): Promise<Response> {
  const response = await fetch(path, { signal });
  // The server was started anew: its page asks for the token.
  if (response.status === 403) location.reload();
  if (!response.ok) throw new Error(((await response.json()) as { error: string }).error);
  return response;
}

async function jsonOf<T>(path: string): Promise<T> {
  return (await (await answerTo(path)).json()) as T;
}

export function files(): Promise<FileFacts[]> {
  return jsonOf("/api/files");
}

export async function signalsOf(file: number): Promise<SignalFacts[]> {
  const rows = await jsonOf<[number, string, string, string, string, number][]>(`/api/files/${file}/signals`);
  return rows.map(([stream, name, unit, description, table, elements]) => ({ stream, name, unit, description, table, elements }));
}

export function tracksOf(file: number): Promise<SlicedPath[]> {
  return jsonOf(`/api/files/${file}/tracks`);
}

function query(signals: string[], span: Span): URLSearchParams {
  const words = new URLSearchParams(signals.map((signal) => ["signal", signal]));
  words.set("from", String(span[0]));
  words.set("to", String(span[1]));
  return words;
}

/** Where the samples of signals of one stream are had as CSV. */
export function samplesAddress(file: number, signals: string[], span: Span): string {
  return `/api/files/${file}/samples?${query(signals, span)}`;
}

/** Calls back with each picture that comes, a coarse or unfinished one first; ends with the last one. */
export async function readOverview(
  file: number,
  signals: string[],
  span: Span,
  slices: number,
  show: (signals: SlicedSignal[], isFinal: boolean) => void,
  givenUp: AbortSignal,
): Promise<void> {
  const words = query(signals, span);
  words.set("slices", String(slices));
  const response = await answerTo(`/api/files/${file}/overview?${words}`, givenUp);
  const reader = response.body!.pipeThrough(new TextDecoderStream()).getReader();
  let text = "";
  let isFinal = false;
  for (;;) {
    const { done, value } = await reader.read();
    if (done) break;
    text += value;
    const lines = text.split("\n");
    text = lines.pop()!;
    // Of several pictures that came at one time only the last is worth drawing.
    const last = lines.pop();
    if (!last) continue;
    const picture = JSON.parse(last) as { final: boolean; signals: SlicedSignal[] };
    isFinal = picture.final;
    // While nothing is finished yet, there may be those of one stream only.
    if (picture.signals.length > 0) show(picture.signals, isFinal);
  }
  if (!isFinal) throw new Error("the answer broke off");
}
