// From what the pages get to what they draw, and the state in the address: no browser is needed.

import assert from "node:assert/strict";
import { test } from "node:test";
import { importPart } from "./browser.mjs";

/** A signal as vrel sends it, of plain values: null for none, a pair for the two values of a slice. */
function sent(values, more = {}) {
  let before = 0;
  const scale = 10 ** (more.decimals ?? 0);
  const [a, b] = [[], []];
  for (const value of values) {
    const pair = value === null ? null : [value].flat();
    const first = pair && Math.round(pair[0] * scale);
    a.push(pair && first - before);
    b.push(pair && Math.round(pair.at(-1) * scale) - first);
    if (pair) before = first;
  }
  return { stream: 2, name: "x", unit: "", description: "", decimals: 0, texts: [], breaks: [], a, b, ...more };
}

/** A part of a report with slices of one second. */
function partOf(signals, more = {}) {
  return { slices: { from: 0, width: 1, count: 100 }, streams: [{ id: 2 }, { id: 5 }], signals, events: [], ...more };
}

test("values come back from their differences, whatever their decimal places", async () => {
  const { valuesOf, hasValues, lineOf } = await importPart("parts/drawn");
  const cases = [
    [[1, 2, 3], 0],
    [[0.1, [0.3, -0.7], null, 1e6], 1],
    [[null, null, 51.12345678], 8],
    [[[-5000, 3000], null, 12000], -3],
    [[0, -0.05, [0.05, 0.05]], 2],
  ];
  for (const [values, decimals] of cases) {
    const { a, b } = valuesOf(sent(values, { decimals }));
    values.forEach((value, i) => {
      const pair = value === null ? [NaN, NaN] : [[value].flat()[0], [value].flat().at(-1)];
      assert.deepEqual([a[i], b[i]].map((one) => one + 0), pair.map((one) => one + 0), `${values} at ${i}`);
    });
  }
  assert.equal(hasValues(sent([null, null])), false);
  assert.equal(hasValues(sent([null, 0])), true);
  const line = lineOf(sent([1, null, 2], { breaks: [2] }), { from: 10, width: 0.5 }, { name: "n", colour: "c" });
  assert.deepEqual([...line.times], [10, 10.5, 11]);
  assert.deepEqual([0, 1, 2].map(line.broken), [false, false, true]);
});

test("a path has its places at their times, and its length leaves gaps out", async () => {
  const { planeOf, pathOf, pathName, lengthOf } = await importPart("parts/drawn");
  const drawn = {
    stream: 4,
    object: "Target1",
    latitude: [5_000_000_000, 1000, 0, 1000],
    longitude: [17_999_999_000, 0, 1000, -36_000_000_000 + 1000],
    slice: [3, 3, 5, 9],
    breaks: [9],
  };
  const plane = planeOf([{ ...drawn, slice: [] }, drawn]);
  const path = pathOf(drawn, { from: 100, width: 2 }, plane, { name: pathName(drawn), colour: "" });
  assert.equal(path.name, "4, Target1");
  // Two points of a slice stand at its ends, single ones in its middle.
  assert.deepEqual(path.times, [106, 108, 111, 119]);
  assert.deepEqual([1, 2, 3].map(path.broken), [false, false, true]);
  const metres = 1e-5 * 111_229;
  assert.ok(Math.abs(path.north[1] - path.north[0] - metres) < 0.01);
  assert.ok(Math.abs(path.east[3] - path.east[2]) < 1, "no jump at the antimeridian");
  const upTo = Math.hypot(path.east[2] - path.east[1], path.north[2] - path.north[1]);
  assert.ok(Math.abs(lengthOf(path) - metres - upTo) < 0.01, "the gap counts nothing");
  assert.equal(planeOf([{ ...drawn, slice: [] }]), null);
  assert.equal(pathName({ ...drawn, object: "" }), "4");
});

