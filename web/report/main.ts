// The page that "vrel report" writes: a part for each file, from what was found to every signal.

import "dygraphs.css";
import "../parts/style.css";
import "./style.css";
import { type BandRow, bandChart } from "../parts/bands.ts";
import { element } from "../parts/dom.ts";
import { hasValues, lengthOf, planeOf } from "../parts/drawn.ts";
import { bytesText, clockText, distanceText, durationText, fixed, utcText } from "../parts/numbers.ts";
import { Plot } from "../parts/plot.ts";
import { searchableTable, table } from "../parts/table.ts";
import { TimeAxis } from "../parts/timeAxis.ts";
import { type Mark, TrackView } from "../parts/track.ts";
import type { Part, Report } from "./data.ts";
import { Modes, colouringsOf, fallsOf, largestOf, linesOf, riseOf, trackPath } from "./series.ts";

/** What tests look at. */
interface Drawn {
  axis: TimeAxis;
  plots: { title: string; plot: Plot }[];
  track: TrackView | null;
}

const judgementClasses = { whole: "good", "open-ended": "warn", damaged: "bad" };

function facts(rows: [string, string | HTMLElement][]): HTMLElement {
  const list = element("dl", { class: "facts" });
  for (const [name, value] of rows) list.append(element("dt", {}, name), element("dd", {}, value));
  return list;
}

function fileName(part: Part): string {
  return part.file.split("/").pop()!;
}

/** What the device has counted, or else the length of the drawn path. */
function drivenText(part: Part): string {
  const counted = riseOf(part, part.distances ?? []);
  if (counted !== null) return distanceText(counted);
  const tracks = (part.tracks ?? []).filter((track) => track.slice.length > 1);
  const plane = planeOf(tracks);
  if (!plane) return "not recorded";
  const path = trackPath(part, tracks[0], plane);
  return `${distanceText(lengthOf(path))} along the drawn path`;
}

/** The largest speed of the plots of this name. */
function topSpeedText(part: Part): string {
  const plot = part.plots?.find((one) => one.title === "Speed" || one.title === "Vehicle speed");
  const top = plot ? largestOf(part, plot.signals) : null;
  if (top === null) return "not recorded";
  const isMetric = /^m(\/s| s⁻¹)$/.test(plot!.unit);
  return `${fixed(top, 1)} ${plot!.unit}${isMetric ? ` (${fixed(top * 3.6, 0)} km/h)` : ""}`;
}

function judgement(part: Part): HTMLElement {
  return element("strong", { class: judgementClasses[part.check.judgement] }, part.check.verdict);
}

function summary(part: Part): HTMLElement {
  const rows: [string, string | HTMLElement][] = [["File", `${part.file} (${bytesText(part.size)})`]];
  if (part.start !== null) {
    const end = utcText(part.startMillis!, part.seconds!);
    rows.push(["Time", `${utcText(part.startMillis!, 0)} to ${end}, ${durationText(part.seconds!)}`]);
    rows.push(["Distance", drivenText(part)], ["Top speed", topSpeedText(part)]);
  } else {
    rows.push(["Time", "no stream of the file has time"]);
  }
  rows.push(["Health", judgement(part)]);
  const streams = part.streams.map((one) => [
    String(one.id),
    one.codec,
    one.name,
    String(one.serial),
    one.from === null ? "–" : clockText(one.from, 1),
    one.to === null ? "–" : clockText(one.to, 1),
    String(one.packets),
    one.from !== null && one.to! > one.from ? fixed(one.packets / (one.to! - one.from), 1) : "–",
    String(one.signals),
    one.damage,
  ]);
  const columns = ["Stream", "Kind", "Name", "Serial", "From", "To", "Packets", "Per second", "Signals", "Damage"];
  const isText = new Set(["Kind", "Name", "Damage"]);
  return element(
    "div",
    {},
    facts(rows),
    table(
      columns.map((title) => ({ title, isNumber: !isText.has(title) })),
      streams,
    ),
  );
}

