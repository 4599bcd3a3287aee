// Pages that the mien command writes: what went in comes out.

import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdtempSync, readFileSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join, resolve } from "node:path";
import { after, before, test } from "node:test";
import type { Browser } from "playwright-core";
import type { GroupData, PageData, SideData } from "../../src/data/contract";
import { NumberReader } from "../../src/data/numbers";
import { finish, hook, openBrowser, openFile, samples } from "../support/browser";
import { randomNumbers } from "../support/random";

const command = process.env.MIEN_COMMAND ?? "mien";
const folder = mkdtempSync(join(tmpdir(), "mien_pages_"));
const mien = (...parameters: string[]) => execFileSync(command, [...parameters, "--quiet"], { cwd: folder });
const sample = (name: string) => resolve(samples, name);

let browser: Browser;
before(async () => {
  browser = await openBrowser();
});
after(async () => {
  await browser.close();
});

interface Page {
  data: PageData;
  numbers: NumberReader;
}

function readPage(name: string): Page {
  const html = readFileSync(join(folder, name), "utf8");
  const element = (id: string) => new RegExp(`<script id="${id}"[^>]*>([^<]*)</script>`).exec(html)?.[1] ?? "";
  return { data: JSON.parse(element("mien-data")), numbers: new NumberReader(element("mien-bytes")) };
}

function readCsv(name: string): { names: string[]; rows: number[][] } {
  const [header, ...lines] = readFileSync(join(folder, name), "utf8").trimEnd().split("\n");
  return { names: header.split(","), rows: lines.map((line) => line.split(",").map(Number)) };
}

const groupOf = (side: SideData, name: string): GroupData => {
  const group = side.groups?.find((each) => each.name === name);
  assert.ok(group, name);
  return group;
};

/** Every weight of a group equals the table's to within half a thousandth. Returns how many there are. */
async function compareWeights({ data, numbers }: Page, name: string, csv: string): Promise<number> {
  const group = groupOf(data.sides[0], name);
  const table = readCsv(csv);
  const values = await numbers.doubles(group.values);
  const { rows } = group.values;
  assert.equal(rows, table.rows.length);
  group.curves.forEach((curve, c) => {
    const column = table.names.indexOf(curve);
    assert.ok(column > 0, curve);
    table.rows.forEach((row, f) => {
      const shown = values[c * rows + f];
      assert.ok(Math.abs(shown - row[column]) <= 0.00051, `${curve}, row ${f}: ${shown} for ${row[column]}`);
    });
  });
  return values.length;
}

test("a solve's page has the weights of its tables, and its head shows them", async () => {
  mien("solve", sample("landmarks.csv"), "-p", "landmarks68", "-c", "arkit52", "-o", "shapes.csv", "--view", "solve.html");
  mien("solve", sample("landmarks.csv"), "-p", "landmarks68", "-o", "templates.csv");
  const page = readPage("solve.html");
  assert.equal(await compareWeights(page, "Shapes", "shapes.csv"), 52 * 360);
  assert.equal(await compareWeights(page, "Templates", "templates.csv"), 23 * 360);

  const opened = await openFile(browser, join(folder, "solve.html"));
  const { names, rows } = readCsv("shapes.csv");
  const frame = rows.findIndex((row) => row[names.indexOf("jawOpen")] > 0.5);
  await opened.page.evaluate((index) => window.mien?.seek(index), frame);
  const [weights] = await hook(opened.page, (shown) => shown.weightsShown(0));
  const expected = rows[frame].slice(names.indexOf("eyeBlinkLeft"));
  assert.equal(weights.length, 52);
  const [drivers] = (page.data.sides[0].head?.morphs ?? []).map((morphs) => morphs.drivers);
  weights.forEach((weight, target) => {
    const shape = drivers[target]?.[1] ?? assert.fail("nothing drives a target");
    assert.ok(Math.abs(weight - expected[shape]) <= 0.00051, `target ${target}`);
  });
  await finish(opened, "command_solve");
});

test("random takes survive the writer and the reader", async () => {
  const random = randomNumbers(5);
  for (let take = 0; take < 5; ++take) {
    const markers = 1 + Math.floor(random() * 9);
    const rows = Array.from({ length: 2 + Math.floor(random() * 60) }, () =>
      Array.from({ length: markers }, () =>
        random() < 0.2 ? undefined : [0, 1, 2].map(() => (random() - 0.5) * 400),
      ),
    );
    rows[0] = rows[0].map(() => [1, 2, 3]);
    const header = ["frame,time", ...rows[0].map((_, m) => ["x", "y", "z"].map((axis) => `m${m}.${axis}`).join(","))];
    const lines = rows.map((row, f) =>
      [f + 1, f / 50, ...row.map((place) => place?.map((value) => value.toFixed(6)).join(",") ?? ",,")].join(","),
    );
    writeFileSync(join(folder, "take.csv"), [header.join(","), ...lines].join("\n") + "\n");
    mien("view", "take.csv", "-o", "take.html");
    const { data, numbers } = readPage("take.html");
    const shown = data.sides[0].markers ?? assert.fail("there are no markers");
    assert.deepEqual(shown.names, rows[0].map((_, m) => `m${m}`));
    const positions = await numbers.doubles(shown.positions);
    const states = await numbers.doubles(shown.states);
    rows.forEach((row, f) => {
      row.forEach((place, m) => {
        assert.equal(states[m * rows.length + f], place ? 1 : 0);
        [0, 1, 2].forEach((axis) => {
          const value = positions[(3 * m + axis) * rows.length + f];
          if (place) assert.ok(Math.abs(value - place[axis]) < 0.0251, `${value} for ${place[axis]}`);
          else assert.ok(Number.isNaN(value));
        });
      });
    });
  }
});

test("two solves of a take stand side by side", async () => {
  mien("solve", sample("landmarks.csv"), "-p", "landmarks68", "-c", "arkit52", "-o", "a.json");
  mien("solve", sample("landmarks.csv"), "-p", "landmarks68", "-c", "arkit52", "--solver", "fit", "-o", "b.json");
  mien("compare", "a.json", "b.json", "--view", "compare.html");
  const { data } = readPage("compare.html");
  assert.deepEqual(data.sides.map((side) => side.name), ["a", "b"]);
  assert.equal(data.comparison?.curves.length, 55);
  const opened = await openFile(browser, join(folder, "compare.html"));
  await opened.page.evaluate((index) => window.mien?.seek(index), data.comparison?.curves[0].largest_frame ?? 0);
  await finish(opened, "command_compare");
});

test("an avatar shows its expressions", async () => {
  mien("retarget", sample("mesh/weights_phone.csv"), "-c", "vrm1", "-o", "presets.csv");
  mien("view", "presets.csv", "--onto", sample("avatar0.vrm"), "-o", "avatar.html");
  const page = readPage("avatar.html");
  const opened = await openFile(browser, join(folder, "avatar.html"));
  await hook(opened.page, (shown) => shown.seek(3)); // an open mouth
  const [weights] = await hook(opened.page, (shown) => shown.weightsShown(0));
  const group = groupOf(page.data.sides[0], page.data.sides[0].groups?.find((each) => each.name.startsWith("Morph"))?.name ?? "");
  const values = await page.numbers.doubles(group.values);
  assert.ok(Math.max(...weights) > 0.4);
  weights.forEach((weight, target) => assert.equal(weight, Math.fround(values[target * group.values.rows + 3])));
  await finish(opened, "command_avatar");
});
