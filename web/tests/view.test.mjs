// The page of vrel view, served to a browser.

import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { createInterface } from "node:readline";
import { after, before, test } from "node:test";
import { bin, closeBrowser, folder, importPart, openTab, run } from "./browser.mjs";

let server;
let address;

/** Starts vrel view; the address that it prints. */
async function serve(...words) {
  const started = spawn(join(bin, "vrel"), ["view", "--no-browser", ...words], { cwd: folder });
  const [line] = await Promise.race([
    once(createInterface(started.stdout), "line"),
    once(started, "exit").then(() => Promise.reject(new Error("vrel view ended"))),
  ]);
  return { started, address: line };
}

function once(emitter, name) {
  return new Promise((resolve) => emitter.once(name, (...given) => resolve(given)));
}

before(async () => {
  run("write_runs", folder);
  run("vrel", "synth", "demo.vrel", "--seconds", "20");
  ({ started: server, address } = await serve("demo.vrel", "spike.vrel", "hostile.vrel"));
});
after(async () => {
  server.kill("SIGINT");
  const patience = new Promise((resolve) => setTimeout(() => resolve(["it goes on"]), 15_000).unref());
  const [code] = await Promise.race([once(server, "exit"), patience]);
  server.kill("SIGKILL");
  await closeBrowser();
  assert.equal(code, 0, "Ctrl-C ends it");
});

/** The viewer, ready to be used. */
async function openViewer(fragment = "", options = {}) {
  const { tab, context, troubles } = await openTab(options);
  await tab.goto(address + fragment);
  await tab.waitForFunction(() => "viewer" in window);
  return { tab, context, troubles };
}

async function choose(tab, words, name, options = {}) {
  await tab.getByLabel("Search signals").fill(words);
  await tab.locator("button.signal", { has: tab.locator("span", { hasText: new RegExp(`^${name}$`) }) }).first().click(options);
}

/** Waits until all that was asked for has come. */
async function settled(tab) {
  await tab.waitForFunction(() => document.querySelector("header [role=status]").textContent === "" && viewer.known.size > 0);
  await tab.waitForTimeout(150);
  await tab.waitForFunction(() => document.querySelector("header [role=status]").textContent === "");
}

test("signals are searched, laid into plots, and their values stand in a table", async () => {
  const { tab, troubles } = await openViewer();
  assert.ok(!tab.url().includes("token"), "the token is out of the address line");
  await choose(tab, "horizontal speed", "Speed2d");
  await choose(tab, "degrees heading quon", "Heading").catch(() => choose(tab, "heading", "Heading"));
  await choose(tab, "speed2d", "Speed3d", { modifiers: ["Shift"] }).catch(() => choose(tab, "speed", "Speed3d", { modifiers: ["Shift"] }));
  await settled(tab);
  assert.equal(await tab.locator("figure.plot").count(), 2);
  assert.equal(await tab.locator("figure.plot").nth(1).locator(".legend button").count(), 2);
  const box = await tab.locator("figure.plot .chart").first().boundingBox();
  await tab.evaluate(() => viewer.axis.show([0, 20]));
  await settled(tab);
  await tab.mouse.move(box.x + box.width / 2, box.y + 60);
  assert.match(await tab.locator(".values h3").textContent(), /Values at 0:/);
  const values = await tab.locator(".values td.number").allTextContents();
  assert.equal(values.length, 3);
  assert.match(values[0], /^\d+\.\d+/);
  await tab.getByLabel("Remove this plot").first().click();
  assert.equal(await tab.locator("figure.plot").count(), 1);
  assert.deepEqual(troubles, []);
});

test("zooming asks for what is seen, finer and finer", async () => {
  const { tab } = await openViewer("#plots=1/0:VehicleSpeed");
  await settled(tab);
  const width = () => tab.evaluate(() => viewer.known.get("1/0:VehicleSpeed").width);
  const whole = await width();
  const range = await tab.evaluate(() => viewer.plots[0].plot.drawn.range);
  assert.ok(range[1] > 99, "the spike of one sample is seen");
  await tab.evaluate(() => viewer.axis.show([599.99, 600.01]));
  await settled(tab);
  assert.ok((await width()) < whole / 1000);
  const seen = await tab.evaluate(() => viewer.plots[0].plot.drawn.rows);
  assert.ok(seen >= 2 && seen <= 4, `${seen} samples in 20 ms`);
  await tab.keyboard.press("Alt+0");
  await settled(tab);
  assert.equal(await width(), whole);
});

