// Rows of coloured times, such as modes and damage, over the time that plots share.

import { element } from "./dom.ts";
import type { Band } from "./plot.ts";
import type { TimeAxis } from "./timeAxis.ts";

export interface BandRow {
  label: string;
  bands: (Band & { text: string })[];
}

export function bandChart(axis: TimeAxis, rows: BandRow[]): HTMLElement {
  const places: { piece: HTMLElement; band: Band }[] = [];
  const chart = element("div", { class: "bands" });
  for (const row of rows) {
    const strip = element("div", { class: "strip" });
    for (const band of row.bands) {
      const piece = element("span", { title: band.text });
      piece.style.background = band.colour;
      places.push({ piece, band });
      strip.append(piece);
    }
    chart.append(element("span", { class: "label" }, row.label), strip);
  }
  const lay = () => {
    const [from, to] = axis.span;
    const share = (time: number) => Math.min(Math.max((time - from) / (to - from), 0), 1) * 100;
    for (const { piece, band } of places) {
      piece.hidden = band.to < from || band.from > to;
      piece.style.left = `${share(band.from)}%`;
      // What is shorter than a pixel is seen all the same.
      piece.style.width = `max(2px, ${share(band.to) - share(band.from)}%)`;
    }
  };
  axis.onSpan(lay);
  lay();
  return chart;
}
