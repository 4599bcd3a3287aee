import assert from "node:assert/strict";
import { test } from "node:test";
import { parseTimecode, timecodeAt } from "../../src/data/timecode";

function at(text: string, seconds: number): string {
  const timecode = parseTimecode(text);
  assert.ok(timecode, text);
  return timecodeAt(timecode, seconds);
}

test("counts on from the first frame, past seconds, minutes and midnight", () => {
  assert.equal(at("10:02:59:29@30", 0), "10:02:59:29");
  assert.equal(at("10:02:59:29@30", 1 / 30), "10:03:00:00");
  assert.equal(at("23:59:59:24@25", 1 / 25), "00:00:00:00");
  assert.equal(at("00:00:00:00@24", 3600), "01:00:00:00");
});

test("counts by elapsed time at its own rate, whatever the take's", () => {
  // A take at 120 Hz with 30 counts per second: four frames each.
  const shown = [0, 1, 2, 3, 4, 7, 8].map((frame) => at("01:00:00:00@30", frame / 120));
  assert.deepEqual(shown.map((text) => text.slice(-2)), ["00", "00", "00", "00", "01", "01", "02"]);
  // 29.97 counts per second: after 1001 s, 30000 counts.
  assert.equal(at("00:00:00:00@30000/1001", 1001), "00:16:40:00");
});

test("times stored in steps of 0.1 ms show the count of their frame", () => {
  for (const hz of [24, 25, 30, 60]) {
    for (let frame = 0; frame < 5000; ++frame) {
      const stored = Math.round((frame / hz) * 10000) / 10000;
      const text = at(`00:00:00:00@${hz}`, stored);
      const [h, m, s, f] = text.split(":").map(Number);
      assert.equal(((h * 60 + m) * 60 + s) * hz + f, frame);
    }
  }
});

test("drop frame skips the numbers 0 and 1 of each minute but every tenth", () => {
  const rate = 30000 / 1001;
  assert.equal(at("00:00:59;29@30000/1001", 1 / rate), "00:01:00;02");
  assert.equal(at("00:09:59;29@30000/1001", 1 / rate), "00:10:00;00");
  assert.equal(at("00:00:00;00@30000/1001", 17982 / rate), "00:10:00;00");
  assert.equal(at("00:00:00;00@30000/1001", 107892 / rate), "01:00:00;00");
  assert.equal(at("23:59:59;29@30000/1001", 1 / rate), "00:00:00;00");
  assert.equal(at("00:00:59;59@60000/1001", 1.001 / 60), "00:01:00;04");
});

test("drop frame passes every number that exists, once and in order", () => {
  const rate = 30000 / 1001;
  let expected = 0;
  for (let count = 0; count < 40000; ++count) {
    const text = at("00:00:00;00@30000/1001", count / rate);
    const [h, m, s, f] = text.split(/[:;]/).map(Number);
    const number = ((h * 60 + m) * 60 + s) * 30 + f;
    if (expected % 1800 === 0 && Math.floor(expected / 1800) % 10 !== 0) expected += 2;
    assert.equal(number, expected);
    ++expected;
  }
});

test("text that is not a timecode is refused", () => {
  for (const text of ["", "10:02:59@30", "10:02:59:30@30", "10:60:00:00@30", "aa:bb:cc:dd@30", "10:02:59:29", "1:2:3;4@25", "1:2:3:4@0"]) {
    assert.equal(parseTimecode(text), undefined, text);
  }
});
