// Draws the pictures of pages in these documents: solves the sample take, compares two solves of it, opens the pages in
// Chromium and photographs them.
//
//   node docs/draw_pages.mjs BUILD
//
// BUILD is a build tree with the command and the viewer's packages (build/release). Run it from the source tree.

import { execFileSync } from 'node:child_process';
import { mkdtempSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join, resolve } from 'node:path';
import { pathToFileURL } from 'node:url';

const build = resolve(process.argv[2]);
const { chromium } = createRequire(join(build, 'viewer/page/'))('playwright-core');
const folder = mkdtempSync(join(tmpdir(), 'mien_pictures_'));
const mien = (...parameters) => execFileSync('mien', [...parameters, '--quiet'], {
  stdio: 'inherit',
  env: { ...process.env, PATH: `${build}/bin:${process.env.PATH}` },
});
const out = (name) => join(folder, name);

const solve = ['solve', 'samples/landmarks.csv', '--performer', 'landmarks68', '--character', 'arkit52'];
mien(...solve, '-o', out('parts.json'), '--view', out('viewer.html'));
mien(...solve, '--solver', 'fit', '-o', out('fit.json'));
mien('compare', out('parts.json'), out('fit.json'), '--view', out('compare.html'));

const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
  args: ['--no-sandbox', '--use-angle=swiftshader', '--enable-unsafe-swiftshader'],
});
for (const [name, frame] of [['viewer', 332], ['compare', 332]]) {
  const page = await browser.newPage({ viewport: { width: 1280, height: 720 }, colorScheme: 'light' });
  await page.goto(pathToFileURL(out(`${name}.html`)).href);
  await page.waitForFunction(() => window.mien);
  await page.evaluate(() => window.mien.ready);
  await page.evaluate((index) => window.mien.seek(index), frame);
  await page.waitForTimeout(500); // drawn
  await page.screenshot({ path: `docs/${name}.png` });
  await page.close();
}
await browser.close();
