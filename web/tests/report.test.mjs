// The page of vrel report, opened from a folder.

import assert from "node:assert/strict";
import { statSync } from "node:fs";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { closeBrowser, folder, openTab, run } from "./browser.mjs";

before(() => {
  run("write_runs", folder);
  run("vrel", "synth", "demo.vrel", "--seconds", "30");
});
after(closeBrowser);

/** A report of a file, opened with no network; "drawn" is what the page keeps of its drawing. */
async function openReport(file, words = [], options = {}) {
  const page = join(folder, `${file}.html`);
  run("vrel", "report", file, "-o", page, ...words);
  const { tab, context, troubles } = await openTab(options);
  const requests = [];
  await context.setOffline(true);
  tab.on("request", (request) => requests.push(request.url()));
  await tab.goto(`file://${page}`);
  await tab.waitForFunction(() => "drawn" in window);
  return { page, tab, troubles, requests };
}

/** Scrolls to a plot, so that it is drawn. */
async function plotTitled(tab, title) {
  const plot = tab.locator("figure.plot", { has: tab.locator("h3", { hasText: title }) }).first();
  await plot.scrollIntoViewIfNeeded();
  await plot.locator("canvas").first().waitFor();
  return plot;
}

test("the page of a whole drive needs nothing else, logs nothing and is small", async () => {
  const { page, tab, troubles, requests } = await openReport("demo.vrel");
  const headings = await tab.locator("h2").allTextContents();
  assert.deepEqual(headings, ["demo.vrel", "Track", "Position mode", "Plots", "Health", "Events", "States", "Devices and settings", "Signals"]);
  for (const title of ["Speed", "Height", "Heading", "Pitch", "Roll", "Position accuracy", "Satellites", "Range", "Bearing", "Steering", "Brake", "Engine"]) {
    await plotTitled(tab, title);
  }
  const paths = await tab.getByLabel("Show", { exact: true }).locator("option").allTextContents();
  for (const path of ["stream 2", "stream 4, Hunter", "stream 4, Target1"]) assert.ok(paths.includes(path), `${paths}`);
  assert.match(await tab.locator("dl.facts").first().textContent(), /Nothing was lost/);
  assert.deepEqual(troubles, []);
  assert.deepEqual(requests.filter((url) => !url.startsWith("file:")), []);
  assert.equal(requests.length, 1);
  assert.ok(statSync(page).size < 5e6);
  await tab.locator("summary", { hasText: "statistics" }).click();
  const search = tab.getByLabel("Search signals");
  await search.fill("speed2d 2");
  assert.match(await tab.locator("tbody tr", { hasText: "Speed2d" }).first().textContent(), /Speed in horizontal directions/);
});

test("a spike of one sample is seen, and a gap stays a gap", async () => {
  const { tab, troubles } = await openReport("spike.vrel");
  await plotTitled(tab, "Vehicle speed");
  const [low, high] = await tab.evaluate(() => drawn[0].plots[0].plot.drawn.range);
  assert.ok(low < 10 && high > 99, `${low} to ${high}`);
  // The columns of pixels of the gap, 900 s to 910 s of 1200, hold nothing of the line.
  await tab.evaluate(() => drawn[0].axis.show([880, 930]));
  await tab.waitForTimeout(200);
  const inked = await tab.evaluate(() => {
    const canvas = document.querySelector("figure.plot canvas");
    const { data, width, height } = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height);
    const columns = new Array(width).fill(false);
    for (let y = 0; y < height - 30; ++y) {
      for (let x = 0; x < width; ++x) if (data[(y * width + x) * 4 + 2] > 120 && data[(y * width + x) * 4] < 60 && data[(y * width + x) * 4 + 3] > 200) columns[x] = true;
    }
    return columns;
  });
  const first = inked.indexOf(true);
  const last = inked.lastIndexOf(true);
  const empty = inked.slice(first, last).filter((has) => !has).length / (last - first);
  assert.ok(empty > 0.15 && empty < 0.25, `${empty} of the line is a gap`);
  assert.deepEqual(troubles, []);
});

test("the cursor is at one time in all plots and on the track", async () => {
  const { tab } = await openReport("demo.vrel", ["--fast"]);
  const plot = await plotTitled(tab, "Speed");
  const box = await plot.locator(".chart").boundingBox();
  await tab.mouse.move(box.x + box.width / 2, box.y + box.height / 2);
  const time = await tab.evaluate(() => drawn[0].axis.cursor);
  assert.ok(time > 10 && time < 20, `${time}`);
  const shown = await tab.evaluate(() =>
    [...document.querySelectorAll("figure.plot")].map((one) => one.querySelector(".cursor")).filter((one) => !one.hidden && one.style.transform).map((one) => one.style.transform),
  );
  assert.ok(shown.length >= 2, "the plots that are seen show it");
  assert.notEqual(await plot.locator("output").first().textContent(), "");
  assert.match(await tab.locator("nav .time").textContent(), /UTC/);
});

