// Paths on a plane, true to scale.

import type { Geometry, GeoJSON, Position } from "geojson";
import { element, onColoursChanged, styleColour } from "./dom.ts";
import type { LocalPlane } from "./geo.ts";
import { entryAt } from "./line.ts";
import { distanceText, stepBelow } from "./numbers.ts";
import type { TimeAxis } from "./timeAxis.ts";

export interface Path {
  name: string;
  colour: string;
  /** Rising, seconds. */
  times: number[];
  /** Metres from the plane's origin. */
  east: number[];
  north: number[];
  /** Whether no line leads to a point from the one before it. */
  broken: (index: number) => boolean;
}

/** What a path is coloured by, with a legend. */
export interface Colouring {
  name: string;
  colour: (path: number, point: number) => string | null;
  legend: { colour: string; text: string }[];
}

export interface Mark {
  path: number;
  time: number;
  text: string;
}

export type Background =
  | { geojson: GeoJSON }
  | { image: string; corners: [south: number, west: number, north: number, east: number] };

interface View {
  /** Metres at the middle of the drawing, and pixels for a metre. */
  east: number;
  north: number;
  scale: number;
}

export class TrackView {
  readonly element: HTMLElement;
  private readonly canvas = element("canvas", {
    tabindex: "0",
    role: "img",
    "aria-label": "The path, north up. Arrow keys move, + and - zoom, 0 shows all.",
  });
  private readonly legend = element("div", { class: "legend" });
  private readonly note = element("p", { class: "note" });
  private colouring: Colouring;
  private view: View = { east: 0, north: 0, scale: 1 };
  private fitted: Path[];
  private isFitted = true;
  private asked = 0;
  private image: HTMLImageElement | null = null;

  constructor(
    private readonly axis: TimeAxis,
    private readonly plane: LocalPlane,
    private readonly paths: Path[],
    colourings: Colouring[],
    private readonly marks: Mark[],
    private readonly background: Background | null,
  ) {
    this.colouring = colourings[0];
    this.fitted = paths;
    const choice = element("select", { "aria-label": "Colour by" });
    colourings.forEach((one, index) => choice.append(element("option", { value: String(index) }, one.name)));
    choice.addEventListener("change", () => this.colourBy(colourings[Number(choice.value)]));
    const shown = element("select", { "aria-label": "Show" }, element("option", { value: "" }, "all paths"));
    paths.forEach(({ name }, index) => shown.append(element("option", { value: String(index) }, `stream ${name}`)));
    shown.addEventListener("change", () => this.fit(shown.value === "" ? paths : [paths[Number(shown.value)]]));
    // Paths that lie too far from each other to be seen at one time are seen one by one.
    if (paths.length > 1 && areFarApart(paths)) {
      this.fitted = [paths[0]];
      shown.value = "0";
    }
    const buttons = element(
      "div",
      { class: "buttons" },
      element("label", {}, "Colour by ", choice),
      element("label", {}, "Show ", shown),
      element("button", { type: "button", onclick: () => this.zoom(2), "aria-label": "Zoom in" }, "+"),
      element("button", { type: "button", onclick: () => this.zoom(0.5), "aria-label": "Zoom out" }, "−"),
      element("button", { type: "button", onclick: () => this.fit(this.fitted) }, "Fit"),
    );
    this.element = element("figure", { class: "track" }, buttons, this.canvas, this.legend, this.note);
    this.listen();
    this.showLegend();
    if (background && "image" in background) {
      this.image = new Image();
      this.image.addEventListener("load", () => this.redraw());
      this.image.src = background.image;
    }
  }

  /** Where a path is at a time, in pixels of the drawing; for tests and the cursor. */
  placeAt(path: number, time: number): [number, number] | null {
    const point = entryAt(this.paths[path].times, time);
    if (point < 0) return null;
    return this.pixel(this.paths[path].east[point], this.paths[path].north[point]);
  }
  /** Pixels for a metre. */
  get scale(): number {
    return this.view.scale;
  }

