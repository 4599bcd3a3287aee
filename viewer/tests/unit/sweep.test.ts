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
  clock: "",
  groups: [[n, n / 2]],
  positions: [n, 1, 2, 3, 4, 5],
  states: [2, 1],
  head_motion: [0, 0, 0, 1, n, 0, 0],
  moved: [{ rotation: [0, 0, n, 1] }],
});

test("a frame's numbers stand in its row of every table", () => {
  const side = emptySide();
  const sweep = new Sweep(rows, [side]);
  for (let n = 0; n < 5; ++n) assert.equal(sweep.write([frameOf(n)]), n);
  assert.deepEqual([side.groups[0][4], side.groups[0][rows + 4]], [4, 2]);
  assert.equal(side.positions?.[4], 4);
  assert.equal(side.positions?.[5 * rows + 4], 5);
  assert.deepEqual([side.states?.[4], side.states?.[rows + 4]], [2, 1]);
  assert.equal(side.motion?.[4 * rows + 4], 4);
  assert.equal(side.moved[0].rotation?.[2 * rows + 4], 4);
});

test("the newest frame overwrites the oldest, and what is ahead of it shows nothing", () => {
  const side = emptySide();
  const sweep = new Sweep(rows, [side]);
  for (let n = 0; n < rows + 10; ++n) sweep.write([frameOf(n)]);
  const values = side.groups[0];
  assert.deepEqual([values[9], values[10], values[11], values[12]], [109, NaN, NaN, 12]);
  sweep.write([{ ...frameOf(110), groups: [[null]] }]);
  assert.deepEqual([values[10], values[rows + 10], values[12]], [NaN, NaN, NaN]);
});

test("a marker that is not seen stays where it was, as a gap, also from the last row to the first", () => {
  const side = emptySide();
  const sweep = new Sweep(rows, [side]);
  for (let n = 0; n < rows; ++n) sweep.write([frameOf(n)]);
  const row = sweep.write([{ ...frameOf(100), positions: [null, null, null, 3, 4, 5] }]);
  assert.equal(row, 0);
  assert.deepEqual([side.positions?.[0], side.states?.[0]], [99, 0]);
  assert.deepEqual([side.positions?.[3 * rows], side.states?.[rows]], [3, 1]);
});

test("sides that come together share a row, and an unknown one is ignored", () => {
  const sides = [emptySide(), emptySide()];
  const sweep = new Sweep(rows, sides);
  assert.equal(sweep.write([frameOf(7), frameOf(8, 1), frameOf(9, 2)]), 0);
  assert.deepEqual([sides[0].groups[0][0], sides[1].groups[0][0]], [7, 8]);
  assert.equal(sweep.write([frameOf(10, 1)]), 1);
  assert.deepEqual([sides[0].groups[0][1], sides[1].groups[0][1]], [NaN, 10]);
});
