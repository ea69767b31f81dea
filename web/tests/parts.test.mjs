// The parts of pages that need no browser.

import assert from "node:assert/strict";
import { test } from "node:test";
import { importPart } from "./browser.mjs";

test("numbers and times read as a person reads them", async () => {
  const numbers = await importPart("parts/numbers");
  const cases = [
    ["clockText", [0], "0:00"],
    ["clockText", [59.96, 1], "1:00.0"],
    ["clockText", [3723.456, 2], "1:02:03.46"],
    ["clockText", [-0.1, 1], "−0:00.1"],
    ["clockText", [-0.01, 1], "0:00.0"],
    ["durationText", [0.0125], "0.013 s"],
    ["durationText", [59.9], "59.9 s"],
    ["durationText", [119.7], "2 min 0 s"],
    ["durationText", [7384], "2 h 3 min 4 s"],
    ["bytesText", [999], "999 bytes"],
    ["bytesText", [8450376], "8.45 MB"],
    ["distanceText", [12.34], "12.3 m"],
    ["distanceText", [9999], "9999 m"],
    ["distanceText", [12345], "12.3 km"],
    ["fixed", [null, 2], "–"],
    ["fixed", [NaN, 2], "–"],
    ["fixed", [1.005, -3], "1"],
    ["utcText", [1748854800090, 0.0005], "2025-06-02 09:00:00.091 UTC"],
    ["utcText", [NaN, 0], ""],
    ["stepBelow", [0.7], 0.5],
    ["stepBelow", [19], 10],
    ["stepBelow", [20], 20],
  ];
  for (const [name, given, expected] of cases) assert.equal(numbers[name](...given), expected, `${name}(${given})`);
});

test("marks of a time axis are round, within the span and not too many", async () => {
  const { timeMarks } = await importPart("parts/numbers");
  for (const [from, to] of [[0, 60], [-0.1, 59.9], [0, 3600], [12.3456, 12.3457], [0, 1e6], [5, 5.0000012], [100, 90], [0, 0]]) {
    const { times, decimals } = timeMarks(from, to, 8);
    assert.ok(times.length <= 9, `${from} to ${to}: ${times.length}`);
    if (to > from) assert.ok(times.length >= 2, `${from} to ${to}: ${times.length}`);
    for (const time of times) {
      assert.ok(time >= from && time <= to);
      assert.ok(Math.abs(time - Number(time.toFixed(decimals))) < 1e-9, `${time} needs more than ${decimals}`);
    }
  }
});

test("a time axis stays within the whole, and zooms around the cursor", async () => {
  const { TimeAxis } = await importPart("parts/timeAxis");
  const axis = new TimeAxis([10, 110]);
  const seen = [];
  axis.onSpan((span) => seen.push(span));
  axis.show([0, 30]);
  assert.deepEqual(axis.span, [10, 40]);
  axis.show([100, 130]);
  assert.deepEqual(axis.span, [80, 110]);
  axis.point(90);
  axis.zoom(0.5);
  assert.deepEqual(axis.span, [85, 100]);
  axis.pan(-1);
  assert.deepEqual(axis.span, [70, 85]);
  axis.show([75, 75]);
  assert.ok(axis.span[1] > axis.span[0]);
  axis.showAll();
  axis.showAll();
  assert.deepEqual(axis.span, [10, 110]);
  assert.equal(seen.length, 6, "the same span again is no change");
});

function line(a, b, breaks = []) {
  const times = a.map((_, i) => i * 10);
  return { name: "x", title: "", colour: "", decimals: 1, texts: new Map([[3, "three"]]), times, width: 10, a, b, broken: (i) => breaks.includes(i) };
}

test("a line becomes rows: both values of a slice in order, null without, not-a-number where it ends", async () => {
  const { rowsOf } = await importPart("parts/line");
  const rows = rowsOf([line([1, NaN, 5, 7], [2, NaN, 5, 6], [3]), line([NaN, 8, NaN, NaN], [NaN, 8, NaN, NaN])]);
  assert.deepEqual(rows, [
    [2.5, 1, null],
    [7.5, 2, null],
    [12.5, null, 8],
    [22.5, 5, null],
    [30, NaN, null],
    [32.5, 7, null],
    [37.5, 6, null],
  ]);
});

test("a line says what stands at a time, and nothing in a gap", async () => {
  const { entryAt, entryText, valueEntryAt } = await importPart("parts/line");
  const { fixed } = await importPart("parts/numbers");
  const sparse = line([1, NaN, 3, NaN, NaN, 9], [2, NaN, 3, NaN, NaN, 9], [5]);
  const cases = [
    [-1, "–"],
    [0, "1.0 … 2.0"],
    [15, "1.0 … 2.0"],
    [20, "three"],
    [35, "–"],
    [50, "9.0"],
    [1000, "9.0"],
  ];
  for (const [time, text] of cases) assert.equal(entryText(sparse, valueEntryAt(sparse, time), fixed), text, `at ${time}`);
  assert.equal(entryAt([], 5), -1);
});

test("places on the plane are metres, also at the poles and across the antimeridian", async () => {
  const { LocalPlane } = await importPart("parts/geo");
  const metre = 1 / 111319.49;
  const near = (found, east, north) => {
    assert.ok(Math.hypot(found[0] - east, found[1] - north) < 0.05, `${found} is not ${east}, ${north}`);
  };
  near(new LocalPlane(0, 0).place(0, 100 * metre), 100, 0);
  near(new LocalPlane(0, 179.9999).place(0, -179.9999), 0.0002 / metre, 0);
  near(new LocalPlane(90, 0).place(90 - 100 / 111694, 90), 100, 0);
  near(new LocalPlane(-90, 0).place(-90 + 100 / 111694, 0), 0, 100);
});

test("colours of a ramp stay within it", async () => {
  const { rampColour, lineColour, lineDash } = await importPart("parts/colours");
  assert.equal(rampColour(-1), rampColour(0));
  assert.equal(rampColour(2), rampColour(1));
  assert.notEqual(rampColour(0), rampColour(1));
  assert.equal(lineColour(0), lineColour(8));
  assert.equal(lineDash(0), undefined);
  assert.equal(new Set([0, 1, 2, 3, 4, 5, 6, 7].map(lineColour)).size, 8);
});
