// A page that shows a stream, from a server of its own. As in page.test.ts, any error or request for more fails the test.

import assert from "node:assert/strict";
import { after, before, test } from "node:test";
import type { Browser } from "playwright-core";
import type { LiveFrame, PageData } from "../../src/data/contract";
import type { Opened } from "../support/browser";
import { finish, hook, openAddress, openBrowser, samples } from "../support/browser";
import { PageBytes } from "../support/encode_page";
import { LiveServer } from "../support/live_server";
import { sampleSide } from "../support/sample_page";
import { makePage, makeSide, markerAt, waveAt } from "../support/takes";

let browser: Browser;
before(async () => (browser = await openBrowser()));
after(() => browser.close());

const rows = 200;
const markers = 6;
const curves = { Templates: ["Mouth.Open", "LeftEye.Close", "RightEye.Close", "LeftBrow.Up", "Mouth.Whistle"] };

/** A page of which nothing is known before its stream. */
function livePage(): [PageData, PageBytes] {
  const bytes = new PageBytes();
  const size = { frames: rows, markers, curves, state: () => 0 };
  const side = makeSide(bytes, size);
  for (const group of side.groups ?? []) {
    group.values = bytes.array(group.curves.map(() => new Float64Array(rows).fill(NaN)), 0.001);
  }
  return [makePage(bytes, rows, [side], { title: "tracker", live: { events: "events" } }), bytes];
}

function frameOf(n: number): LiveFrame {
  return {
    side: 0,
    number: n,
    time: 2 + n / 30,
    clock: `10:00:00:${String(n).padStart(2, "0")}`,
    groups: [curves.Templates.map((_, c) => (c === 4 ? 0 : waveAt(c, n)))],
    positions: Array.from({ length: markers }, (_, m) => markerAt(m, markers, n)).flat(),
    states: Array.from({ length: markers }, (_, m) => (m === 2 ? 2 : 1)),
  };
}

const shownClock = ({ page }: Opened) => page.textContent("#live-clock");
const waitForClock = ({ page }: Opened, clock: string) =>
  page.waitForFunction((wanted) => document.getElementById("live-clock")?.textContent === wanted, clock);
const waitForReaders = async (server: LiveServer) => {
  while (!server.readers) await new Promise((later) => setTimeout(later, 20));
};

test("frames are shown as they come: markers, curves, the clock, facts", async (context) => {
  const server = await LiveServer.start(...livePage());
  context.after(() => server.stop());
  const opened = await openAddress(browser, server.address, { viewport: { width: 1280, height: 800 } });
  const { page } = opened;
  await waitForReaders(server);
  for (let n = 0; n < 100; ++n) server.send("frame", frameOf(n));
  await waitForClock(opened, frameOf(99).clock);
  assert.equal(await hook(page, (mien) => mien.frame()), 99);
  const shown = await page.evaluate("window.mien.markerShown(0, 2)") as { place: number[]; state: number };
  assert.equal(shown.state, 2);
  markerAt(2, markers, 99).forEach((value, axis) => assert.ok(Math.abs(shown.place[axis] - value) < 1e-4));
  assert.deepEqual(await hook(page, (mien) => mien.curvesShown().length), 4, "the curves that move are chosen");
  assert.ok(!(await hook(page, (mien) => mien.curvesShown())).includes("Templates/Mouth.Whistle"));
  assert.equal(await page.textContent("#live-state"), "live");

  server.send("status", { summary: "<b>60/s</b>", facts: [{ title: "Stream", rows: [["Latency", "0.2 ms"]] }] });
  await page.waitForFunction(() => document.getElementById("summary")?.textContent === "<b>60/s</b>");
  assert.match((await page.textContent("#panel-facts")) ?? "", /Latency0\.2 ms/);

  // More frames than the sweep has rows.
  for (const last of [199, 299]) {
    for (let n = last - 99; n <= last; ++n) server.send("frame", { ...frameOf(n), clock: `c${n}` });
    await waitForClock(opened, `c${last}`);
    assert.equal(await hook(page, (mien) => mien.frame()), last % rows);
  }
  await finish(opened, "live");
});

test("a frozen picture stays, and continues with the newest frame", async (context) => {
  const server = await LiveServer.start(...livePage());
  context.after(() => server.stop());
  const opened = await openAddress(browser, server.address);
  const { page } = opened;
  await waitForReaders(server);
  server.send("frame", frameOf(1));
  await waitForClock(opened, frameOf(1).clock);
  await page.keyboard.press(" ");
  assert.equal(await page.textContent("#live-state"), "frozen");
  server.send("frame", frameOf(2));
  server.send("status", { summary: "seen", facts: [] });
  await page.waitForFunction(() => document.getElementById("summary")?.textContent === "seen");
  assert.equal(await shownClock(opened), frameOf(1).clock);
  await page.keyboard.press(" ");
  server.send("frame", frameOf(3));
  await waitForClock(opened, frameOf(3).clock);
  await finish(opened);
});

test("a head follows the stream", async (context) => {
  const bytes = new PageBytes();
  const side = sampleSide(samples, bytes);
  const frames = 360;
  const data = makePage(bytes, frames, [side], { title: "head", live: { events: "events" } });
  const server = await LiveServer.start(data, bytes);
  context.after(() => server.stop());
  const opened = await openAddress(browser, server.address);
  await waitForReaders(server);
  const groups = (side.groups ?? []).map((group) => group.curves.map((_, c) => ((c * 7) % 10) / 10));
  server.send("frame", { side: 0, number: 1, time: 0, clock: "one", groups, head_motion: [0, 0.5, 0, Math.sqrt(0.75), 0, 0, 0] });
  await waitForClock(opened, "one");
  const drivers = side.head?.morphs?.[0].drivers ?? [];
  const expected = drivers.map((driver, target) => {
    if (!driver) return side.head?.morphs?.[0].rest[target] ?? 0;
    return groups[side.groups?.findIndex((group) => group.name === driver[0]) ?? -1][driver[1]];
  });
  const shown = (await hook(opened.page, (mien) => mien.weightsShown(0)))[0];
  assert.ok(expected.some((weight) => weight > 0));
  expected.forEach((weight, target) => assert.ok(Math.abs(shown[target] - weight) < 1e-6, `target ${target}`));
  await finish(opened, "live_head");
});

test("when the server is gone the page says so, and when it is back the page goes on", async (context) => {
  const server = await LiveServer.start(...livePage());
  context.after(() => server.stop());
  const opened = await openAddress(browser, server.address);
  const { page } = opened;
  await waitForReaders(server);
  server.stop(true);
  await page.waitForFunction(() => document.getElementById("live-state")?.dataset.state === "lost");
  await page.waitForFunction(() => document.getElementById("live-state")?.dataset.state === "live");
  server.send("frame", frameOf(5));
  await waitForClock(opened, frameOf(5).clock);
  // Chromium reports the broken stream on its console.
  opened.faults.splice(0, opened.faults.length, ...opened.faults.filter((fault) => !/ERR_INCOMPLETE_CHUNKED_ENCODING|ERR_CONNECTION/.test(fault)));
  await finish(opened);
});
