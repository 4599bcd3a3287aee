// The page in Chromium. Everything here opens as file:// without a network; any error on the console, violation of the
// content policy or request for another file fails the test.

import assert from "node:assert/strict";
import { after, before, test } from "node:test";
import type { Browser } from "playwright-core";
import type { PageData, SideData } from "../../src/data/contract";
import type { Opened } from "../support/browser";
import { finish, hook, openBrowser, openData, openFile, samples, template, writePage } from "../support/browser";
import { fillPage, PageBytes } from "../support/encode_page";
import { faceNode, readGlb, sampleSide } from "../support/sample_page";
import type { TakeSize } from "../support/takes";
import { makePage, makeSide, markerAt, someFlags, someSpans, waveAt, wavyNames } from "../support/takes";

let browser: Browser;
before(async () => (browser = await openBrowser()));
after(() => browser.close());

const curves = {
  Templates: ["Mouth.Open", "LeftEye.Close", "RightEye.Close", "LeftBrow.Up", "Mouth.Whistle", "RightBrow.Up"],
  Head: ["Yaw", "Pitch", "Roll"],
};
const small: TakeSize = { frames: 240, markers: 12, curves, side: { flags: someFlags, spans: someSpans } };

function smallPage(change: Partial<TakeSize> = {}, more: Partial<PageData> = {}): [PageData, PageBytes] {
  const bytes = new PageBytes();
  const size = { ...small, ...change };
  return [makePage(bytes, size.frames, [makeSide(bytes, size)], more), bytes];
}

const frame = (opened: Opened) => hook(opened.page, (mien) => mien.frame());

/** The sample take with its head. */
function samplePage(more: Partial<PageData> = {}): [PageData, PageBytes] {
  const bytes = new PageBytes();
  const data = makePage(bytes, 360, [sampleSide(samples, bytes)], { title: "landmarks", timecode: "10:02:59:20@30", ...more });
  return [data, bytes];
}

function comparedPage(): [PageData, PageBytes] {
  const bytes = new PageBytes();
  const sides = [sampleSide(samples, bytes), sampleSide(samples, bytes, { gain: 0.8 })];
  const names = sides[0].groups?.flatMap((group) => group.curves.map((name) => ({ group: group.name, name }))) ?? [];
  const comparison = {
    text: "aligned by timecode; B is 2 frames later",
    curves: names.map((name, i) => ({
      ...name,
      largest: ((i * 37) % 59) / 200,
      largest_frame: (i * 53) % 360,
      rms: ((i * 37) % 59) / 900,
      correlation: i % 5 ? 0.99 - i / 200 : null,
      lag_frames: i % 5 ? i % 3 : null,
    })),
  };
  return [makePage(bytes, 360, sides, { title: "landmarks", comparison }), bytes];
}

test("opens offline from a file and shows a known frame's known numbers", async () => {
  const opened = await openData(browser, "small", ...smallPage({}, { timecode: "10:02:59:29@30" }));
  const { page } = opened;
  await hook(page, (mien) => mien.seek(100));
  assert.equal(await page.inputValue("#frame-number"), "201");
  assert.equal(await page.inputValue("#clock"), "10:03:03:09"); // 100 counts after 10:02:59:29
  for (const marker of [0, 5, 11]) {
    const shown = await page.evaluate((m) => window.mien?.markerShown(0, m), marker);
    assert.ok(shown);
    assert.equal(shown.state, 1);
    markerAt(marker, 12, 100).forEach((value, axis) => assert.ok(Math.abs(shown.place[axis] - value) <= 0.026));
  }
  const row = page.locator(".curve-row", { hasText: "LeftEye.Close" }).first();
  assert.equal(await row.locator(".value").textContent(), waveAt(1, 100).toFixed(3));
  assert.equal(await page.locator(".state-measured [data-count]").textContent(), "12");
  await finish(opened);
});

