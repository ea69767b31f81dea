// A plot: lines of one unit over the time that it shares with others.

import Dygraph, { type dygraphs } from "dygraphs";
import { element, onColoursChanged, styleColour } from "./dom.ts";
import { type Line, entryText, rowsOf, valueEntryAt } from "./line.ts";
import { clockText, fixed, timeMarks } from "./numbers.ts";
import type { TimeAxis } from "./timeAxis.ts";

// The library's own legend writes names as markup; ours does not.
const library = Dygraph as unknown as { PLUGINS: unknown[]; Plugins: { Legend: unknown } };
library.PLUGINS = library.PLUGINS.filter((plugin) => plugin !== library.Plugins.Legend);

/** A time in which the background has a colour. */
export interface Band {
  from: number;
  to: number;
  colour: string;
}

export class Plot {
  readonly element: HTMLElement;
  private readonly chart = element("div", { class: "chart" });
  private readonly cursor = element("div", { class: "cursor" });
  private readonly legend = element("div", { class: "legend" });
  private readonly unit = element("small");
  private values: HTMLElement[] = [];
  private hidden = new Set<string>();
  private graph: Dygraph | null = null;
  private visible = false;
  private stale = true;
  /** Whether there are lines that the graph does not have. */
  private isNew = true;

  constructor(
    private readonly axis: TimeAxis,
    title: string,
    unit: string,
    private lines: Line[],
    private readonly bands: Band[] = [],
  ) {
    const heading = element("h3", {}, title, this.unit);
    const box = element("div", { class: "plot-box" }, this.chart, this.cursor);
    this.element = element("figure", { class: "plot" }, element("figcaption", {}, heading, this.legend), box);
    this.showLegend(unit);

    axis.onSpan(() => this.refresh());
    axis.onCursor((time) => this.showCursor(time));
    onColoursChanged(() => this.refresh());
    new IntersectionObserver((entries) => this.setVisible(entries[entries.length - 1].isIntersecting), {
      rootMargin: "200px",
    }).observe(this.element);
    addEventListener("beforeprint", () => this.setVisible(true));
  }

  /** What is drawn, for tests: the rows of the table and the range of the vertical axis. */
  get drawn(): { rows: number; range: [number, number] } | null {
    return this.graph ? { rows: this.graph.numRows(), range: this.graph.yAxisRange() as [number, number] } : null;
  }

  /** Draws other lines from now on. Those that were hidden stay so, by their names. */
  setLines(lines: Line[], unit: string): void {
    this.lines = lines;
    this.showLegend(unit);
    this.isNew = true;
    this.refresh();
  }

  private showLegend(unit: string): void {
    this.unit.textContent = unit && unit !== "-" ? ` [${unit}]` : "";
    this.values = this.lines.map(() => element("output"));
    this.legend.replaceChildren(...this.lines.map((line, index) => this.legendEntry(line, index)));
  }

  private legendEntry(line: Line, index: number): HTMLElement {
    const swatch = element("span", { class: "swatch" });
    swatch.style.borderTop = `3px ${line.dash ? "dashed" : "solid"} ${line.colour}`;
    const isShown = String(!this.hidden.has(line.name));
    const button = element("button", { type: "button", "aria-pressed": isShown, title: line.title });
    button.append(swatch, line.name, this.values[index]);
    button.addEventListener("click", () => {
      const shown = button.getAttribute("aria-pressed") !== "true";
      button.setAttribute("aria-pressed", String(shown));
      if (shown) this.hidden.delete(line.name);
      else this.hidden.add(line.name);
      this.graph?.setVisibility(index, shown);
    });
    return button;
  }

  private setVisible(visible: boolean): void {
    this.visible = visible;
    if (visible && this.stale) this.draw();
  }

  /** Draws again, or later when the plot is seen. */
  private refresh(): void {
    this.stale = true;
    if (this.visible) this.draw();
  }

  private draw(): void {
    if (this.lines.length === 0) return;
    this.stale = false;
    const rows = this.isNew ? (rowsOf(this.lines) as dygraphs.DataArray) : null;
    this.isNew = false;
    const seen = {
      axisLineColor: styleColour("faint"),
      gridLineColor: styleColour("grid"),
      dateWindow: [...this.axis.span] as [number, number],
    };
    if (!this.graph) this.graph = new Dygraph(this.chart, rows!, { ...this.options(), ...seen });
    else if (rows) this.graph.updateOptions({ ...this.lineOptions(), ...seen, file: rows });
    else this.graph.updateOptions(seen);
    this.showCursor(this.axis.cursor);
  }

  private lineOptions(): dygraphs.Options {
    const labels = this.lines.map((_, index) => String(index));
    return {
      labels: ["time", ...labels],
      visibility: this.lines.map((line) => !this.hidden.has(line.name)),
      series: Object.fromEntries(
        this.lines.map((line, index) => [labels[index], { color: line.colour, strokePattern: line.dash ?? null }]),
      ) as dygraphs.Options["series"],
    };
  }

  private options(): dygraphs.Options {
    return {
      ...this.lineOptions(),
      connectSeparatedPoints: true,
      drawGapEdgePoints: true,
      strokeWidth: 1.3,
      highlightCircleSize: 2,
      animatedZooms: false,
      xRangePad: 0,
      yRangePad: 6,
      axes: {
        x: {
          axisLabelFormatter: (time) => clockText(Number(time)),
          ticker: (from, to, pixels) => {
            const { times, decimals } = timeMarks(from, to, pixels / 90);
            return times.map((v) => ({ v, label: clockText(v, decimals) }));
          },
        },
        y: { axisLabelWidth: 64, axisLabelFormatter: (value) => this.valueLabel(Number(value)) },
      },
      drawCallback: (graph, isInitial) => {
        if (!isInitial) this.axis.show(graph.xAxisRange() as [number, number]);
      },
      highlightCallback: (_event, time) => this.axis.point(time),
      underlayCallback: (context, area, graph) => {
        for (const band of this.bands) {
          const left = Math.max(graph.toDomXCoord(band.from), area.x);
          const right = Math.min(graph.toDomXCoord(band.to), area.x + area.w);
          if (right <= left) continue;
          context.globalAlpha = 0.13;
          context.fillStyle = band.colour;
          context.fillRect(left, area.y, right - left, area.h);
        }
        context.globalAlpha = 1;
      },
    };
  }

  private valueLabel(value: number): string {
    const texts = this.lines[0]?.texts;
    if (texts && texts.size > 0) return texts.get(value) ?? (Number.isInteger(value) ? String(value) : "");
    return String(Number(value.toPrecision(7)));
  }

  private showCursor(time: number | null): void {
    this.lines.forEach((line, index) => {
      this.values[index].textContent = time === null ? "" : entryText(line, valueEntryAt(line, time), fixed);
    });
    const area = this.graph?.getArea();
    const x = time === null || !this.graph ? NaN : this.graph.toDomXCoord(time);
    const isSeen = area !== undefined && x >= area.x && x <= area.x + area.w;
    this.cursor.hidden = !isSeen;
    if (isSeen) this.cursor.style.transform = `translateX(${x}px)`;
  }
}