test("modes stand between their changes, to the time of the event and not of the slice", async () => {
  const { Modes } = await importPart("report/series");
  const change = (time, before, after, more = {}) => ({ stream: 2, signal: "Mode", time, before, after, kind: "mode", ...more });
  const signal = sent([1, 1, 1, [1, 4], 4, null, null, 4, 1, 1], {
    name: "Mode",
    texts: [
      [1, "none"],
      [4, "fixed"],
    ],
    breaks: [7],
  });
  const events = [change(3.25, 1, 4), change(8.5, 4, 1), change(2, 1, 9, { stream: 5 }), change(null, 1, 9), change(2, 1, 9, { signal: "Other" })];
  const modes = new Modes(partOf([signal], { events }), signal);
  assert.deepEqual(
    modes.bands.map(({ from, to, value, text }) => [from, to, value, text]),
    [
      [0, 3.25, 1, "none"],
      [3.25, 5, 4, "fixed"],
      [7, 8.5, 4, "fixed"],
      [8.5, 10, 1, "none"],
    ],
  );
  // What stood longest has the first colour, and others count as losses of it.
  assert.deepEqual(modes.losses, { usual: "none", times: 1, seconds: 3.25 });
  assert.deepEqual(modes.legend.map(({ text }) => text), ["none", "fixed"]);
  assert.equal(new Set(modes.bands.map(({ colour }) => colour)).size, 2);
  assert.equal(modes.colourAt(6), null, "nothing in the gap");
  assert.equal(modes.colourAt(4), modes.bands[1].colour);
  const none = sent([null, null], { name: "Mode" });
  assert.deepEqual(new Modes(partOf([none]), none).bands, []);
  assert.equal(new Modes(partOf([none]), none).losses, null);
});

test("lines of a plot are told apart by colour and dashes", async () => {
  const { linesOf, streamColour } = await importPart("report/series");
  const signals = [2, 2, 5, 5].map((stream, i) => sent([i], { stream, name: `s${i}` }));
  const part = partOf(signals);
  const looks = (indices) => linesOf(part, indices).map(({ colour, dash }) => `${colour} ${dash}`);
  for (const indices of [[0, 1], [0, 2], [0, 1, 2, 3], [1, 0, 3]]) {
    assert.equal(new Set(looks(indices)).size, indices.length, `${indices}`);
  }
  const many = Array.from({ length: 20 }, (_, i) => sent([i], { name: `m${i}` }));
  const lines = linesOf(partOf(many), [...many.keys()]);
  assert.equal(new Set(lines.map(({ colour, dash }) => `${colour} ${dash}`)).size, 20);
  assert.deepEqual(linesOf(part, [0, 2]).map(({ colour }) => colour), [streamColour(part, 2), streamColour(part, 5)]);
  assert.deepEqual(linesOf(part, [3]).map(({ name }) => name), ["5:s3"]);
});

test("falls, rises and the largest value of what comes and goes", async () => {
  const { fallsOf, riseOf, largestOf } = await importPart("report/series");
  const cases = [
    // values, times of falls, rise, largest
    [[0, 1, 2, 3], [], 3, 3],
    [[5, null, 4, 6], [2], 1, 6],
    [[null, [9, 2], 3], [1], -6, 9],
    [[[1, 8], 8, [0, 1]], [2], 0, 8],
    [[null, null], [], null, null],
  ];
  for (const [values, falls, rise, largest] of cases) {
    const signal = sent(values);
    const part = partOf([signal, sent([null])]);
    assert.deepEqual(fallsOf(part, signal), falls, `${values}`);
    assert.equal(riseOf(part, [0, 1]), rise, `${values}`);
    assert.equal(largestOf(part, [1, 0]), largest, `${values}`);
  }
});