test("the head takes the weights of the frame, and the weights at rest where nothing drives it", async () => {
  const bytes = new PageBytes();
  const { bytes: glb, targets } = readGlb(`${samples}/head.glb`);
  const shapes = targets.slice(0, 10);
  const side = makeSide(bytes, { ...small, markers: 0, curves: { Shapes: shapes } });
  side.head = {
    glb: bytes.plain(glb),
    name: "head.glb",
    morphs: [
      { node: 1, rest: targets.map((_, i) => i / 100), drivers: targets.map((_, i) => (i < 10 ? ["Shapes", 9 - i] : null)) },
    ],
  };
  const opened = await openData(browser, "head", makePage(bytes, 240, [side]), bytes);
  await hook(opened.page, (mien) => mien.seek(77));
  const [weights] = await hook(opened.page, (mien) => mien.weightsShown(0));
  assert.equal(weights.length, targets.length);
  weights.forEach((weight, i) => {
    const expected = i < 10 ? waveAt(9 - i, 77) : i / 100;
    assert.ok(Math.abs(weight - expected) <= 0.00051, `target ${i}: ${weight} for ${expected}`);
  });
  await finish(opened);
});

test("moved nodes turn the head; without head motion the head node rests and the markers are brought back", async () => {
  const bytes = new PageBytes();
  const side = makeSide(bytes, small);
  const head = readGlb(`${samples}/head.glb`);
  const half = (f: number) => 0.1 * Math.sin(f / 20); // half the angle about y
  const of = (value: (f: number) => number) => Float64Array.from({ length: 240 }, (_, f) => value(f));
  const turn = [of(() => 0), of((f) => Math.sin(half(f))), of(() => 0), of((f) => Math.cos(half(f)))];
  side.head_motion = bytes.array([...turn, of(() => 0.01), of(() => 0), of((f) => f / 10000)], 0.0001);
  side.head = {
    glb: bytes.plain(head.bytes),
    name: "head.glb",
    moved: [{ node: faceNode, rotation: bytes.array(turn, 0.0001) }],
    head_node: faceNode,
    place: { scale: 1000, translation: [0, 0, 0] },
  };
  const opened = await openData(browser, "head_motion", makePage(bytes, 240, [side]), bytes);
  const { page } = opened;
  await hook(page, (mien) => mien.seek(30));
  const angle = 2 * half(30);
  const translation = [10, 0, 3];
  const close = (matrix: number[] | undefined, expected: number[]) => {
    assert.ok(matrix);
    expected.forEach((value, i) => assert.ok(Math.abs(matrix[i] - value) < 0.06, `${matrix.join(" ")} at ${i}`));
  };
  const identity = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1];
  const settled = () => page.evaluate(() => new Promise((drawn) => requestAnimationFrame(() => requestAnimationFrame(drawn))));
  const [c, s] = [Math.cos(angle), Math.sin(angle)];
  close(await hook(page, (mien) => mien.matrixShown(0, "markers")), identity);
  // The node turns about its own place p, and the performer's head about the origin: what is left to the carrier
  // is the translation, and the way from p to where the turn takes it.
  const [x, y, z] = head.faceAt.map((metres) => metres * 1000);
  const way = [c * x + s * z - x, 0, -s * x + c * z - z];
  const carried = translation.map((value, axis) => value + way[axis]);
  assert.ok(y > 0 && z > 0);
  close(await hook(page, (mien) => mien.matrixShown(0, "head")), [...identity.slice(0, 12), ...carried, 1]);
  await page.click("#show-motion");
  await settled();
  const back = [-(c * 10 - s * 3), 0, -(s * 10 + c * 3)];
  close(await hook(page, (mien) => mien.matrixShown(0, "markers")), [c, 0, s, 0, 0, 1, 0, 0, -s, 0, c, 0, ...back, 1]);
  close(await hook(page, (mien) => mien.matrixShown(0, "head")), identity);
  await finish(opened);
});

