// Tables of texts.

import { element } from "./dom.ts";

export interface Column {
  title: string;
  /** Numbers stand at the right. */
  isNumber?: boolean;
}

export function table(columns: Column[], rows: string[][]): HTMLElement {
  const cells = (tag: "th" | "td", texts: string[]) =>
    texts.map((text, i) => element(tag, columns[i].isNumber ? { class: "number" } : {}, text));
  const head = element("thead", {}, element("tr", {}, ...cells("th", columns.map((column) => column.title))));
  const body = element("tbody", {}, ...rows.map((row) => element("tr", {}, ...cells("td", row))));
  return element("div", { class: "table-box" }, element("table", {}, head, body));
}

/** A table of many rows with a field to search in them: a row is shown if each word occurs in it, in any case. */
export function searchableTable(columns: Column[], rows: string[][], label: string, most = 200): HTMLElement {
  const field = element("input", { type: "search", "aria-label": label, placeholder: label });
  const count = element("span", { class: "note", role: "status" });
  const more = element("button", { type: "button" }, "Show all");
  const place = element("div");
  const texts = rows.map((row) => row.join(" ").toLowerCase());
  const show = (limit: number) => {
    const words = field.value.toLowerCase().split(/\s+/).filter(Boolean);
    const found = rows.filter((_, i) => words.every((word) => texts[i].includes(word)));
    count.textContent =
      found.length > limit ? `${limit} of ${found.length} shown` : `${found.length} of ${rows.length}`;
    more.hidden = found.length <= limit;
    place.replaceChildren(table(columns, found.slice(0, limit)));
  };
  field.addEventListener("input", () => show(most));
  more.addEventListener("click", () => show(rows.length));
  show(most);
  return element("div", {}, element("div", { class: "buttons" }, field, count, more), place);
}
