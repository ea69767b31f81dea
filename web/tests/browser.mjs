// What the tests of pages share: the built commands, the recordings, and a browser.

import { execFileSync } from "node:child_process";
import { mkdtempSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { fileURLToPath } from "node:url";
import { chromium } from "playwright-core";

const root = fileURLToPath(new URL("../..", import.meta.url));
export const bin = join(root, "build/dev/bin");
export const folder = mkdtempSync(join(tmpdir(), "kvex-pages-"));

/** Runs a built command; what it writes to standard output. */
export function run(program, ...words) {
  return execFileSync(join(bin, program), words, { encoding: "utf8", cwd: folder });
}

let browser = null;

/** A tab in which every message of an error and every request beyond files is noted. */
export async function openTab(options = {}) {
  browser ??= await chromium.launch({ executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium", args: ["--no-sandbox"] });
  const context = await browser.newContext({ viewport: { width: 1200, height: 1000 }, ...options });
  const tab = await context.newPage();
  const troubles = [];
  tab.on("console", (message) => ["error", "warning"].includes(message.type()) && troubles.push(message.text()));
  tab.on("pageerror", (error) => troubles.push(error.message));
  tab.on("dialog", (dialog) => troubles.push(dialog.message()));
  return { tab, context, troubles };
}

export async function closeBrowser() {
  await browser?.close();
}

/** A module of the pages, to be tried without a browser. */
export async function importPart(name) {
  const out = join(folder, `${name.replaceAll("/", "-")}.mjs`);
  execFileSync("esbuild", [join(root, "web", `${name}.ts`), "--bundle", "--format=esm", "--log-level=warning", `--outfile=${out}`]);
  return import(out);
}
