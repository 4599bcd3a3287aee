// The page that mien live serves: it appears before the first face and after a new neutral face, and shows the numbers
// that go out.

import assert from "node:assert/strict";
import type { ChildProcess } from "node:child_process";
import { spawn } from "node:child_process";
import { createSocket } from "node:dgram";
import { mkdtempSync, readFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join, resolve } from "node:path";
import { createInterface } from "node:readline";
import type { TestContext } from "node:test";
import { after, before, test } from "node:test";
import type { Browser, Page } from "playwright-core";
import type { PageData } from "../../src/data/contract";
import type { Opened } from "../support/browser";
import { finish, hook, openAddress, openBrowser, samples } from "../support/browser";

const folder = mkdtempSync(join(tmpdir(), "mien_live_pages_"));
const later = (ms: number) => new Promise((done) => setTimeout(done, ms));

let browser: Browser;
before(async () => (browser = await openBrowser()));
after(() => browser.close());

interface Event {
  event: string;
  address?: string;
  port?: number;
}

class Live {
  private constructor(
    readonly process: ChildProcess,
    readonly events: Event[],
  ) {}

  static start(context: TestContext, ...options: string[]): Live {
    const command = process.env.MIEN_COMMAND ?? "mien";
    const started = spawn(command, ["live", "--json", ...options], { cwd: folder, stdio: ["ignore", "pipe", "inherit"] });
    context.after(() => started.kill("SIGKILL"));
    const events: Event[] = [];
    createInterface(started.stdout).on("line", (line) => events.push(JSON.parse(line) as Event));
    return new Live(started, events);
  }

  async event(name: string): Promise<Event> {
    for (;;) {
      const found = this.events.find((event) => event.event === name);
      if (found) return found;
      assert.equal(this.process.exitCode, null, "mien live runs");
      await later(20);
    }
  }

  /** Opens the page, which may load itself again at any time. */
  async open(): Promise<Opened> {
    return openAddress(browser, (await this.event("page")).address ?? "", { viewport: { width: 800, height: 450 } }, false);
  }

  async end(): Promise<void> {
    const ended = new Promise((done) => this.process.on("close", done));
    this.process.kill();
    await ended;
  }
}

/** Whether it holds in the page. The page loads itself again when a face appears, which ends an evaluation. */
async function until(page: Page, holds: () => boolean): Promise<void> {
  while (!(await page.evaluate(holds).catch(() => false))) await later(50);
}

const clockOf = (page: Page) => page.textContent("#live-clock");

/** The values beside the curves of a group; those that are scrolled out of view are not kept up to date. */
const valuesShown = (page: Page, group: string) =>
  page.$$eval(
    "#curve-list details",
    (sections, name) =>
      sections
        .filter((section) => section.querySelector("summary")?.textContent?.startsWith(name))
        .flatMap((section) => [...section.querySelectorAll(".curve-row")])
        .map((row) => [row.querySelector("bdi")?.textContent ?? "", row.querySelector(".value")?.textContent ?? ""] as const)
        .filter(([, value]) => value !== ""),
    group,
  );

/** The weights that the head shows, by the names of the shapes. */
async function weightsShown(page: Page): Promise<Map<string, number>> {
  const text = await page.textContent("#mien-data");
  const [side] = (JSON.parse(text ?? "") as PageData).sides;
  const names = side.groups?.find((group) => group.name === "Shapes")?.curves ?? [];
  const [morphs] = side.head?.morphs ?? [];
  const [weights] = await hook(page, (mien) => mien.weightsShown(0));
  return new Map(weights.map((weight, target) => [names[morphs.drivers[target]?.[1] ?? -1] ?? "", weight]));
}

test("a page that is opened before the first face waits for it", { timeout: 120000 }, async (context) => {
  // Where this process is stopped for a moment, the face does not fade.
  const live = Live.start(context, "--in", "lines:0", "--out", "page:0", "--face-hold", "1000");
  const port = (await live.event("listening")).port ?? 0;
  const opened = await live.open();
  const { page } = opened;
  await page.waitForFunction(() => document.getElementById("live-state")?.textContent === "live");
  assert.equal(await page.$$eval(".curve-row", (rows) => rows.length), 0);

  const socket = createSocket("udp4");
  let time = 0;
  const send = () => {
    time += 1 / 60;
    socket.send(JSON.stringify({ face: "ada", time, weights: { jawOpen: 0.625, mine: 0.25 } }), port, "127.0.0.1");
  };
  const sending = setInterval(send, 16);
  context.after(() => clearInterval(sending));
  context.after(() => socket.close());
  await until(page, () => Number.parseFloat(document.getElementById("live-clock")?.textContent ?? "0") > 0);
  assert.deepEqual(await valuesShown(page, "Shapes"), [["jawOpen", "0.625"], ["mine", "0.250"]]);
  await finish(opened);
  await live.end();
});

test("a page shows the numbers that go out", { timeout: 120000 }, async (context) => {
  const take = resolve(samples, "landmarks.csv");
  const live = Live.start(context, "--in", `replay:${take}?loop`, "-p", "landmarks68", "--out", "page:0", "--out", "lines:sent.jsonl");
  const opened = await live.open();
  const { page } = opened;
  // The neutral face is learned in the first two seconds.
  await until(page, () => Number.parseFloat(document.getElementById("live-clock")?.textContent ?? "0") > 4);
  await until(page, () => window.mien?.weightsShown(0)[0].some((weight) => weight > 0.05) ?? false); // the face moves
  await page.keyboard.press(" ");
  await until(page, () => document.getElementById("live-state")?.dataset.state === "frozen");
  await page.evaluate(() => new Promise((drawn) => requestAnimationFrame(() => requestAnimationFrame(drawn))));
  const clock = await clockOf(page);
  const values = await valuesShown(page, "Templates");
  const weights = await weightsShown(page);
  const marker = await hook(page, (mien) => mien.markerShown(0, 30));
  await later(300);
  assert.equal(await clockOf(page), clock, "the picture is frozen");
  await finish(opened, "command_live");
  await live.end();

  const sent = readFileSync(join(folder, "sent.jsonl"), "utf8").trimEnd().split("\n");
  const frames = sent.map((line) => JSON.parse(line) as { time: number; seen?: boolean; weights: Record<string, number> });
  const frame = frames.find((each) => `${each.time.toFixed(2)} s` === clock);
  assert.ok(frame, `the frame of ${String(clock)}`);
  assert.deepEqual([...weights.keys()].sort(), Object.keys(frame.weights).sort());
  for (const [name, weight] of weights) {
    assert.ok(Math.abs(weight - frame.weights[name]) < 6e-4, `${name}: ${weight} for ${frame.weights[name]}`);
  }
  assert.ok(values.some(([name, value]) => name === "Mouth.Open" && /^-?\d\.\d{3}$/.test(value)), String(values));
  assert.ok(marker && marker.place.every((coordinate) => Math.abs(coordinate) < 500), "millimetres in the neutral face's axes");
  // The tracker loses this face for moments.
  assert.equal(marker.state, frame.seen === false ? 0 : 1);
});