  private listen(): void {
    this.axis.onSpan(() => this.redraw());
    this.axis.onCursor(() => this.redraw());
    onColoursChanged(() => this.redraw());
    new ResizeObserver(() => (this.isFitted ? this.fit(this.fitted) : this.redraw())).observe(this.canvas);
    addEventListener("beforeprint", () => this.draw());
    let held: PointerEvent | null = null;
    this.canvas.addEventListener("pointerdown", (event) => {
      held = event;
      this.canvas.setPointerCapture(event.pointerId);
    });
    this.canvas.addEventListener("pointerup", () => (held = null));
    this.canvas.addEventListener("pointermove", (event) => {
      if (held) this.move(event.clientX - held.clientX, event.clientY - held.clientY);
      if (held) held = event;
      else this.pointAt(event.offsetX, event.offsetY);
    });
    this.canvas.addEventListener("pointerleave", () => this.axis.point(null));
    this.canvas.addEventListener("dblclick", () => this.fit(this.fitted));
    this.canvas.addEventListener(
      "wheel",
      (event) => {
        if (!event.ctrlKey && document.activeElement !== this.canvas) return;
        event.preventDefault();
        this.zoom(Math.exp(-event.deltaY / 400), event.offsetX, event.offsetY);
      },
      { passive: false },
    );
    const keys: Record<string, () => void> = {
      ArrowLeft: () => this.move(40, 0),
      ArrowRight: () => this.move(-40, 0),
      ArrowUp: () => this.move(0, 40),
      ArrowDown: () => this.move(0, -40),
      "+": () => this.zoom(1.5),
      "-": () => this.zoom(1 / 1.5),
      "0": () => this.fit(this.fitted),
    };
    this.canvas.addEventListener("keydown", (event) => {
      const act = keys[event.key];
      if (!act) return;
      event.preventDefault();
      act();
    });
  }

  private colourBy(colouring: Colouring): void {
    this.colouring = colouring;
    this.showLegend();
    this.redraw();
  }
  private showLegend(): void {
    this.legend.replaceChildren(
      ...this.colouring.legend.map(({ colour, text }) => {
        const swatch = element("span", { class: "swatch" });
        swatch.style.borderTop = `4px solid ${colour}`;
        return element("span", {}, swatch, text);
      }),
    );
  }

  private get size(): [number, number] {
    return [this.canvas.clientWidth, this.canvas.clientHeight];
  }
  private pixel(east: number, north: number): [number, number] {
    const [width, height] = this.size;
    const { view } = this;
    return [width / 2 + (east - view.east) * view.scale, height / 2 - (north - view.north) * view.scale];
  }

  private fit(paths: Path[]): void {
    this.fitted = paths;
    const { west, east, south, north } = extentOf(paths);
    const [width, height] = this.size;
    if (!(west <= east) || width === 0) return;
    const margin = 36;
    // A run that stood still is shown as ten metres.
    const across = Math.max(east - west, 10) / Math.max(width - 2 * margin, 1);
    const up = Math.max(north - south, 10) / Math.max(height - 2 * margin, 1);
    this.view = { east: (west + east) / 2, north: (south + north) / 2, scale: 1 / Math.max(across, up) };
    this.isFitted = true;
    this.redraw();
  }
  private move(right: number, down: number): void {
    this.view.east -= right / this.view.scale;
    this.view.north += down / this.view.scale;
    this.isFitted = false;
    this.redraw();
  }
  private zoom(factor: number, x = this.size[0] / 2, y = this.size[1] / 2): void {
    const [width, height] = this.size;
    const scale = Math.min(Math.max(this.view.scale * factor, 1e-6), 1e4);
    const kept = 1 / this.view.scale - 1 / scale;
    this.view.east += (x - width / 2) * kept;
    this.view.north -= (y - height / 2) * kept;
    this.view.scale = scale;
    this.isFitted = false;
    this.redraw();
  }
  /** Puts the cursor on the nearest point, if one is near. */
  private pointAt(x: number, y: number): void {
    let nearest = 30 ** 2;
    let time: number | null = null;
    for (const path of this.paths) {
      for (let i = 0; i < path.times.length; ++i) {
        const [px, py] = this.pixel(path.east[i], path.north[i]);
        const distance = (px - x) ** 2 + (py - y) ** 2;
        if (distance >= nearest) continue;
        nearest = distance;
        time = path.times[i];
      }
    }
    this.axis.point(time);
  }