test("plays on by the clock, faster at twice the speed, and stops at the end without a loop", async () => {
  const opened = await openData(browser, "small", ...smallPage());
  const { page } = opened;
  for (const speed of ["1", "0.1", "2"]) {
    await page.selectOption("#speed", speed);
    // The frame that is shown was chosen after the picture before this one and before now, by the page's own clock.
    const [shown, before, now] = await page.evaluate(async () => {
      const play = document.querySelector<HTMLElement>("#play");
      window.mien?.seek(0);
      const start = performance.now();
      play?.click();
      let [before, now] = [start, start];
      while (now - start < 700) {
        await new Promise((drawn) => requestAnimationFrame(drawn));
        [before, now] = [now, performance.now()];
      }
      play?.click();
      return [window.mien?.frame() ?? NaN, (before - start) / 1000, (now - start) / 1000];
    });
    const [first, last] = [before, now].map((seconds) => Math.floor(seconds * 30 * Number(speed)));
    assert.ok(shown >= first - 1 && shown <= last + 1, `frame ${shown} of ${first} to ${last} at speed ${speed}`);
  }
  await page.click("#loop");
  await hook(page, (mien) => mien.seek(236));
  await page.click("#play");
  await page.waitForFunction(() => document.querySelector("#play")?.getAttribute("aria-label") === "Play");
  assert.equal(await frame(opened), 239);
  const begun = await page.evaluate(() => (document.querySelector<HTMLElement>("#play")?.click(), window.mien?.frame()));
  assert.equal(begun, 0, "playing from the end begins at the start");
  await finish(opened);
});

test("the keyboard works as in editors, and leaves typing alone", async () => {
  const opened = await openData(browser, "small", ...smallPage());
  const { page } = opened;
  const press = async (key: string, expected: number) => {
    await page.keyboard.press(key);
    assert.equal(await frame(opened), expected, key);
  };
  await press("ArrowRight", 1);
  await press("Shift+ArrowRight", 11);
  await press("ArrowLeft", 10);
  await press("Shift+ArrowLeft", 0);
  await press("ArrowLeft", 0);
  await press("End", 239);
  await press("Home", 0);
  await press(".", 40);
  await press(".", 90);
  await press(".", 160);
  await press(".", 160);
  await press(",", 90);
  await page.keyboard.press("/");
  await page.keyboard.type("close ,.0");
  assert.equal(await frame(opened), 90);
  assert.equal(await page.inputValue("#search"), "close ,.0");
  await page.fill("#search", "close");
  assert.deepEqual(await page.locator(".curve-row:visible .name").allTextContents(), ["LeftEye.Close", "RightEye.Close"]);
  await page.keyboard.press("Escape");
  await page.keyboard.press("?");
  assert.ok(await page.locator("#keys").isVisible());
  await page.keyboard.press("Escape");
  assert.ok(!(await page.locator("#keys").isVisible()));
  await page.click("#look-side"); // a clicked button does not keep the space bar
  await page.keyboard.press(" ");
  await page.waitForFunction(() => (window.mien?.frame() ?? 0) > 92);
  await page.keyboard.press(" ");
  const paused = await frame(opened);
  await page.waitForTimeout(120);
  assert.equal(await frame(opened), paused);
  await page.focus("#scrubber");
  await press("Home", 0);
  await press("ArrowRight", 1);
  await finish(opened);
});

test("frame numbers and timecodes can be typed", async () => {
  const opened = await openData(browser, "small", ...smallPage({}, { timecode: "10:02:59;28@30000/1001", rate: [30000, 1001] }));
  const { page } = opened;
  await page.fill("#frame-number", "151");
  await page.press("#frame-number", "Enter");
  assert.equal(await frame(opened), 50);
  await page.fill("#clock", "10:03:00:02");
  await page.press("#clock", "Enter");
  assert.equal(await frame(opened), 2);
  assert.equal(await page.inputValue("#clock"), "10:03:00;02"); // drop frame
  await page.fill("#clock", "nonsense");
  await page.press("#clock", "Enter");
  assert.equal(await page.getAttribute("#clock", "aria-invalid"), "true");
  await page.press("#clock", "Escape");
  assert.equal(await page.inputValue("#clock"), "10:03:00;02");
  await finish(opened);
});

