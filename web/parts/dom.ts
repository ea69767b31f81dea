// Elements of a page. Text of recordings comes in as text nodes only.

type Attributes = Record<string, string | ((event: Event) => void)>;

/** An element with attributes, listeners ("onclick": …) and children, of which texts become text nodes. */
export function element<K extends keyof HTMLElementTagNameMap>(
  tag: K,
  attributes: Attributes = {},
  ...children: (Node | string)[]
): HTMLElementTagNameMap[K] {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (typeof value === "string") made.setAttribute(name, value);
    else made.addEventListener(name.slice(2), value);
  }
  made.append(...children);
  return made;
}

/** What a colour of the style is now, in light or dark. */
export function styleColour(name: string): string {
  return getComputedStyle(document.documentElement).getPropertyValue(`--${name}`).trim();
}

/** Calls when the page changes between light and dark, and around printing, which is always light. */
export function onColoursChanged(listener: () => void): void {
  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", listener);
  matchMedia("print").addEventListener("change", listener);
}
