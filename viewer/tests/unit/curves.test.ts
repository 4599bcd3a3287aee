import assert from "node:assert/strict";
import { test } from "node:test";
import type { GroupData } from "../../src/data/contract";
import { addValues, makeGroups, select, selectMostMoving, statistics } from "../../src/curves/curves";
import { decimate } from "../../src/curves/decimate";
import { spansOfLane, withParts } from "../../src/curves/span_shades";
import { ticks } from "../../src/curves/ticks";
import { TimeWindow } from "../../src/curves/time_window";
import { randomNumbers } from "../support/random";

const place = (rows: number, columns: number) => ({ offset: 0, length: 0, rows, columns, step: 1, bytes: 1 });

test("no peak is lost when columns stand for many frames", () => {
  const random = randomNumbers(3);
  const values = Float32Array.from({ length: 1000 }, () => (random() < 0.1 ? NaN : random()));
  const starts = Int32Array.from({ length: 38 }, (_, i) => Math.min(1000, i * 27 + (i % 3)));
  const { low, high, lowFirst } = decimate(values, starts);
  for (let column = 0; column < 37; ++column) {
    const present = [...values.subarray(starts[column], starts[column + 1])].filter((v) => !Number.isNaN(v));
    assert.equal(low[column], Math.min(...present));
    assert.equal(high[column], Math.max(...present));
    assert.equal(lowFirst[column] === 1, present.indexOf(low[column]) <= present.indexOf(high[column]));
  }
});

test("columns without frames or values are empty", () => {
  const { low, high } = decimate(Float32Array.of(NaN, NaN, 4), Int32Array.of(0, 2, 2, 3));
  assert.deepEqual([...low], [NaN, NaN, 4]);
  assert.deepEqual([...high], [NaN, NaN, 4]);
});

test("statistics pass over missing values", () => {
  assert.deepEqual(statistics(Float32Array.of(NaN, 1, 3, NaN)), { low: 1, high: 3, deviation: 1 });
  assert.deepEqual(statistics(Float32Array.of(NaN)), { low: NaN, high: NaN, deviation: 0 });
});

test("two sides share the curves of equal names", () => {
  const group = (curves: string[]): GroupData => ({ name: "Shapes", unit: "", curves, values: place(2, curves.length) });
  const [a, b] = [group(["x", "y"]), group(["y", "z", "y"])];
  const groups = makeGroups([{ groups: [a] }, { groups: [b] }]);
  assert.deepEqual(groups.map((g) => g.curves.map((c) => c.name)), [["x", "y", "z"]]);
  addValues(groups, 0, a, Float32Array.of(1, 2, 0, -5));
  addValues(groups, 1, b, Float32Array.of(8, 9, 0, 0, 8, 9));
  const [x, y, z] = groups[0].curves;
  assert.deepEqual([x.values[1], z.values[0]], [undefined, undefined]);
  assert.deepEqual([y.low, y.high], [-5, 9]);
  assert.deepEqual([x.low, x.high, z.low, z.high], [1, 2, 0, 0]);
});

test("the curves that move most are selected, each in its own hue; still ones are not", () => {
  const names = ["still", "a", "b", "c", "d", "e", "missing"];
  const data: GroupData = { name: "G", unit: "", curves: names, values: place(2, names.length) };
  const [group] = makeGroups([{ groups: [data] }]);
  addValues([group], 0, data, Float32Array.of(3, 3, 0, 1, 0, 5, 0, 4, 0, 3, 0, 2, NaN, NaN));
  selectMostMoving(group);
  const selected = group.curves.filter((curve) => curve.selected);
  assert.deepEqual(selected.map((curve) => curve.name), ["b", "c", "d", "e"]);
  assert.equal(new Set(selected.map((curve) => curve.hue)).size, 4);
  select(group, group.curves[0], true);
  assert.equal(selected.some((curve) => curve.hue === group.curves[0].hue), false);
});

test("a lane is shaded where parts of its selected curves were filled", () => {
  const spans = withParts(
    [
      { kind: "filled", name: "m1", first: 0, last: 1 },
      { kind: "resting", name: "LeftEye", first: 2, last: 3 },
    ],
    new Map([["m1", "Mouth"]]),
  );
  const lane = (names: string[], selected: string[]) => {
    const [group] = makeGroups([{ groups: [{ name: "G", unit: "", curves: names, values: place(0, 0) }] }]);
    return spansOfLane(spans, group, group.curves.filter((curve) => selected.includes(curve.name))).map((s) => s.name);
  };
  assert.deepEqual(lane(["Mouth.Open", "LeftEye.Close"], ["Mouth.Open"]), ["m1"]);
  assert.deepEqual(lane(["Mouth", "LeftEye"], ["LeftEye"]), ["LeftEye"]);
  assert.deepEqual(lane(["jawOpen"], ["jawOpen"]), ["m1", "LeftEye"]); // a shape depends on every part
});

test("ticks are round and inside", () => {
  assert.deepEqual(ticks(-0.04, 1.04, 2), { values: [0, 1], digits: 0 });
  assert.deepEqual(ticks(0, 1, 4).values, [0, 0.5, 1]);
  assert.deepEqual(ticks(-21, 19, 4), { values: [-20, -10, 0, 10], digits: 0 });
  assert.equal(ticks(0, 0.01, 4).digits, 3);
});

test("the window zooms around a place, stays in the take, and follows the playhead", () => {
  const window = new TimeWindow(100, 0.5);
  const shows = (from: number, to: number) => {
    assert.ok(Math.abs(window.from - from) < 1e-9 && Math.abs(window.to - to) < 1e-9, `${window.from} to ${window.to}`);
  };
  window.zoom(0.1, 50);
  shows(45, 55);
  window.pan(-60);
  shows(0, 10);
  window.follow(5);
  shows(0, 10);
  window.follow(12);
  shows(11.5, 21.5);
  window.zoom(1e-9, 11.5);
  shows(11.5, 12);
  window.zoom(1e9, 20);
  assert.ok(window.isWhole);
  assert.equal(new TimeWindow(0, 0.25).to, 0.25); // one frame
});