test("hostile names are text", async () => {
  const hostile = [
    "<img src=x onerror=window.hacked=1>",
    "</script><script>window.hacked=1</script>",
    "<!--<script>",
    "'\"><svg onload=window.hacked=1>",
    "🙂👩‍👩‍👧 e\u0301",
    "\u202Eשלום abc\u2066",
    "long ".repeat(1000),
    "$& $1 $` \u2028 \u0000",
  ];
  const bytes = new PageBytes();
  const side = makeSide(bytes, { ...small, markers: 0, curves: { [hostile[0]]: hostile, [hostile[6]]: ["a"] } });
  const withMarkers = makeSide(bytes, { ...small, markers: 8, curves: {} });
  side.markers = { ...withMarkers.markers!, names: hostile, parts: hostile };
  side.name = hostile[1];
  side.command = hostile.join(" ");
  side.facts = hostile.map((text) => ({ title: text, rows: [[text, text]] }));
  side.notes = hostile;
  side.flags = hostile.map((text, i) => ({ kind: text, text, first: i, last: i, curve: [hostile[0], text] }));
  side.worst = hostile.map((text, frame) => ({ frame, text }));
  side.spans = hostile.map((name, i) => ({ kind: hostile[i], name, first: 0, last: 9 }));
  const comparison = {
    text: hostile[0],
    curves: hostile.map((name) => ({ group: name, name, largest: 1, largest_frame: 3, rms: 1, correlation: null, lag_frames: null })),
  };
  const data = makePage(bytes, 240, [side, side], { title: hostile[1], generator: hostile[0], timecode: hostile[0], comparison });
  const opened = await openData(browser, "hostile", data, bytes);
  const { page } = opened;
  for (const tab of ["Facts", "Findings", "Markers", "Compare"]) await page.getByRole("tab", { name: tab }).click();
  await page.mouse.move(500, 600);
  await page.keyboard.press(".");
  const seen = await page.evaluate(() => ({
    hacked: (window as { hacked?: number }).hacked,
    images: document.querySelectorAll("img").length,
    scripts: document.scripts.length,
    title: document.querySelector("#title")?.textContent,
    rows: [...document.querySelectorAll(".curve-row .name")].map((name) => name.textContent),
    overflow: document.documentElement.scrollWidth - innerWidth,
  }));
  assert.deepEqual([seen.hacked, seen.images, seen.scripts], [undefined, 0, 2]);
  assert.equal(seen.title, hostile[1]);
  assert.deepEqual(seen.rows.slice(0, 8), hostile);
  assert.ok(seen.overflow <= 0);
  await finish(opened, "hostile");
});

test("the curves zoom and pan by wheel, drag and buttons, and a click seeks", async () => {
  const opened = await openData(browser, "small", ...smallPage());
  const { page } = opened;
  const box = await page.locator("#plot").boundingBox();
  assert.ok(box);
  const shown = () => hook(page, (mien) => mien.curveWindow());
  const whole = await shown();
  const [left, right, y] = [box.x + 54, box.x + box.width - 2, box.y + 90];
  const at = (share: number) => left + share * (right - left);
  await page.mouse.click(at(0.5), y);
  assert.ok(Math.abs((await frame(opened)) - 119.5) <= 2.5, `frame ${await frame(opened)} in the middle`);
  await page.mouse.move(at(0.25), y);
  await page.mouse.wheel(0, -400);
  await page.waitForFunction((span) => (window.mien?.curveWindow()[1] ?? 0) < span * 0.8, whole[1]);
  await page.mouse.dblclick(at(0.6), y);
  assert.deepEqual(await shown(), whole);
  await page.mouse.move(at(0.5), y);
  await page.mouse.down();
  await page.mouse.move(at(0.6), y, { steps: 3 });
  await page.mouse.move(at(0.75), y, { steps: 3 });
  await page.mouse.up();
  const zoomed = await shown();
  const share = (zoomed[1] - zoomed[0]) / (whole[1] - whole[0]);
  assert.ok(Math.abs(share - 0.25) < 0.02, `a quarter is shown: ${share}`);
  await page.keyboard.down("Shift");
  await page.mouse.move(at(0.2), y);
  await page.mouse.down();
  await page.mouse.move(at(0.7), y, { steps: 3 });
  await page.mouse.up();
  await page.keyboard.up("Shift");
  assert.ok((await shown())[0] < zoomed[0] - 0.5);
  await page.click("#zoom-all");
  await page.click("#zoom-in");
  assert.ok((await shown())[1] - (await shown())[0] < whole[1] * 0.51);
  await page.click("#zoom-out");
  assert.ok(Math.abs((await shown())[1] - whole[1]) < 1e-9);
  // The playhead stays in view while it plays.
  await page.click("#zoom-in");
  await page.click("#zoom-in");
  await page.keyboard.press("Home");
  await page.selectOption("#speed", "2");
  await page.keyboard.press(" ");
  await page.waitForFunction(() => (window.mien?.curveWindow()[0] ?? 0) > 1);
  await finish(opened);
});

