// Numbers and times as a person reads them.

/** "12.50": a number with a fixed count of decimal places; "–" for none. */
export function fixed(value: number | null | undefined, decimals: number): string {
  if (value === null || value === undefined || Number.isNaN(value)) return "–";
  return value.toFixed(Math.min(Math.max(decimals, 0), 12));
}

/** "12.3 km", "650 m". */
export function distanceText(metres: number): string {
  return metres >= 10_000 ? `${(metres / 1000).toFixed(1)} km` : `${metres.toFixed(metres < 100 ? 1 : 0)} m`;
}

export function bytesText(bytes: number): string {
  const units = ["bytes", "kB", "MB", "GB", "TB"];
  let unit = 0;
  let value = bytes;
  for (; value >= 1000 && unit + 1 < units.length; ++unit) value /= 1000;
  return `${unit === 0 ? value : value.toPrecision(3)} ${units[unit]}`;
}

/** "1:02:03.45": seconds of a run as a clock shows them, with a sign below 0. */
export function clockText(seconds: number, decimals = 0): string {
  const scale = 10 ** decimals;
  const whole = Math.round(Math.abs(seconds) * scale);
  const sign = seconds < 0 && whole > 0 ? "−" : "";
  const inMinute = ((whole % (60 * scale)) / scale).toFixed(decimals).padStart(decimals ? decimals + 3 : 2, "0");
  const minutes = Math.floor(whole / (60 * scale));
  const hours = Math.floor(minutes / 60);
  if (hours === 0) return `${sign}${minutes}:${inMinute}`;
  return `${sign}${hours}:${String(minutes % 60).padStart(2, "0")}:${inMinute}`;
}

/** "1 h 2 min 3.5 s". */
export function durationText(seconds: number): string {
  if (seconds < 60) return `${Number(seconds.toFixed(seconds < 10 ? 3 : 1))} s`;
  const minutes = Math.floor(Math.round(seconds) / 60);
  const rest = Math.round(seconds) % 60;
  return minutes < 60 ? `${minutes} min ${rest} s` : `${Math.floor(minutes / 60)} h ${minutes % 60} min ${rest} s`;
}

/** "2025-06-02 09:00:12.345 UTC": a time that lies some seconds behind one in milliseconds since 1970. */
export function utcText(startMillis: number, seconds: number): string {
  const time = new Date(Math.round(startMillis + seconds * 1000));
  return Number.isNaN(time.getTime()) ? "" : `${time.toISOString().replace("T", " ").replace("Z", "")} UTC`;
}

/** The largest of 1, 2 or 5 times a power of ten that is not above a length. */
export function stepBelow(length: number): number {
  const power = 10 ** Math.floor(Math.log10(length));
  const lead = length / power;
  return (lead >= 5 ? 5 : lead >= 2 ? 2 : 1) * power;
}

const timeSteps = [1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 10800, 21600, 43200, 86400];

/** Times in a span at which an axis has marks, at most so many, and the decimal places that they need. */
export function timeMarks(from: number, to: number, most: number): { times: number[]; decimals: number } {
  const least = (to - from) / Math.max(most, 1);
  if (!(least > 0)) return { times: [], decimals: 0 };
  const size = least <= 1 ? stepAbove(least) : (timeSteps.find((s) => s >= least) ?? Math.ceil(least / 86400) * 86400);
  const decimals = size >= 1 ? 0 : Math.ceil(-Math.log10(size) - 1e-9);
  const times: number[] = [];
  for (let i = Math.ceil(from / size); i * size <= to; ++i) times.push(i * size);
  return { times, decimals };
}

/** The smallest of 1, 2 or 5 times a power of ten that is not below a length. */
function stepAbove(length: number): number {
  const power = 10 ** Math.floor(Math.log10(length));
  const lead = length / power;
  return (lead > 5 ? 10 : lead > 2 ? 5 : lead > 1 ? 2 : 1) * power;
}