/** Buttons for the time that all plots share, and where the cursor is. */
function timeBar(part: Part, axis: TimeAxis): HTMLElement {
  const time = element("output", { class: "time" });
  const show = () => {
    const [from, to] = axis.span;
    time.textContent =
      axis.cursor === null
        ? `${clockText(from, 1)} to ${clockText(to, 1)}`
        : `${clockText(axis.cursor, 3)}   ${utcText(part.startMillis!, axis.cursor)}`;
  };
  axis.onSpan(show);
  axis.onCursor(show);
  show();
  const button = (text: string, label: string, act: () => void) =>
    element("button", { type: "button", "aria-label": label, title: label, onclick: act }, text);
  return element(
    "nav",
    { "aria-label": "Time" },
    element("strong", {}, fileName(part)),
    time,
    button("⟵", "Earlier", () => axis.pan(-0.25)),
    button("⟶", "Later", () => axis.pan(0.25)),
    button("+", "Shorter time", () => axis.zoom(0.5)),
    button("−", "Longer time", () => axis.zoom(2)),
    button("All", "Whole time", () => axis.showAll()),
    element("span", { class: "note" }, "drag in a plot to zoom, with Shift to move, double-click for all"),
  );
}

function trackOf(part: Part, axis: TimeAxis, modes: Modes[], report: Report): TrackView | null {
  const tracks = (part.tracks ?? []).filter((track) => track.slice.length > 0);
  const plane = planeOf(tracks);
  if (!plane) return null;
  const paths = tracks.map((track) => trackPath(part, track, plane));
  const marks: Mark[] = [];
  for (const event of part.events ?? []) {
    const path = tracks.findIndex((track) => track.stream === event.stream);
    if (event.kind === "trigger" && event.time !== null && path >= 0) marks.push({ path, time: event.time, text: event.text });
  }
  return new TrackView(axis, plane, paths, colouringsOf(part, tracks, paths, modes), marks, report.background ?? null);
}

function damageRows(part: Part): BandRow[] {
  const rows = new Map<string, BandRow>();
  const add = (stream: number | null, from: number, to: number, colour: string, text: string) => {
    const label = stream === null ? "file" : `stream ${stream}`;
    const row = rows.get(label) ?? { label, bands: [] };
    row.bands.push({ from, to, colour, text });
    rows.set(label, row);
  };
  for (const one of part.streams) rows.set(`stream ${one.id}`, { label: `stream ${one.id}`, bands: [] });
  for (const event of part.events ?? []) {
    if (event.kind !== "gap" || event.time === null) continue;
    add(event.stream, event.time, event.record ?? event.time, "#e69f00", `gap: ${event.text}`);
  }
  for (const place of part.places) {
    if (place.from === null && place.to === null) continue;
    add(place.stream, place.from ?? place.to!, place.to ?? place.from!, "#d55e00", place.text);
  }
  return [...rows.values()];
}

function checkTable(part: Part): HTMLElement {
  const names = [...new Set(part.check.streams.flatMap((one) => Object.keys(one.counters)))];
  return table(
    ["Stream", "Kind", "Seconds lost", ...names].map((title) => ({ title, isNumber: title !== "Kind" })),
    part.check.streams.map((one) => [
      String(one.id),
      one.codec,
      fixed(one.secondsLost, 1),
      ...names.map((name) => String(one.counters[name] ?? "")),
    ]),
  );
}