test("curves are chosen from the list, by flags and by default", async () => {
  const opened = await openData(browser, "small", ...smallPage());
  const { page } = opened;
  const chosen = () => hook(page, (mien) => mien.curvesShown());
  assert.equal((await chosen()).filter((name) => name.startsWith("Templates/")).length, 4);
  await page.click("#select-none");
  assert.deepEqual(await chosen(), []);
  await page.waitForSelector(".plot-empty", { state: "visible" });
  await page.getByRole("tab", { name: "Findings" }).click();
  await page.locator(".finding", { hasText: "LeftEye.Close" }).click();
  assert.deepEqual(await chosen(), ["Templates/LeftEye.Close"]);
  assert.equal(await frame(opened), 90);
  await page.getByLabel("Select all curves of Head").click();
  assert.equal((await chosen()).length, 4);
  await page.locator(".curve-row", { hasText: "Pitch" }).click();
  assert.equal((await chosen()).length, 3);
  await finish(opened);
});

test("facts, notes, the command and the licences are there", async () => {
  const opened = await openData(browser, "small", ...smallPage({ side: { notes: ["a note"] } }));
  const { page } = opened;
  assert.equal(await page.locator(".notes li").textContent(), "a note");
  assert.match((await page.locator(".facts").textContent()) ?? "", /Neutral face.*frames 1 to 30/);
  const copy = page.getByLabel("Copy the command");
  await copy.click();
  await page.waitForFunction(() => /Copied|Selected/.test(document.querySelector(".command button")?.textContent ?? ""));
  await page.click("#open-about");
  const about = (await page.locator("#about").textContent()) ?? "";
  assert.match(about, /three 0\.187\.0, MIT/);
  assert.match(about, /Permission is hereby granted, free of charge/);
  assert.match(about, /mien test/);
  await finish(opened);
});

test("controls have names, and nothing overflows on screens, tablets and phones, in both themes", async () => {
  const [data, bytes] = samplePage();
  const path = writePage("sample", fillPage(template, data, bytes));
  const sizes = [
    { hasTouch: false, screens: [[1280, 720, "dark"], [1280, 720, "light"], [1024, 768, "light"]] },
    { hasTouch: true, screens: [[1024, 768, "dark"], [768, 1024, "light"], [390, 844, "light"]] },
  ] as const;
  for (const { hasTouch, screens } of sizes) {
    const [width, height, colorScheme] = screens[0];
    const opened = await openFile(browser, path, { viewport: { width, height }, colorScheme, hasTouch });
    const { page } = opened;
    await hook(page, (mien) => mien.seek(33));
    for (const [width, height, colorScheme] of screens) {
      await page.setViewportSize({ width, height });
      await page.emulateMedia({ colorScheme });
      await page.click("#look-reset");
      const found = await page.evaluate(() => ({
        overflow: document.documentElement.scrollWidth - innerWidth,
        nameless: [...document.querySelectorAll("button, input, select, [role=slider], [role=separator]")]
          .filter((control) => {
            const label = control.getAttribute("aria-label") ?? control.closest("label")?.textContent ?? control.textContent;
            return !label?.trim();
          })
          .map((control) => control.outerHTML),
        background: getComputedStyle(document.querySelector("header") as Element).backgroundColor,
      }));
      assert.ok(found.overflow <= 0, `${width} x ${height}: ${found.overflow} pixels too wide`);
      assert.deepEqual(found.nameless, []);
      assert.equal(found.background, colorScheme === "dark" ? "rgb(24, 28, 32)" : "rgb(255, 255, 255)");
      await page.waitForTimeout(60);
      await page.screenshot({ path: `dist/pictures/sample_${width}x${height}_${colorScheme}.png` });
    }
    await finish(opened);
  }
});

