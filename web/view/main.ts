// The page of "vrel view": signals laid into plots over one time.

import "dygraphs.css";
import "../parts/style.css";
import "./style.css";
import { lineColour } from "../parts/colours.ts";
import { element } from "../parts/dom.ts";
import { lineOf, pathName, pathOf, planeOf } from "../parts/drawn.ts";
import { type Line, entryText, valueEntryAt } from "../parts/line.ts";
import { clockText, fixed, utcText } from "../parts/numbers.ts";
import { Plot } from "../parts/plot.ts";
import { table } from "../parts/table.ts";
import { type Span, TimeAxis } from "../parts/timeAxis.ts";
import { TrackView } from "../parts/track.ts";
import { type FileFacts, type SignalFacts, type SlicedSignal, files, readOverview, samplesAddress, signalsOf, tracksOf } from "./server.ts";
import { type Key, type State, fromFragment, partsOf, toFragment } from "./state.ts";
import { signalTree } from "./tree.ts";

/** Signals that are asked for at a time. */
const mostSignals = 32;

interface ShownPlot {
  keys: Key[];
  plot: Plot;
  holder: HTMLElement;
}

class Viewer {
  readonly axis: TimeAxis;
  private readonly plots: ShownPlot[] = [];
  private readonly known = new Map<Key, SlicedSignal>();
  private readonly facts = new Map<Key, SignalFacts>();
  private readonly place = element("main", { class: "plots" });
  private readonly drop = element("p", { class: "drop" }, "Click a signal, or drag it here or onto a plot.");
  private readonly trouble = element("span", { class: "trouble", role: "alert" });
  private readonly busy = element("span", { class: "note", role: "status" });
  private readonly values = element("div", { class: "values" });
  private readonly exports = element("div");
  private readonly track = element("div");
  private reading: AbortController | null = null;
  private waiting = 0;

  constructor(
    private readonly all: FileFacts[],
    signals: SignalFacts[][],
    host: HTMLElement,
  ) {
    this.axis = new TimeAxis([-0.1, Math.max(1e-3, ...all.map((file) => file.seconds ?? 0)) + 1e-3]);
    signals.forEach((ofFile, file) => {
      for (const one of ofFile) this.facts.set(`${file}/${one.stream}:${one.name}`, one);
    });
    const tree = signalTree(
      all.map((facts, file) => ({ facts, signals: signals[file] })),
      (key, further) => this.choose(key, further),
    );
    this.place.append(this.drop);
    this.acceptDrops(this.drop, (key) => this.addPlot([key]));
    host.replaceChildren(this.bar(), tree, this.place, element("div", { class: "below" }, this.track, this.values));
    this.axis.onSpan(() => this.changed());
    this.axis.onCursor(() => this.showValues());
    addEventListener("hashchange", () => this.open(fromFragment(location.hash)));
    addEventListener("keydown", (event) => this.pressed(event));
  }

  /** Shows what a state says, as far as the files have it. */
  open(state: State): void {
    for (const { holder } of this.plots.splice(0)) holder.remove();
    for (const keys of state.plots) {
      const there = keys.filter((key) => this.isThere(key));
      if (there.length > 0) this.addPlot(there);
    }
    if (state.span) this.axis.show(state.span);
    else this.axis.showAll();
    this.changed();
  }

  async showTracks(): Promise<void> {
    const ofFiles = await Promise.all(this.all.map((_, file) => tracksOf(file)));
    const drawn = ofFiles.flatMap((list, file) => list.map((path) => ({ file, path }))).filter(({ path }) => path.slice.length > 0);
    const plane = planeOf(drawn.map(({ path }) => path));
    if (!plane) {
      this.track.replaceChildren(element("p", { class: "note" }, "No stream has a usable position."));
      return;
    }
    const paths = drawn.map(({ file, path }, index) => {
      const name = this.all.length > 1 ? `${file + 1}, ${pathName(path)}` : pathName(path);
      return pathOf(path, path, plane, { name, colour: lineColour(index) });
    });
    const legend = paths.map(({ name, colour }) => ({ colour, text: `stream ${name}` }));
    const view = new TrackView(this.axis, plane, paths, [{ name: "stream", colour: () => null, legend }], [], null);
    this.track.replaceChildren(view.element);
  }

