import assert from "node:assert/strict";
import { test } from "node:test";
import type { LiveFrame } from "../../src/data/contract";
import type { SideTables } from "../../src/live/sweep";
import { Sweep } from "../../src/live/sweep";

const rows = 100; // the gap is two rows
const emptySide = (): SideTables => ({
  groups: [new Float32Array(2 * rows).fill(NaN)],
  positions: new Float32Array(2 * 3 * rows).fill(NaN),
  states: new Uint8Array(2 * rows),
  motion: new Float32Array(7 * rows).fill(NaN),
  moved: [{ node: 3, rotation: new Float32Array(4 * rows).fill(NaN) }],
});
const frameOf = (n: number, side = 0): LiveFrame => ({
  side,
  number: n,
  time: 5 + n / 10,
  clock: "",
  groups: [[n, n / 2]],
  positions: [n, 1, 2, 3, 4, 5],
  states: [2, 1],
  head_motion: [0, 0, 0, 1, n, 0, 0],
  moved: [{ rotation: [0, 0, n, 1] }],
});

test("a frame's numbers stand in its row of every table", () => {
  const side = emptySide();
  const sweep = new Sweep(rows, 10, [side]);
  for (let n = 0; n < 5; ++n) assert.equal(sweep.write(frameOf(n)), n);
  assert.deepEqual([side.groups[0][4], side.groups[0][rows + 4]], [4, 2]);
  assert.equal(side.positions?.[4], 4);
  assert.equal(side.positions?.[5 * rows + 4], 5);
  assert.deepEqual([side.states?.[4], side.states?.[rows + 4]], [2, 1]);
  assert.equal(side.motion?.[4 * rows + 4], 4);
  assert.equal(side.moved[0].rotation?.[2 * rows + 4], 4);
});

test("the newest frame overwrites the oldest, and what is ahead of it shows nothing", () => {
  const side = emptySide();
  const sweep = new Sweep(rows, 10, [side]);
  for (let n = 0; n < rows + 10; ++n) sweep.write(frameOf(n));
  const values = side.groups[0];
  assert.deepEqual([values[9], values[10], values[11], values[12]], [109, NaN, NaN, 12]);
  sweep.write({ ...frameOf(110), groups: [[null]] });
  assert.deepEqual([values[10], values[rows + 10], values[12]], [NaN, NaN, NaN]);
});

test("a marker that is not seen stays where it was, as a gap, also from the last row to the first", () => {
  const side = emptySide();
  const sweep = new Sweep(rows, 10, [side]);
  for (let n = 0; n < rows; ++n) sweep.write(frameOf(n));
  const row = sweep.write({ ...frameOf(100), positions: [null, null, null, 3, 4, 5] });
  assert.equal(row, 0);
  assert.deepEqual([side.positions?.[0], side.states?.[0]], [99, 0]);
  assert.deepEqual([side.positions?.[3 * rows], side.states?.[rows]], [3, 1]);
});

test("frames of two sides at one time share a row, and an unknown side is ignored", () => {
  const sides = [emptySide(), emptySide()];
  const sweep = new Sweep(rows, 10, sides);
  for (const side of [0, 1, 2]) assert.equal(sweep.write(frameOf(7, side)), 0);
  assert.deepEqual([sides[0].groups[0][0], sides[1].groups[0][0]], [7, 7]);
  assert.equal(sweep.write(frameOf(8, 1)), 1);
  assert.deepEqual([sides[0].groups[0][1], sides[1].groups[0][1]], [NaN, 8]);
});

test("rows are times: a slower stream fills the rows between its frames, a faster one shares them", () => {
  const side = emptySide();
  const sweep = new Sweep(rows, 10, [side]);
  sweep.write(frameOf(0));
  assert.equal(sweep.write(frameOf(2)), 2);
  assert.deepEqual([...side.groups[0].subarray(0, 3)], [0, 2, 2]);
  assert.equal(sweep.write({ ...frameOf(9), time: 5.21 }), 2);
  assert.equal(side.groups[0][2], 9);
});

test("a slower stream of two sides fills the rows of both", () => {
  const sides = [emptySide(), emptySide()];
  const sweep = new Sweep(rows, 10, sides);
  for (const n of [0, 2, 4]) for (const side of [0, 1]) sweep.write(frameOf(n, side));
  for (const { groups } of sides) assert.deepEqual([...groups[0].subarray(0, 5)], [0, 2, 2, 4, 4]);
});

test("behind a pause, and where the clock begins anew, there is a gap and the sweep goes on", () => {
  const side = emptySide();
  const sweep = new Sweep(rows, 10, [side]);
  sweep.write(frameOf(0));
  assert.equal(sweep.write({ ...frameOf(1), time: 3600 }), 2);
  assert.deepEqual([...side.groups[0].subarray(0, 3)], [0, NaN, 1]);
  assert.equal(sweep.write({ ...frameOf(2), time: 0 }), 4);
  assert.equal(sweep.write({ ...frameOf(3), time: 0.1 }), 5);
  assert.deepEqual([...side.groups[0].subarray(2, 6)], [1, NaN, 2, 3]);
});