test("the theme can be switched", async () => {
  const opened = await openData(browser, "small", ...smallPage());
  const theme = () => opened.page.evaluate(() => document.documentElement.dataset.theme);
  assert.equal(await theme(), "dark");
  await opened.page.click("#theme");
  assert.equal(await theme(), "light");
  await finish(opened);
});

test("two sides stand beside each other; a compared curve is shown at its largest difference", async () => {
  const [data, bytes] = comparedPage();
  const opened = await openData(browser, "compared", data, bytes);
  const { page } = opened;
  const at = async (side: number) => (await page.evaluate((s) => window.mien?.matrixShown(s, "head"), side))?.[12] ?? NaN;
  assert.ok((await at(1)) - (await at(0)) > 150, "a head's width apart");
  assert.ok(await page.locator(".side-label", { hasText: "landmarks_calibrated.csv" }).isVisible());
  const first = page.locator("#panel-compare tbody tr").first();
  const largest = Math.max(...(data.comparison?.curves ?? []).map((curve) => curve.largest));
  assert.equal(await first.locator("td").nth(1).textContent(), largest.toFixed(3));
  const compared = data.comparison?.curves.find((curve) => curve.largest === largest);
  await first.locator("button").click();
  assert.equal(await frame(opened), compared?.largest_frame);
  assert.deepEqual(await hook(page, (mien) => mien.curvesShown()), [`${compared?.group}/${compared?.name}`]);
  await page.getByRole("button", { name: "Corr." }).click();
  const sorted = await page.locator("#panel-compare tbody tr td:nth-child(5)").allTextContents();
  const numbers = sorted.filter((text) => text !== "–").map(Number);
  assert.deepEqual(numbers, [...numbers].sort((a, b) => b - a));
  assert.equal(sorted[sorted.length - 1], "–");
  await page.click("#select-default");
  await page.setViewportSize({ width: 1280, height: 720 });
  await page.click("#look-reset");
  await page.waitForTimeout(60);
  await page.screenshot({ path: "dist/pictures/compared_1280x720_dark.png" });
  await page.click("#show-overlay");
  assert.ok(Math.abs((await at(1)) - (await at(0))) < 1);
  await page.setViewportSize({ width: 1024, height: 768 });
  await page.click("#theme");
  await page.waitForTimeout(60);
  await page.screenshot({ path: "dist/pictures/overlaid_1024x768_light.png" });
  await page.click("#show-overlay");
  await page.waitForTimeout(60);
  await finish(opened, "compared_1024x768_light");
});