function health(part: Part, axis: TimeAxis | null, modes: Modes[]): HTMLElement {
  const box = element("div", {}, element("p", {}, judgement(part)));
  if (axis) {
    const gaps = (part.events ?? []).filter((event) => event.kind === "gap").length;
    box.append(
      bandChart(axis, damageRows(part)),
      element("p", { class: "note" }, `Orange: gaps (${gaps}); red: damaged or lost. The time is that of the plots.`),
    );
  }
  if (part.places.length > 0) {
    const list = element("ul", {}, ...part.places.slice(0, 100).map((place) => element("li", {}, place.text)));
    box.append(list);
    const rest = part.check.placesInAll - Math.min(part.places.length, 100);
    if (rest > 0) box.append(element("p", { class: "note" }, `and ${rest} more places`));
  }
  for (const note of part.check.notes) box.append(element("p", { class: "note" }, `Note: ${note}.`));
  box.append(checkTable(part));

  const findings: string[] = [];
  for (const mode of modes) {
    const losses = mode.losses;
    if (!losses || losses.seconds === 0) continue;
    findings.push(
      `Stream ${mode.signal.stream}: the position mode was not ${losses.usual} for ${fixed(losses.seconds, 1)} s; ` +
        `it was lost ${losses.times} ${losses.times === 1 ? "time" : "times"}`,
    );
  }
  for (const index of part.upTimes ?? []) {
    const signal = part.signals![index];
    const times = fallsOf(part, signal).map((time) => clockText(time, 1));
    if (times.length === 0) continue;
    const more = times.length > 5 ? ` and ${times.length - 5} more times` : "";
    findings.push(`Stream ${signal.stream}: the unit started anew near ${times.slice(0, 5).join(", ")}${more}`);
  }
  if (findings.length > 0) box.append(element("ul", {}, ...findings.map((text) => element("li", {}, text))));
  if (part.faults && part.faults.length > 0) {
    box.append(
      element("h3", {}, "Counters of devices that rose"),
      table(
        [{ title: "Stream", isNumber: true }, { title: "Counter" }, { title: "From", isNumber: true }, { title: "To", isNumber: true }, { title: "Meaning" }],
        part.faults.map((one) => [String(one.stream), one.name, one.first, one.last, one.description]),
      ),
    );
  }
  return box;
}

function modeChart(axis: TimeAxis, modes: Modes[]): HTMLElement {
  const legend = element("div", { class: "legend" });
  const seen = new Set<string>();
  for (const { colour, text } of modes.flatMap((mode) => mode.legend)) {
    if (seen.has(colour + text)) continue;
    seen.add(colour + text);
    const swatch = element("span", { class: "swatch" });
    swatch.style.borderTop = `6px solid ${colour}`;
    legend.append(element("span", {}, swatch, text));
  }
  const rows = modes.map((mode) => ({ label: `${mode.signal.stream}:${mode.signal.name}`, bands: mode.bands }));
  return element("div", {}, bandChart(axis, rows), legend);
}

function events(part: Part): HTMLElement {
  const rows = (part.events ?? []).map((event) => [
    event.time === null ? "–" : clockText(event.time, 3),
    event.time === null || part.startMillis === null ? "–" : utcText(part.startMillis, event.time),
    event.stream === null ? "file" : String(event.stream),
    event.kind,
    event.text,
  ]);
  const columns = [{ title: "Time", isNumber: true }, { title: "UTC" }, { title: "Stream", isNumber: true }, { title: "Kind" }, { title: "What" }];
  const box = element("div", {}, searchableTable(columns, rows, "Search events", 50));
  const rest = (part.eventsInAll ?? 0) - rows.length;
  if (rest > 0) box.append(element("p", { class: "note" }, `and ${rest} more; "vrel events" lists them all`));
  return box;
}

function states(part: Part): HTMLElement {
  const rows = (part.states ?? []).flatMap((one) =>
    one.states.map((state) => [
      `${one.stream}:${one.name}`,
      state.usable ? (state.text ?? String(state.value)) : "no usable value",
      String(state.times),
      fixed(state.seconds, 3),
      `${fixed(state.share * 100, 1)} %`,
    ]),
  );
  return table(
    ["Signal", "State", "Times", "Seconds", "Share"].map((title, i) => ({ title, isNumber: i >= 2 })),
    rows,
  );
}

function devices(part: Part): HTMLElement {
  const box = element("div");
  for (const device of part.devices) {
    const stream = part.streams.find((one) => one.id === device.stream)!;
    const inner = element("details", {}, element("summary", {}, `Stream ${device.stream}: ${stream.codec} ${stream.name}`));
    if (device.settings.length > 0) {
      inner.append(
        table(
          [{ title: "Setting" }, { title: "Value" }, { title: "Unit" }, { title: "Meaning" }],
          device.settings.map((one) => [one.name, one.value, one.unit, one.description]),
        ),
      );
    }
    for (const header of device.headers) {
      const lines = header.values.map(([key, value]) => (value ? `${key}: ${value}` : key));
      inner.append(element("h3", {}, header.tag), element("pre", {}, lines.join("\n")));
    }
    box.append(inner);
  }
  return box;
}

