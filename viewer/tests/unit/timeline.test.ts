import assert from "node:assert/strict";
import { test } from "node:test";
import { parseTimecode } from "../../src/data/timecode";
import { Timeline } from "../../src/data/timeline";

// Frames 10, 11, 14, 15: two were dropped. The first is at 2 s.
const numbers = Float64Array.of(10, 11, 14, 15);
const times = Float64Array.of(2, 2.04, 2.16, 2.2);
const timeline = new Timeline(numbers, times, parseTimecode("10:00:00:24@25"), 0);

test("frames are found by time and by number across dropped ones", () => {
  assert.deepEqual([-1, 0, 0.03, 0.04, 0.15, 0.16, 9].map((s) => timeline.indexAt(s)), [0, 0, 0, 1, 1, 2, 3]);
  assert.deepEqual([0, 0.03, 0.09, 0.11].map((s) => timeline.nearest(s)), [0, 1, 1, 2]);
  assert.deepEqual([1, 10, 12, 13, 15, 99].map((n) => timeline.indexOfNumber(n)), [0, 0, 1, 2, 3, 3]);
});

test("timecode skips what was dropped, and is found again", () => {
  assert.deepEqual([0, 1, 2, 3].map((i) => timeline.clock(i)), ["10:00:00:24", "10:00:01:00", "10:00:01:03", "10:00:01:04"]);
  assert.equal(timeline.indexOfClock("10:00:01:03"), 2);
  assert.equal(timeline.indexOfClock("10:00:01:02"), -1);
  assert.equal(timeline.label(1), "11 · 10:00:01:00");
});

test("a first frame between two counts keeps its offset", () => {
  const late = new Timeline(numbers, times, parseTimecode("10:00:00:24@25"), 0.02);
  assert.equal(late.clock(0), "10:00:00:24");
  assert.equal(late.clock(1), "10:00:01:00");
});

test("without timecode the time from the first frame is shown", () => {
  const plain = new Timeline(Float64Array.of(1, 2), Float64Array.of(5, 67.3456), undefined, 0);
  assert.deepEqual([0, 1].map((i) => plain.clock(i)), ["0:00.000", "1:02.346"]);
  assert.equal(plain.indexOfClock("1:02.346"), 1);
});

test("one frame, and none", () => {
  const one = new Timeline(Float64Array.of(7), Float64Array.of(3), undefined, 0);
  assert.deepEqual([one.last, one.duration, one.indexAt(5), one.number(0)], [0, 0, 0, 7]);
  const none = new Timeline(new Float64Array(), new Float64Array(), undefined, 0);
  assert.deepEqual([none.last, none.duration, none.clamp(4), none.number(0), none.seconds(0)], [0, 0, 0, 0, 0]);
});