  private redraw(): void {
    if (this.asked) return;
    this.asked = requestAnimationFrame(() => this.draw());
  }

  private draw(): void {
    this.asked = 0;
    const [width, height] = this.size;
    const ratio = devicePixelRatio || 1;
    this.canvas.width = width * ratio;
    this.canvas.height = height * ratio;
    const context = this.canvas.getContext("2d")!;
    context.scale(ratio, ratio);
    this.drawBackground(context);
    this.paths.forEach((_, index) => this.drawPath(context, index));
    this.drawMarks(context);
    this.drawCursor(context);
    this.drawScale(context, height);
    this.drawNorth(context, width);
  }

  private drawPath(context: CanvasRenderingContext2D, index: number): void {
    const path = this.paths[index];
    const [from, to] = this.axis.span;
    context.lineWidth = 2.5;
    context.lineJoin = context.lineCap = "round";
    // Pieces of one look are one line.
    let look = "";
    for (let i = 1; i < path.times.length; ++i) {
      if (path.broken(i)) continue;
      const isSeen = path.times[i] >= from && path.times[i - 1] <= to;
      const colour = this.colouring.colour(index, i) ?? path.colour;
      const isNext = look === `${isSeen} ${colour}` && !path.broken(i - 1);
      if (!isNext) {
        if (look) context.stroke();
        look = `${isSeen} ${colour}`;
        context.globalAlpha = isSeen ? 1 : 0.2;
        context.strokeStyle = colour;
        context.beginPath();
        context.moveTo(...this.pixel(path.east[i - 1], path.north[i - 1]));
      }
      context.lineTo(...this.pixel(path.east[i], path.north[i]));
    }
    if (look) context.stroke();
    context.globalAlpha = 1;
    const last = path.times.length - 1;
    if (last < 0) return;
    this.drawLabel(context, this.pixel(path.east[0], path.north[0]), `start ${path.name}`, path.colour, 0);
    this.drawLabel(context, this.pixel(path.east[last], path.north[last]), `end ${path.name}`, path.colour, 1);
  }

  /** Starts are round, ends are square. */
  private drawLabel(context: CanvasRenderingContext2D, place: [number, number], text: string, colour: string, end: 0 | 1) {
    context.fillStyle = colour;
    context.beginPath();
    if (end) context.rect(place[0] - 4, place[1] - 4, 8, 8);
    else context.arc(place[0], place[1], 4.5, 0, 2 * Math.PI);
    context.fill();
    if (this.paths.length > 4) return;
    context.fillStyle = styleColour("ink");
    context.font = "12px system-ui, sans-serif";
    context.fillText(text, place[0] + 7, place[1] + (end ? 14 : -6));
  }

  private drawMarks(context: CanvasRenderingContext2D): void {
    context.strokeStyle = styleColour("ink");
    context.lineWidth = 1.5;
    for (const mark of this.marks) {
      const place = this.placeAt(mark.path, mark.time);
      if (!place) continue;
      context.beginPath();
      context.moveTo(place[0] - 4, place[1] - 4);
      context.lineTo(place[0] + 4, place[1] + 4);
      context.moveTo(place[0] - 4, place[1] + 4);
      context.lineTo(place[0] + 4, place[1] - 4);
      context.stroke();
    }
  }

  private drawCursor(context: CanvasRenderingContext2D): void {
    const time = this.axis.cursor;
    if (time === null) return;
    this.paths.forEach((path, index) => {
      const place = this.placeAt(index, time);
      if (!place) return;
      context.beginPath();
      context.arc(place[0], place[1], 6, 0, 2 * Math.PI);
      context.fillStyle = path.colour;
      context.fill();
      context.lineWidth = 2;
      context.strokeStyle = styleColour("ink");
      context.stroke();
    });
  }