test("a bookmark shows the same again, also through the page that asks for the token", async () => {
  const { tab, context } = await openViewer("#plots=0/2:Speed2d,0/2:Speed3d;1/0:VehicleSpeed&span=5,12.5");
  await settled(tab);
  const url = tab.url();
  assert.match(url, /#plots=0\/2:Speed2d,0\/2:Speed3d;1\/0:VehicleSpeed&span=5,12.5$/);
  await context.clearCookies();
  const response = await tab.goto(url.replace("#", "?again#"));
  assert.equal(response.status(), 403);
  await tab.getByLabel("Token").fill(address);
  await tab.getByLabel("Token").press("Enter");
  await tab.waitForFunction(() => "viewer" in window);
  await settled(tab);
  assert.deepEqual(await tab.evaluate(() => viewer.axis.span), [5, 12.5]);
  assert.equal(await tab.locator("figure.plot").count(), 2);
  await tab.goto(address + "#plots=7/0:x,0/2:Nothing;garbage,%ff&span=9,1");
  await tab.waitForFunction(() => "viewer" in window);
  assert.equal(await tab.locator("figure.plot").count(), 0);
});

test("what is seen is exported", async () => {
  const { tab } = await openViewer("#plots=1/0:VehicleSpeed,1/0:Latitude&span=899.95,910.05");
  await settled(tab);
  await tab.locator("header summary").click();
  const download = tab.waitForEvent("download");
  await tab.locator("header a").click();
  const text = readFileSync(await (await download).path(), "utf8");
  const lines = text.trim().split("\n");
  assert.match(lines[0], /^time,0:VehicleSpeed \[m\/s\],0:Latitude/);
  assert.equal(lines.length, 11, "5 samples before the gap and 5 behind it");
});

test("files stand side by side on elapsed time, and markup in them stays text", async () => {
  const { tab, troubles } = await openViewer();
  await choose(tab, "vehiclespeed onerror", ".*").catch(() => undefined);
  await tab.getByLabel("Search signals").fill("onerror");
  await tab.locator("button.signal").first().click();
  await settled(tab);
  assert.match(await tab.locator("figure.plot .legend").first().textContent(), /<img src=x onerror=/);
  assert.equal(await tab.locator("img, b, i").count(), 0);
  assert.equal(await tab.locator(".tree h2").count(), 3);
  await tab.locator(".track canvas").waitFor();
  assert.deepEqual(troubles, []);
});

test("it can be used narrow and in the dark, by keyboard alone", async () => {
  const { tab, troubles } = await openViewer("", { viewport: { width: 400, height: 800 }, colorScheme: "dark" });
  await tab.getByLabel("Search signals").focus();
  await tab.keyboard.type("vehiclespeed");
  await tab.locator("button.signal").first().focus();
  await tab.keyboard.press("Enter");
  await settled(tab);
  assert.equal(await tab.locator("figure.plot").count(), 1);
  assert.ok((await tab.evaluate(() => document.documentElement.scrollWidth)) <= 400);
  assert.deepEqual(troubles, []);
});

test("a port that is taken is an error that says so", async () => {
  const port = new URL(address).port;
  const second = spawn(join(bin, "vrel"), ["view", "--no-browser", "--port", port, "spike.vrel"], { cwd: folder });
  let said = "";
  second.stderr.on("data", (text) => (said += text));
  const [code] = await once(second, "close");
  assert.equal(code, 1);
  assert.match(said, /port .* in use/);
});

test("fragments say what is shown, and survive any name", async () => {
  const { fromFragment, keyOf, partsOf, toFragment } = await importPart("view/state");
  const state = { plots: [[keyOf(0, 2, "A,b;c&d=#%/é[3]"), "1/3:x"], ["0/0:y"]], span: [-0.5, 1e-3] };
  assert.deepEqual(fromFragment(toFragment(state)), state);
  assert.equal(toFragment({ plots: [], span: null }), "");
  assert.deepEqual(partsOf("12/3:a:b/c"), { file: 12, stream: 3, signal: "3:a:b/c" });
  for (const nonsense of ["", "#", "#plots=", "#plots=%E0%A4%A", "#span=a,b", "#span=1", "#span=2,1", "#x=y&plots=;;,"]) {
    assert.deepEqual(fromFragment(nonsense), { plots: [], span: null }, nonsense);
  }
});