  private isThere(key: Key): boolean {
    return this.facts.has(key) || (this.facts.get(key.replace(/\[\d+\]$/, ""))?.elements ?? 0) > 0;
  }
  private unitOf(key: Key): string {
    return (this.facts.get(key) ?? this.facts.get(key.replace(/\[\d+\]$/, "")))?.unit ?? "";
  }

  private choose(key: Key, further: boolean): void {
    const newest = this.plots[this.plots.length - 1];
    if (further && newest) this.addTo(newest, key);
    else this.addPlot([key]);
  }
  private addPlot(keys: Key[]): void {
    const plot = new Plot(this.axis, "", "", []);
    const close = element("button", { type: "button", "aria-label": "Remove this plot", title: "Remove this plot" }, "×");
    const holder = element("div", { class: "plot-holder" }, element("div", { class: "buttons" }, close), plot.element);
    const shown: ShownPlot = { keys: [], plot, holder };
    close.addEventListener("click", () => {
      this.plots.splice(this.plots.indexOf(shown), 1);
      holder.remove();
      this.changed();
    });
    this.acceptDrops(holder, (key) => this.addTo(shown, key));
    this.plots.push(shown);
    this.place.insertBefore(holder, this.drop);
    shown.keys.push(...keys);
    this.redraw(shown);
    this.changed();
  }
  private addTo(shown: ShownPlot, key: Key): void {
    if (!shown.keys.includes(key)) shown.keys.push(key);
    this.redraw(shown);
    this.changed();
  }
  private acceptDrops(target: HTMLElement, accept: (key: Key) => void): void {
    target.addEventListener("dragover", (event) => {
      event.preventDefault();
      target.classList.add("dropping");
    });
    target.addEventListener("dragleave", () => target.classList.remove("dropping"));
    target.addEventListener("drop", (event) => {
      event.preventDefault();
      target.classList.remove("dropping");
      const key = event.dataTransfer?.getData("text/plain") ?? "";
      if (/^\d+\/\d+:./.test(key) && this.isThere(key)) accept(key);
    });
  }

  private bar(): HTMLElement {
    const time = element("output", { class: "time" });
    const show = () => {
      const [from, to] = this.axis.span;
      const { cursor } = this.axis;
      const start = this.all.length === 1 ? this.all[0].startMillis : null;
      const utc = cursor !== null && start !== null ? `   ${utcText(start, cursor)}` : "";
      time.textContent = cursor === null ? `${clockText(from, 3)} to ${clockText(to, 3)}` : `${clockText(cursor, 3)}${utc}`;
    };
    this.axis.onSpan(show);
    this.axis.onCursor(show);
    show();
    const button = (text: string, label: string, act: () => void) =>
      element("button", { type: "button", "aria-label": label, title: label, onclick: act }, text);
    const exporting = element("details", {}, element("summary", {}, "CSV"), this.exports);
    return element(
      "header",
      {},
      time,
      button("⟵", "Earlier (Alt+←)", () => this.axis.pan(-0.25)),
      button("⟶", "Later (Alt+→)", () => this.axis.pan(0.25)),
      button("+", "Shorter time (Alt+↑)", () => this.axis.zoom(0.5)),
      button("−", "Longer time (Alt+↓)", () => this.axis.zoom(2)),
      button("All", "Whole time (Alt+0)", () => this.axis.showAll()),
      exporting,
      this.busy,
      this.trouble,
    );
  }
  private pressed(event: KeyboardEvent): void {
    const acts: Record<string, () => void> = {
      ArrowLeft: () => this.axis.pan(-0.25),
      ArrowRight: () => this.axis.pan(0.25),
      ArrowUp: () => this.axis.zoom(0.5),
      ArrowDown: () => this.axis.zoom(2),
      "0": () => this.axis.showAll(),
    };
    if (!event.altKey || !acts[event.key]) return;
    event.preventDefault();
    acts[event.key]();
  }

  /** Something else is to be shown: the address says so at once, and the server is asked soon. */
  private changed(): void {
    const span: Span | null = this.axis.span[1] - this.axis.span[0] < this.axis.full[1] - this.axis.full[0] ? this.axis.span : null;
    history.replaceState(null, "", location.pathname + toFragment({ plots: this.plots.map(({ keys }) => keys), span }));
    this.drop.hidden = false;
    this.showExports();
    this.showValues();
    clearTimeout(this.waiting);
    this.waiting = window.setTimeout(() => void this.read(), 100);
  }