  private drawScale(context: CanvasRenderingContext2D, height: number): void {
    const metres = stepBelow(120 / this.view.scale);
    const length = metres * this.view.scale;
    context.strokeStyle = context.fillStyle = styleColour("ink");
    context.lineWidth = 2;
    context.beginPath();
    context.moveTo(14, height - 18);
    context.lineTo(14, height - 12);
    context.lineTo(14 + length, height - 12);
    context.lineTo(14 + length, height - 18);
    context.stroke();
    context.font = "12px system-ui, sans-serif";
    context.fillText(metres < 1 ? `${metres} m` : distanceText(metres).replace(".0 ", " "), 20, height - 18);
  }

  private drawNorth(context: CanvasRenderingContext2D, width: number): void {
    context.fillStyle = styleColour("ink");
    context.beginPath();
    context.moveTo(width - 20, 10);
    context.lineTo(width - 14, 30);
    context.lineTo(width - 26, 30);
    context.fill();
    context.font = "bold 12px system-ui, sans-serif";
    context.fillText("N", width - 24, 44);
  }

  private drawBackground(context: CanvasRenderingContext2D): void {
    if (!this.background) return;
    if ("image" in this.background) {
      if (!this.image?.complete || this.image.naturalWidth === 0) return;
      const [south, west, north, east] = this.background.corners;
      const [left, top] = this.pixel(...this.plane.place(north, west));
      const [right, bottom] = this.pixel(...this.plane.place(south, east));
      context.globalAlpha = 0.6;
      context.drawImage(this.image, left, top, right - left, bottom - top);
      context.globalAlpha = 1;
      return;
    }
    context.strokeStyle = context.fillStyle = styleColour("faint");
    context.lineWidth = 1;
    for (const geometry of geometriesOf(this.background.geojson)) this.drawGeometry(context, geometry);
  }

  private drawGeometry(context: CanvasRenderingContext2D, geometry: Geometry): void {
    const line = (positions: Position[]) => {
      context.beginPath();
      for (const [longitude, latitude] of positions) context.lineTo(...this.pixel(...this.plane.place(latitude, longitude)));
      context.stroke();
    };
    const point = ([longitude, latitude]: Position) => {
      const [x, y] = this.pixel(...this.plane.place(latitude, longitude));
      context.fillRect(x - 2, y - 2, 4, 4);
    };
    if (geometry.type === "Point") point(geometry.coordinates);
    if (geometry.type === "MultiPoint") geometry.coordinates.forEach(point);
    if (geometry.type === "LineString") line(geometry.coordinates);
    if (geometry.type === "MultiLineString" || geometry.type === "Polygon") geometry.coordinates.forEach(line);
    if (geometry.type === "MultiPolygon") geometry.coordinates.flat().forEach(line);
  }
}

function extentOf(paths: Path[]): { west: number; east: number; south: number; north: number } {
  const extent = { west: Infinity, east: -Infinity, south: Infinity, north: -Infinity };
  for (const path of paths) {
    for (let i = 0; i < path.times.length; ++i) {
      extent.west = Math.min(extent.west, path.east[i]);
      extent.east = Math.max(extent.east, path.east[i]);
      extent.south = Math.min(extent.south, path.north[i]);
      extent.north = Math.max(extent.north, path.north[i]);
    }
  }
  return extent;
}

/** Whether no path is longer than a fiftieth of what all span. */
function areFarApart(paths: Path[]): boolean {
  const lengthOf = (some: Path[]) => {
    const { west, east, south, north } = extentOf(some);
    return Math.max(east - west, north - south);
  };
  return Math.max(...paths.map((path) => lengthOf([path]))) < lengthOf(paths) / 50;
}

/** The simple geometries of a GeoJSON object. */
function geometriesOf(json: GeoJSON | null): Geometry[] {
  if (!json) return [];
  if (json.type === "FeatureCollection") return json.features.flatMap((feature) => geometriesOf(feature));
  if (json.type === "Feature") return geometriesOf(json.geometry);
  if (json.type === "GeometryCollection") return json.geometries.flatMap((geometry) => geometriesOf(geometry));
  return [json];
}