test("takes with little in them: no head, no markers, one frame, gaps only, nothing at all", async () => {
  const bare = (): [PageData, PageBytes] => {
    const bytes = new PageBytes();
    return [makePage(bytes, 0, [{ name: "empty" }]), bytes];
  };
  const pages: Record<string, [PageData, PageBytes]> = {
    no_markers: smallPage({ markers: 0 }),
    one_frame: smallPage({ frames: 1, side: { flags: [], spans: [] } }),
    gaps_only: smallPage({ state: () => 0 }),
    no_curves: smallPage({ curves: {} }),
    empty: bare(),
  };
  for (const [name, [data, bytes]] of Object.entries(pages)) {
    const opened = await openData(browser, name, data, bytes);
    const { page } = opened;
    await page.keyboard.press("End");
    await page.keyboard.press(" ");
    await page.keyboard.press(".");
    await page.mouse.move(600, 600);
    await page.click("#look-side");
    const text = (await page.locator("#summary").textContent()) ?? "";
    assert.match(text, { one_frame: /^1 frame ·/, empty: /^0 frames ·/ }[name] ?? /^240 frames ·/);
    if (name === "gaps_only") assert.equal(await page.locator(".state-gap [data-count]").textContent(), "12");
    await finish(opened, name);
  }
});

test("markers keep their last place in a gap, and each state is counted", async () => {
  const state = (marker: number, f: number) => (marker === 0 ? (f < 50 ? 1 : 0) : marker < 5 ? marker : 1);
  const opened = await openData(browser, "states", ...smallPage({ state }));
  const { page } = opened;
  await hook(page, (mien) => mien.seek(200));
  const counts = await page.locator("#legend [data-count]").allTextContents();
  assert.deepEqual(counts, ["1", "8", "1", "1", "1"]);
  const shown = await hook(page, (mien) => mien.markerShown(0, 0));
  assert.equal(shown?.state, 0);
  markerAt(0, 12, 49).forEach((value, axis) => assert.ok(Math.abs((shown?.place[axis] ?? NaN) - value) <= 0.026));
  await page.getByRole("tab", { name: "Markers" }).click();
  await page.getByRole("button", { name: "Gaps" }).click();
  const first = page.locator("#panel-markers tbody tr").first();
  assert.match((await first.textContent()) ?? "", /^M0.*79 %/); // 190 of 240
  await first.locator("button").click();
  await page.waitForFunction(() => document.querySelector(".marker-label.chosen:not([hidden])"));
  assert.match((await page.locator(".marker-label.chosen").textContent()) ?? "", /M0gap · Mouth/);
  await finish(opened, "states");
});

test("without WebGL the page says so, and the rest works", async () => {
  const [data, bytes] = samplePage();
  const path = writePage("sample", fillPage(template, data, bytes));
  const opened = await openFile(browser, "/dev/null", {}, false);
  await opened.page.addInitScript(() => {
    const original = HTMLCanvasElement.prototype.getContext;
    HTMLCanvasElement.prototype.getContext = function (this: HTMLCanvasElement, kind: string, ...rest: unknown[]) {
      return kind.startsWith("webgl") ? null : (original as (...all: unknown[]) => unknown).call(this, kind, ...rest);
    } as typeof original;
  });
  await opened.page.goto(`file://${path}`);
  await opened.page.waitForFunction(() => window.mien !== undefined);
  await hook(opened.page, (mien) => mien.ready);
  assert.match((await opened.page.locator("#stage-messages").textContent()) ?? "", /WebGL is unavailable/);
  await opened.page.keyboard.press("ArrowRight");
  assert.equal(await frame(opened), 1);
  assert.ok((await hook(opened.page, (mien) => mien.curvesShown())).length > 5);
  opened.faults.splice(0, opened.faults.length, ...opened.faults.filter((fault) => !/WebGL/.test(fault)));
  await finish(opened, "no_webgl");
});

test("a head that cannot be shown is named, and the markers stay", async () => {
  const bytes = new PageBytes();
  const side: SideData = makeSide(bytes, small);
  const json = Buffer.from(
    JSON.stringify({ asset: { version: "2.0" }, extensionsUsed: ["KHR_draco_mesh_compression"], extensionsRequired: ["KHR_draco_mesh_compression"] }).padEnd(160),
  );
  const header = Buffer.alloc(20);
  header.write("glTF");
  [2, 20 + json.length, json.length, 0x4e4f534a].forEach((value, i) => header.writeUInt32LE(value, 4 + i * 4));
  side.head = { glb: bytes.plain(Buffer.concat([header, json])), name: "draco.glb" };
  const opened = await openData(browser, "draco", makePage(bytes, 240, [side]), bytes);
  assert.match((await opened.page.locator("#stage-messages").textContent()) ?? "", /draco\.glb cannot be shown here.*draco/i);
  assert.equal(await opened.page.locator(".state-measured [data-count]").textContent(), "12");
  await finish(opened);
});

