// The page of vrel view, served to a browser.

import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { createInterface } from "node:readline";
import { after, before, test } from "node:test";
import { bin, closeBrowser, folder, openTab, run } from "./browser.mjs";

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

/** The native samples of a signal as vrel exports them: seconds from the start, and values. */
function exported(signal, from, to) {
  const info = JSON.parse(run("vrel", "info", "demo.vrel", "--json"));
  const start = BigInt(info.start); // to 128 ns, since it is a double before
  const text = run("vrel", "export", "demo.vrel", "--native", "--signal", signal, "--start", `+${from}`, "--end", `+${to}`);
  const lines = text.trim().split("\n").slice(1).map((line) => line.split(","));
  return lines.filter(([, value]) => value !== "").map(([time, value]) => [Number(BigInt(time) - start) / 1e9, Number(value)]);
}

test("what is drawn of a short span is every sample, with its value, at its time", async () => {
  for (const signal of ["2:Speed2d", "0:ImuAx", "1:VehicleSpeed"]) {
    const samples = exported(signal, 5, 6);
    assert.ok(samples.length > 5, `${signal}: ${samples.length}`);
    const { tab } = await openViewer(`#plots=0/${signal}&span=5,6`);
    await settled(tab);
    const { from, width, decimals, a, b } = await tab.evaluate((key) => viewer.known.get(key), `0/${signal}`);
    const [low, high] = [new Map(), new Map()];
    let whole = 0;
    a.forEach((difference, i) => {
      if (difference === null) return;
      whole += difference;
      low.set(i, Math.min(whole, whole + b[i]) / 10 ** decimals);
      high.set(i, Math.max(whole, whole + b[i]) / 10 ** decimals);
    });
    const seen = new Set();
    for (const [time, value] of samples) {
      // A sample on the edge of two slices may be rounded into either.
      const near = [time - 1e-6, time + 1e-6].map((at) => Math.floor((at - from) / width));
      const place = near.find((i) => low.has(i) && value >= low.get(i) - 10 ** -decimals && value <= high.get(i) + 10 ** -decimals);
      assert.notEqual(place, undefined, `${signal}: ${value} at ${time}`);
      near.forEach((i) => seen.add(i));
    }
    const others = [...low.keys()].filter((i) => !seen.has(i) && from + i * width > 5 && from + (i + 1) * width < 6);
    assert.deepEqual(others, [], `${signal}: nothing is drawn where no sample is`);
  }
});

test("of many quick zooms the last one is shown", async () => {
  const { tab, troubles } = await openViewer("#plots=0/2:Speed2d,0/0:ImuAx;0/1:VehicleSpeed");
  await settled(tab);
  for (let i = 0; i < 12; ++i) {
    await tab.evaluate((at) => viewer.axis.show([at, at + 0.5 + at / 10]), i);
    await tab.waitForTimeout(i % 4 === 0 ? 130 : 10);
  }
  await settled(tab);
  const spans = await tab.evaluate(() => [...viewer.known.values()].map(({ from, width, a }) => [from, from + width * a.length]));
  assert.equal(spans.length, 3);
  for (const [from, to] of spans) assert.ok(from <= 11 && to >= 12.6 && to - from < 3, `${from} to ${to}`);
  assert.equal(await tab.locator("header [role=alert]").textContent(), "");
  assert.deepEqual(troubles.filter((text) => !text.includes("aborted")), []);
});

test("a signal is dragged onto a plot, and what is no signal is not taken", async () => {
  const { tab, troubles } = await openViewer("#plots=0/2:Speed2d");
  await settled(tab);
  await tab.getByLabel("Search signals").fill("speed3d");
  const leaf = tab.locator("button.signal", { has: tab.locator("span", { hasText: /^Speed3d$/ }) }).first();
  await leaf.dragTo(tab.locator("figure.plot").first());
  await settled(tab);
  assert.equal(await tab.locator("figure.plot .legend button").count(), 2);
  assert.match(tab.url(), /#plots=0\/2:Speed2d,0\/\d:Speed3d$/);
  await leaf.dragTo(tab.locator("p.drop"));
  await settled(tab);
  assert.equal(await tab.locator("figure.plot").count(), 2);
  const before = tab.url();
  for (const text of ["0/2:Nothing", "9/2:Lat", "https://example.com/", "<b>"]) {
    await tab.evaluate((given) => {
      const dataTransfer = new DataTransfer();
      dataTransfer.setData("text/plain", given);
      document.querySelector("p.drop").dispatchEvent(new DragEvent("drop", { dataTransfer, cancelable: true }));
    }, text);
  }
  assert.equal(tab.url(), before);
  assert.deepEqual(troubles, []);
});
