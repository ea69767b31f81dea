// A signal as a plot draws it.

/** Values over time with gaps: at each of the rising times (seconds) two values in the order of drawing, which are the
 * smallest and the largest of what stands there; not-a-number where there is none. */
export interface Line {
  name: string;
  /** Shown where several lines have the same name, and when a person points at it. */
  title: string;
  colour: string;
  dash?: number[];
  decimals: number;
  /** What a value stands for, of an enumeration. */
  texts: Map<number, string>;
  times: ArrayLike<number>;
  /** How long a time stands for what is there, in seconds; 0 for samples. */
  width: number;
  a: ArrayLike<number>;
  b: ArrayLike<number>;
  /** Whether no line leads to an entry from the one with values before it. */
  broken: (index: number) => boolean;
}

/** The entry that stands at a time: the newest one not behind it; -1 before the first. */
export function entryAt(times: ArrayLike<number>, time: number): number {
  let low = 0;
  let high = times.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (times[middle] <= time) low = middle + 1;
    else high = middle;
  }
  return low - 1;
}

/** The newest entry with a value that leads to a time: none in a gap and outside. */
export function valueEntryAt(line: Line, time: number): number {
  const at = entryAt(line.times, time);
  if (at < 0) return -1;
  let entry = at;
  while (entry >= 0 && Number.isNaN(line.a[entry])) --entry;
  if (entry < 0 || entry === at) return entry;
  let next = at + 1;
  while (next < line.times.length && Number.isNaN(line.a[next])) ++next;
  return next < line.times.length && !line.broken(next) ? entry : -1;
}

/** "12.50", "12.50 … 13.00", "RTK Integer": what a line says at an entry. */
export function entryText(line: Line, entry: number, fixed: (value: number, decimals: number) => string): string {
  if (entry < 0 || Number.isNaN(line.a[entry])) return "–";
  const textOf = (value: number) => line.texts.get(value) ?? fixed(value, line.decimals);
  const low = textOf(Math.min(line.a[entry], line.b[entry]));
  const high = textOf(Math.max(line.a[entry], line.b[entry]));
  return low === high ? low : `${low} … ${high}`;
}

/** A row of a plot's table: time, then for each line a value, null for none here, not-a-number where a line ends. */
export type Row = (number | null)[];

/** All lines in one table with rising times, as the plot library takes it. */
export function rowsOf(lines: Line[]): Row[] {
  const rows = new Map<number, Row>();
  const put = (time: number, column: number, value: number) => {
    let row = rows.get(time);
    if (!row) {
      row = new Array<number | null>(lines.length + 1).fill(null);
      row[0] = time;
      rows.set(time, row);
    }
    row[column + 1] = value;
  };
  lines.forEach((line, column) => {
    let before = -1;
    for (let i = 0; i < line.times.length; ++i) {
      if (Number.isNaN(line.a[i])) continue;
      if (before >= 0 && line.broken(i)) put((line.times[before] + line.width + line.times[i]) / 2, column, NaN);
      const place = line.times[i] + line.width / 4;
      put(place, column, line.a[i]);
      if (line.b[i] !== line.a[i]) put(place + line.width / 2, column, line.b[i]);
      before = i;
    }
  });
  return [...rows.values()].sort((left, right) => left[0]! - right[0]!);
}