test("a page without data, of another format or damaged says so", async () => {
  const message = async (name: string, text: string) => {
    const opened = await openFile(browser, writePage(name, text), {}, false);
    await opened.page.waitForSelector("#problems:not([hidden])");
    const found = (await opened.page.locator("#problems").textContent()) ?? "";
    await finish(opened);
    return found;
  };
  assert.match(await message("unfilled", template), /no data yet/);
  const [data, bytes] = smallPage();
  assert.match(await message("other", fillPage(template, { ...data, format: "mien view 2" }, bytes)), /"mien view 2".*"mien view 1"/);
  const whole = fillPage(template, data, bytes);
  assert.match(await message("no_json", whole.replace('"format"', '"format')), /damaged or cut short/);
  const values = data.sides[0].groups?.[1].values;
  assert.ok(values);
  values.length = 3;
  const opened = await openFile(browser, writePage("damaged", fillPage(template, data, bytes)));
  assert.match((await opened.page.locator("#problems").textContent()) ?? "", /cannot be inflated/);
  assert.equal((await hook(opened.page, (mien) => mien.curvesShown())).length, 4); // of the first group
  await finish(opened);
});

for (const [name, markers, frames, shapes] of [["ten_minutes", 68, 18000, 60], ["long", 160, 36000, 120]] as const) {
  test(`${markers} markers in ${frames} frames stay usable`, async (context) => {
    const bytes = new PageBytes();
    const side = makeSide(bytes, {
      frames,
      markers,
      curves: { Templates: wavyNames("Part.T", 26), Shapes: wavyNames("shape", shapes), Residuals: wavyNames("R", 9) },
    });
    side.head = {
      glb: bytes.plain(readGlb(`${samples}/head.glb`).bytes),
      name: "head.glb",
      morphs: [{ node: 1, rest: Array(27).fill(0), drivers: Array.from({ length: 27 }, (_, i) => ["Shapes", i]) }],
      place: { scale: 1000, translation: [0, 0, 0] },
    };
    const opened = await openData(browser, name, makePage(bytes, frames, [side]), bytes);
    const { page } = opened;
    await page.keyboard.press("End");
    assert.equal(await frame(opened), frames - 1);
    const shown = await hook(page, (mien) => mien.markerShown(0, 7));
    const expected = markerAt(7, markers, frames - 1);
    expected.forEach((value, axis) => assert.ok(Math.abs((shown?.place[axis] ?? NaN) - value) <= 0.026));
    await page.keyboard.press("Home");
    await page.keyboard.press(" ");
    await page.waitForFunction(() => (window.mien?.timings.frameMs.length ?? 0) >= 12);
    await page.keyboard.press(" ");
    const timings = await hook(page, (mien) => ({ ...mien.timings, curves: mien.timings.curvesMs() }));
    await page.getByLabel("Select all curves of Shapes").click();
    await page.waitForTimeout(300);
    const all = await hook(page, (mien) => mien.timings.curvesMs());
    const played = [...timings.frameMs].sort((a, b) => a - b);
    const ms = (value: number) => value.toFixed(1);
    context.diagnostic(
      `${name}: first frame ${ms(timings.firstFrameMs)} ms, decoded ${ms(timings.allDecodedMs)} ms, ` +
        `script per played frame: median ${ms(played[played.length >> 1])} ms, largest ${ms(played[played.length - 1])} ms ` +
        `(${played.length} frames), curves ${ms(timings.curves)} ms, with all shapes ${ms(all)} ms`,
    );
    await finish(opened, name);
  });
}