test("zooming one plot zooms all, and the keyboard's buttons do too", async () => {
  const { tab } = await openReport("demo.vrel", ["--fast"]);
  const plot = await plotTitled(tab, "Speed");
  const box = await plot.locator(".chart").boundingBox();
  await tab.mouse.move(box.x + box.width * 0.4, box.y + 50);
  await tab.mouse.down();
  await tab.mouse.move(box.x + box.width * 0.6, box.y + 52, { steps: 5 });
  await tab.mouse.up();
  const [from, to] = await tab.evaluate(() => drawn[0].axis.span);
  assert.ok(from > 5 && to < 25 && to - from < 10, `${from} to ${to}`);
  await tab.getByLabel("Whole time").press("Enter");
  const [first, last] = await tab.evaluate(() => drawn[0].axis.span);
  assert.ok(last - first > 29);
  await tab.getByLabel("Shorter time").press("Space");
  assert.ok((await tab.evaluate(() => drawn[0].axis.span[1] - drawn[0].axis.span[0])) < 16);
});

test("tracks are true to scale across the antimeridian and round a pole", async () => {
  for (const [file, east, north] of [["antimeridian.vrel", 222.4, 0], ["pole.vrel", 200.7, 200.7]]) {
    const { tab } = await openReport(file);
    const [width, height] = await tab.evaluate(() => {
      const path = drawn[0].track.paths[0];
      const length = (list) => Math.max(...list) - Math.min(...list);
      return [length(path.east), length(path.north)];
    });
    assert.ok(Math.abs(width - east) < 1 && Math.abs(height - north) < 1, `${file}: ${width} by ${height}`);
    const pixels = await tab.evaluate(() => {
      const track = drawn[0].track;
      const places = track.paths[0].times.map((time) => track.placeAt(0, time));
      const xs = places.map(([x]) => x);
      return { length: (Math.max(...xs) - Math.min(...xs)) / track.scale, inside: xs.every((x) => x > 0 && x < 1200) };
    });
    assert.ok(Math.abs(pixels.length - east) < 1 && pixels.inside, `${file}: ${pixels.length}`);
  }
});

test("a run without a fix has no track and says so", async () => {
  const { tab, troubles } = await openReport("nofix.quon");
  assert.equal(await tab.getByText("No stream has a usable position.").count(), 1);
  assert.equal(await tab.locator("figure.track").count(), 0);
  assert.deepEqual(troubles, []);
});

test("markup in a recording stays text", async () => {
  const { tab, troubles } = await openReport("hostile.vrel", ["--title", "<b>safe</b>"]);
  await tab.locator("details summary").first().click();
  await tab.locator("summary", { hasText: "statistics" }).click();
  await plotTitled(tab, "Vehicle speed");
  assert.equal(await tab.title(), "<b>safe</b>");
  assert.equal(await tab.locator("img, b, i, h1 b").count(), 0);
  assert.equal(await tab.locator("script").count(), 2);
  assert.match(await tab.locator("main").textContent(), /<img src=x onerror=/);
  assert.deepEqual(troubles, []);
});

test("the page's policy keeps a script that gets in from running", async () => {
  const { tab, troubles } = await openReport("pole.vrel");
  await tab.evaluate(() => {
    const script = document.createElement("script");
    script.textContent = "document.title = 'owned'";
    document.body.append(script);
    const image = new Image();
    image.src = "https://example.com/x.png";
    document.body.append(image);
  });
  await tab.waitForTimeout(100);
  assert.notEqual(await tab.title(), "owned");
  assert.ok(troubles.some((text) => text.includes("Content Security Policy")));
});

test("it is readable narrow, in the dark and in print", async () => {
  for (const [width, colorScheme] of [[400, "dark"], [2000, "light"]]) {
    const { tab, troubles } = await openReport("demo.vrel", ["--fast"], { viewport: { width, height: 900 }, colorScheme });
    assert.ok((await tab.evaluate(() => document.documentElement.scrollWidth)) <= width, `it is wider than ${width}`);
    await plotTitled(tab, "Speed");
    assert.deepEqual(troubles, []);
  }
  const { tab } = await openReport("spike.vrel", [], { colorScheme: "dark" });
  await tab.emulateMedia({ media: "print" });
  assert.equal(await tab.evaluate(() => getComputedStyle(document.body).backgroundColor), "rgb(255, 255, 255)");
  assert.equal(await tab.locator("nav").isVisible(), false);
});