function signals(part: Part): HTMLElement {
  const columns = ["Stream", "Signal", "Unit", "Description", "Samples", "Usable", "Rate", "First", "Last", "Smallest", "Largest", "Changes"];
  const rows = part.statistics!.map((row) => row.map((cell) => (cell === null ? "–" : String(cell))));
  return searchableTable(
    columns.map((title, i) => ({ title, isNumber: i === 0 || i >= 4 })),
    rows,
    "Search signals",
  );
}

/** A section that is made when it is opened. */
function folded(title: string, make: () => HTMLElement): HTMLElement {
  const details = element("details", {}, element("summary", {}, title));
  const open = () => {
    if (details.open && details.childElementCount === 1) details.append(make());
  };
  details.addEventListener("toggle", open);
  return details;
}

function showPart(part: Part, report: Report, host: HTMLElement): Drawn | null {
  const section = element("section", { class: "part" }, element("h2", {}, fileName(part)));
  host.append(section);
  section.append(summary(part));
  if (!part.slices) {
    section.append(element("h2", {}, "Health"), health(part, null, []), element("h2", {}, "Devices and settings"), devices(part));
    return null;
  }
  const { from, width, count } = part.slices;
  const axis = new TimeAxis([from, from + width * count]);
  const modes = (part.modes ?? []).map((index) => new Modes(part, part.signals![index])).filter((mode) => mode.bands.length > 0);
  section.append(timeBar(part, axis), element("h2", {}, "Track"));
  const track = trackOf(part, axis, modes, report);
  section.append(track?.element ?? element("p", {}, "No stream has a usable position."));
  if (modes.length > 0) section.append(element("h2", {}, "Position mode"), modeChart(axis, modes));

  const place = element("div", { class: "plots" });
  section.append(element("h2", {}, "Plots"), place);
  const plots = (part.plots ?? []).flatMap(({ title, unit, signals: planned }) => {
    const indices = planned.filter((index) => hasValues(part.signals![index]));
    if (indices.length === 0) return [];
    const lines = linesOf(part, indices);
    const stream = part.signals![indices[0]].stream;
    const background = modes.find((mode) => mode.signal.stream === stream) ?? modes[0];
    const plot = new Plot(axis, title, unit, lines, background?.bands);
    place.append(plot.element);
    return [{ title, plot }];
  });
  if (plots.length === 0) section.append(element("p", {}, "The file has none of the signals that are drawn; --signals adds some."));

  section.append(element("h2", {}, "Health"), health(part, axis, modes));
  section.append(element("h2", {}, "Events"), events(part));
  if (part.states && part.states.length > 0) section.append(element("h2", {}, "States"), states(part));
  section.append(element("h2", {}, "Devices and settings"), devices(part));
  if (part.statistics) {
    section.append(element("h2", {}, "Signals"), folded(`${part.statistics.length} signals and elements with their statistics`, () => signals(part)));
  }
  return { axis, plots, track };
}

function summaryTable(report: Report): HTMLElement {
  const columns = ["File", "Start", "Length", "Distance", "Top speed", "Streams", "Health"].map((title) => ({ title }));
  return table(
    columns,
    report.parts.map((part) => [
      fileName(part),
      part.startMillis === null ? "–" : utcText(part.startMillis, 0),
      part.seconds === null ? "–" : durationText(part.seconds),
      drivenText(part),
      topSpeedText(part),
      String(part.streams.length),
      part.check.judgement,
    ]),
  );
}

function showReport(): Drawn[] {
  const report = JSON.parse(document.getElementById("data")!.textContent!) as Report;
  const host = document.getElementById("report")!;
  host.replaceChildren(element("h1", {}, report.title));
  if (report.parts.length > 1) host.append(summaryTable(report));
  return report.parts.map((part) => showPart(part, report, host)).filter((drawn) => drawn !== null);
}

(window as unknown as { drawn: Drawn[] }).drawn = showReport();