test("a path is coloured by what was known at each of its points", async () => {
  const { Modes, colouringsOf } = await importPart("report/series");
  const mode = sent([1, 1, 1, 1, 1, 1], { name: "Mode", texts: [[1, "fixed"]] });
  const part = partOf([sent([0, 10, 20, null, 20, 5]), sent([3, null, null, null, 0, null]), sent([4, null, null, null, 0, null]), mode]);
  const track = { stream: 2, object: "", speed: 0, northAccuracy: 1, eastAccuracy: 2, mode: 3, slice: [0, 1, 3, 5] };
  const bare = { stream: 5, object: "", speed: null, northAccuracy: null, eastAccuracy: null, mode: null, slice: [0] };
  const paths = [
    { name: "2", colour: "red", times: [0.5, 1.5, 3.5, 5.5] },
    { name: "5", colour: "blue", times: [0.5] },
  ];
  const colourings = colouringsOf(part, [track, bare], paths, [new Modes(part, mode)]);
  assert.deepEqual(colourings.map(({ name }) => name), ["position mode", "stream", "speed", "accuracy"]);
  const [byMode, , bySpeed, byAccuracy] = colourings;
  assert.ok(byMode.colour(0, 1) && byMode.colour(1, 0) === null);
  assert.deepEqual(bySpeed.legend.map(({ text }) => text), ["0.0 m/s", "2.5 m/s", "5.0 m/s", "7.5 m/s", "10.0 m/s"]);
  assert.equal(bySpeed.colour(0, 2), null, "no speed there");
  assert.equal(bySpeed.colour(0, 1), bySpeed.legend[4].colour);
  assert.equal(bySpeed.colour(1, 0), null);
  // An accuracy comes seldom and stands until the next one.
  assert.equal(byAccuracy.colour(0, 2), byAccuracy.legend[4].colour);
  assert.equal(byAccuracy.colour(0, 3), byAccuracy.legend[0].colour);
  const without = colouringsOf(part, [bare], [paths[1]], []);
  assert.deepEqual(without.map(({ name }) => name), ["stream"]);
});

test("the state of the viewer comes back from the address, whatever names signals have", async () => {
  const { toFragment, fromFragment, keyOf, partsOf } = await importPart("view/state");
  const names = ["Lat", "A,b;c&d=#%/é[3]", "50% [km/h]", "Größe/:x", "<img>", "🚗\n"];
  const keys = names.map((name, i) => keyOf(i, 10 + i, name));
  keys.forEach((key, i) => assert.deepEqual(partsOf(key), { file: i, stream: 10 + i, signal: `${10 + i}:${names[i]}` }));
  const states = [
    { plots: [], span: null },
    { plots: [keys], span: [-0.5, 1e-6] },
    { plots: keys.map((key) => [key]), span: [12.5, 7199.909] },
    { plots: [[keys[1]], [keys[2], keys[3]]], span: null },
  ];
  for (const state of states) {
    const fragment = toFragment(state);
    assert.deepEqual(fromFragment(fragment), state, fragment);
    // As a browser gives it back.
    assert.deepEqual(fromFragment(new URL(`http://x/${fragment}`).hash), state, fragment);
  }
});

test("a fragment that somebody else has written is taken as far as it can be understood", async () => {
  const { fromFragment } = await importPart("view/state");
  const nothing = { plots: [], span: null };
  for (const text of ["", "#", "#plots=", "#plots=;;,", "#span=", "#span=5", "#span=2,1", "#span=a,b", "#span=1,1", "#__proto__=1", "#plots=%E0%A4%A", "#x=y&plots=;;,", "#plots=%", "#plots=x", "#plots=0/x:y,-1/2:z"]) {
    assert.deepEqual(fromFragment(text), nothing, text);
  }
  assert.deepEqual(fromFragment("#plots=0/1:a,%E0%A4%A,0/1:b;junk;1/2:c&span=1,2,3&other=4"), { plots: [["0/1:a", "0/1:b"], ["1/2:c"]], span: null });
  assert.deepEqual(fromFragment("span=1,2&plots=0/1:a=b"), { plots: [["0/1:a=b"]], span: [1, 2] });
});
