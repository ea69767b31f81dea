// The signals of all streams, to be searched and chosen from.

import { element } from "../parts/dom.ts";
import type { FileFacts, SignalFacts } from "./server.ts";
import { type Key, keyOf } from "./state.ts";

/** Of more matches the first ones are shown. */
const mostFound = 300;

export interface TreeFile {
  facts: FileFacts;
  signals: SignalFacts[];
}

/** `choose`: `further` is whether the signal is to go into the newest plot. */
export function signalTree(files: TreeFile[], choose: (key: Key, further: boolean) => void): HTMLElement {
  const field = element("input", { type: "search", placeholder: "Search signals", "aria-label": "Search signals" });
  const count = element("p", { class: "note", role: "status" });
  const place = element("div", { class: "tree" });
  const all = files.reduce((sum, file) => sum + file.signals.length, 0);
  const show = () => {
    const words = field.value.toLowerCase().split(/\s+/).filter(Boolean);
    const matches = (signal: SignalFacts) => {
      const text = `${signal.name} ${signal.description} ${signal.unit} ${signal.table}`.toLowerCase();
      return words.every((word) => text.includes(word));
    };
    const found = files.map((file) => (words.length > 0 ? file.signals.filter(matches) : file.signals));
    const sum = found.reduce((total, signals) => total + signals.length, 0);
    count.textContent = words.length > 0 ? `${sum} of ${all} signals` : `${all} signals`;
    const isOpen = words.length > 0 && sum <= mostFound;
    place.replaceChildren(...files.map((file, index) => fileBranch(file, index, found[index], isOpen, choose)));
  };
  field.addEventListener("input", show);
  show();
  return element("section", { class: "signals", "aria-label": "Signals" }, field, count, place);
}

/** A part of the tree, of which the leaves are made when it is opened. */
function branch(title: string, isOpen: boolean, make: () => HTMLElement[]): HTMLElement {
  const details = element("details", {}, element("summary", {}, title));
  const fill = () => {
    if (details.childElementCount === 1) details.append(...make());
  };
  details.addEventListener("toggle", () => details.open && fill());
  if (isOpen) fill();
  details.open = isOpen;
  return details;
}

function groupedBy<T, K>(list: T[], keyed: (one: T) => K): Map<K, T[]> {
  const groups = new Map<K, T[]>();
  for (const one of list) {
    const group = groups.get(keyed(one));
    if (group) group.push(one);
    else groups.set(keyed(one), [one]);
  }
  return groups;
}

function fileBranch(
  { facts }: TreeFile,
  index: number,
  signals: SignalFacts[],
  isOpen: boolean,
  choose: (key: Key, further: boolean) => void,
): HTMLElement {
  const streams = groupedBy(signals, (signal) => signal.stream);
  const made = [...streams].map(([id, ofStream]) => {
    const stream = facts.streams.find((one) => one.id === id)!;
    const tables = groupedBy(ofStream, (signal) => signal.table);
    return branch(`${id}: ${stream.codec} ${stream.name} (${ofStream.length})`, isOpen, () =>
      [...tables].map(([table, ofTable]) =>
        branch(`${table || "other"} (${ofTable.length})`, isOpen || tables.size === 1, () =>
          ofTable.map((signal) => leaf(index, signal, choose)),
        ),
      ),
    );
  });
  return element("div", {}, element("h2", { title: facts.verdict }, facts.name), ...made);
}

function leaf(file: number, signal: SignalFacts, choose: (key: Key, further: boolean) => void): HTMLElement {
  if (signal.elements > 0) {
    return branch(`${signal.name} [${signal.elements}]`, false, () =>
      Array.from({ length: signal.elements }, (_, i) =>
        leaf(file, { ...signal, name: `${signal.name}[${i}]`, elements: 0 }, choose),
      ),
    );
  }
  const key = keyOf(file, signal.stream, signal.name);
  const unit = signal.unit && signal.unit !== "-" ? ` ${signal.unit}` : "";
  const button = element(
    "button",
    { type: "button", class: "signal", draggable: "true", title: `${signal.description}\nShift: into the newest plot` },
    element("span", {}, signal.name),
    element("small", {}, unit),
    element("small", { class: "description" }, signal.description),
  );
  button.addEventListener("click", (event) => choose(key, event.shiftKey));
  button.addEventListener("dragstart", (event) => event.dataTransfer?.setData("text/plain", key));
  return button;
}