  /** Asks for all that is shown, over the span that is seen; what was asked for before is given up. */
  private async read(): Promise<void> {
    this.reading?.abort();
    const reading = new AbortController();
    this.reading = reading;
    this.trouble.textContent = "";
    this.busy.textContent = "reading …";
    const slices = Math.min(Math.max(Math.round(this.place.clientWidth * (devicePixelRatio || 1)), 200), 4000);
    const perFile = this.all.map((_, file) => {
      const keys = [...new Set(this.plots.flatMap(({ keys }) => keys))].filter((key) => partsOf(key).file === file);
      return Array.from({ length: Math.ceil(keys.length / mostSignals) }, (_, i) => keys.slice(i * mostSignals, (i + 1) * mostSignals));
    });
    try {
      await Promise.all(
        perFile.flatMap((chunks, file) =>
          chunks.map((keys) =>
            readOverview(
              file,
              keys.map((key) => partsOf(key).signal),
              this.axis.span,
              slices,
              (signals) => this.take(file, signals),
              reading.signal,
            ),
          ),
        ),
      );
      this.busy.textContent = "";
    } catch (error) {
      if (reading.signal.aborted) return;
      this.busy.textContent = "";
      this.trouble.textContent = (error as Error).message;
    }
  }
  private take(file: number, signals: SlicedSignal[]): void {
    const keys = new Set<Key>();
    for (const signal of signals) {
      const key = `${file}/${signal.stream}:${signal.name}`;
      this.known.set(key, signal);
      keys.add(key);
    }
    for (const shown of this.plots) if (shown.keys.some((key) => keys.has(key))) this.redraw(shown);
    this.showValues();
  }

  private linesOf({ keys }: ShownPlot): Line[] {
    return keys.flatMap((key, index) => {
      const signal = this.known.get(key);
      const { file, signal: name } = partsOf(key);
      const style = { name: this.all.length > 1 ? `${file + 1}/${name}` : name, colour: lineColour(index) };
      return signal ? [lineOf(signal, signal, style)] : [];
    });
  }
  private redraw(shown: ShownPlot): void {
    const units = [...new Set(shown.keys.map((key) => this.unitOf(key)).filter((unit) => unit && unit !== "-"))];
    shown.plot.setLines(this.linesOf(shown), units.join(", "));
  }

  private showValues(): void {
    const time = this.axis.cursor;
    const rows = this.plots.flatMap((shown) =>
      this.linesOf(shown).map((line, index) => [
        line.name,
        time === null ? "" : entryText(line, valueEntryAt(line, time), fixed),
        this.unitOf(shown.keys[index]),
      ]),
    );
    this.values.replaceChildren(
      element("h3", {}, time === null ? "Values at the cursor" : `Values at ${clockText(time, 3)}`),
      table([{ title: "Signal" }, { title: "Value", isNumber: true }, { title: "Unit" }], rows),
    );
  }

  private showExports(): void {
    const groups = new Map<string, Key[]>();
    for (const key of new Set(this.plots.flatMap(({ keys }) => keys))) {
      const { file, stream } = partsOf(key);
      groups.set(`${file}/${stream}`, [...(groups.get(`${file}/${stream}`) ?? []), key]);
    }
    const links = [...groups].map(([, keys]) => {
      const { file, stream } = partsOf(keys[0]);
      const address = samplesAddress(file, keys.slice(0, mostSignals).map((key) => partsOf(key).signal), this.axis.span);
      return element("p", {}, element("a", { href: address, download: "" }, `${this.all[file].name}, stream ${stream}: what is seen`));
    });
    this.exports.replaceChildren(...(links.length > 0 ? links : [element("p", { class: "note" }, "Nothing is shown yet.")]));
  }
}

async function start(): Promise<void> {
  // The token is in the cookie now, and needs not be seen.
  if (location.search) history.replaceState(null, "", location.pathname + location.hash);
  const host = document.getElementById("view")!;
  host.replaceChildren(element("p", {}, "Reading the signals …"));
  const all = await files();
  document.title = `${all.map((file) => file.name).join(", ")} – vrel view`;
  const viewer = new Viewer(all, await Promise.all(all.map((_, file) => signalsOf(file))), host);
  (window as unknown as { viewer: Viewer }).viewer = viewer;
  viewer.open(fromFragment(location.hash));
  await viewer.showTracks();
}

start().catch((error: Error) => document.getElementById("view")!.append(element("p", { class: "trouble" }, error.message)));