test("several files have a table of all and a part each", async () => {
  const page = join(folder, "several.html");
  run("vrel", "report", "pole.vrel", "antimeridian.vrel", "-o", page, "--title", "Two runs");
  const { tab, troubles } = await openTab();
  await tab.goto(`file://${page}`);
  assert.equal(await tab.locator("h1").textContent(), "Two runs");
  assert.equal(await tab.locator("section.part").count(), 2);
  assert.equal(await tab.locator(".table-box").first().locator("tbody tr").count(), 2);
  assert.deepEqual(troubles, []);
});

test("all text stands out from what is behind it, in the light and in the dark", async () => {
  for (const colorScheme of ["light", "dark"]) {
    const { tab } = await openReport("demo.vrel", ["--fast"], { colorScheme });
    const faint = await tab.evaluate(() => {
      const channels = (colour) => (colour.match(/[\d.]+/g) ?? []).map(Number);
      const luminance = (rgb) => {
        const [r, g, b] = rgb.slice(0, 3).map((one) => (one <= 10.31 ? one / 255 / 12.92 : ((one / 255 + 0.055) / 1.055) ** 2.4));
        return 0.2126 * r + 0.7152 * g + 0.0722 * b;
      };
      const behind = (node) => {
        for (let at = node; at; at = at.parentElement) {
          const colour = channels(getComputedStyle(at).backgroundColor);
          if (colour.length === 3 || colour[3] > 0.99) return colour;
        }
        return [255, 255, 255];
      };
      const found = new Set();
      const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
      for (let text = walker.nextNode(); text; text = walker.nextNode()) {
        const node = text.parentElement;
        if (!text.data.trim() || !node.checkVisibility() || node.closest("script, style")) continue;
        const [one, other] = [luminance(channels(getComputedStyle(node).color)), luminance(behind(node))];
        const contrast = (Math.max(one, other) + 0.05) / (Math.min(one, other) + 0.05);
        if (contrast < 4.5) found.add(`${node.tagName}.${node.className} "${text.data.trim().slice(0, 20)}" ${contrast.toFixed(2)}`);
      }
      return [...found];
    });
    assert.deepEqual(faint, [], colorScheme);
  }
});

test("the track is moved and zoomed by keyboard", async () => {
  const { tab, troubles } = await openReport("antimeridian.vrel", ["--fast"]);
  const canvas = tab.locator("figure.track canvas");
  const place = () => tab.evaluate(() => drawn[0].track.placeAt(0, drawn[0].track.paths[0].times[0]));
  const scale = () => tab.evaluate(() => drawn[0].track.scale);
  await canvas.focus();
  const [wide, [x, y]] = [await scale(), await place()];
  for (const [key, grows] of [["+", true], ["-", false]]) {
    const before = await scale();
    await canvas.press(key);
    assert.equal((await scale()) > before, grows, key);
  }
  assert.ok(Math.abs((await scale()) / wide - 1) < 1e-9, "back again");
  for (const [key, right, down] of [["ArrowLeft", 1, 0], ["ArrowRight", 0, 0], ["ArrowUp", 0, 1], ["ArrowDown", 0, 0]]) {
    await canvas.press(key);
    const [nowX, nowY] = await place();
    assert.deepEqual([Math.sign(Math.round(nowX - x)), Math.sign(Math.round(nowY - y))], [right, down], key);
  }
  await canvas.press("+");
  await canvas.press("ArrowLeft");
  await canvas.press("0");
  assert.ok(Math.abs((await scale()) / wide - 1) < 1e-9 && Math.hypot((await place())[0] - x, (await place())[1] - y) < 1);
  assert.deepEqual(troubles, []);
});

test("in print each plot is drawn, and nothing is wider than the paper", async () => {
  const { tab } = await openReport("spike.vrel", [], { viewport: { width: 794, height: 1123 } });
  const titles = await tab.locator("figure.plot h3").allTextContents();
  assert.ok(titles.length > 0);
  await tab.emulateMedia({ media: "print" });
  await tab.evaluate(() => dispatchEvent(new Event("beforeprint")));
  const drawnPlots = await tab.evaluate(() =>
    [...document.querySelectorAll("figure.plot")].filter((plot) => {
      const canvas = plot.querySelector("canvas");
      if (!canvas || canvas.width === 0) return false;
      return canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height).data.some((byte) => byte !== 0);
    }).length,
  );
  assert.equal(drawnPlots, titles.length, "each plot is drawn, also those that were never scrolled to");
  assert.ok((await tab.evaluate(() => document.documentElement.scrollWidth)) <= 794);
  const pdf = await tab.pdf({ format: "A4" });
  assert.equal(pdf.subarray(0, 5).toString(), "%PDF-");
});
