// Opens pages in Chromium as a reader does: from a file, without a network.

import assert from "node:assert/strict";
import { mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { pathToFileURL } from "node:url";
import type { Browser, Page, BrowserContextOptions } from "playwright-core";
import { chromium } from "playwright-core";
import type { PageData } from "../../src/data/contract";
import type {} from "../../src/test_hook";
import type { PageBytes } from "./encode_page";
import { fillPage } from "./encode_page";

export const samples = process.env.MIEN_SAMPLES ?? "../samples";
export const template = readFileSync("dist/viewer.html", "utf8");
const artefacts = "dist/pictures"; // pages and pictures, to look at
mkdirSync(artefacts, { recursive: true });

export async function openBrowser(): Promise<Browser> {
  const executablePath = process.env.CHROMIUM; // tests/run.mjs finds it
  if (!executablePath) throw new Error("there is no Chromium");
  return chromium.launch({
    executablePath,
    args: ["--no-sandbox", "--use-angle=swiftshader", "--enable-unsafe-swiftshader"],
  });
}

export interface Opened {
  page: Page;
  /** Errors and warnings of the console, exceptions, violations of the policy, and requests for anything else. */
  faults: string[];
}

/** Opens a page file in a new window, offline. Unless `waits` is false, waits until everything is decoded. */
export async function openFile(
  browser: Browser,
  path: string,
  options: BrowserContextOptions = {},
  waits = true,
): Promise<Opened> {
  return openAddress(browser, pathToFileURL(path).href, { offline: true, ...options }, waits);
}

/** The same of a page on a server of this machine, which may ask that server for its events and nothing else. */
export async function openAddress(
  browser: Browser,
  address: string,
  options: BrowserContextOptions = {},
  waits = true,
): Promise<Opened> {
  const context = await browser.newContext({
    viewport: { width: 1000, height: 600 }, // small pages are drawn faster by software
    colorScheme: "dark",
    ...options,
  });
  context.setDefaultTimeout(90000); // drawing by software is slow on a busy machine
  const page = await context.newPage();
  const faults: string[] = [];
  page.on("console", (message) => {
    // Software drawing reads pixels back slowly, which the driver reports.
    if (/GPU stall due to ReadPixels/.test(message.text())) return;
    if (["error", "warning"].includes(message.type())) faults.push(message.text());
  });
  page.on("pageerror", (error) => faults.push(String(error)));
  page.on("request", (request) => {
    const url = request.url();
    if (/^(blob|data):/.test(url)) return;
    if (request.resourceType() === "document" && (url.startsWith("file:") || url === address)) return;
    if (address.startsWith("http:") && url.split("?")[0] === new URL("events", address).href) return;
    faults.push(`requested ${url.slice(0, 100)}`);
  });
  await page.addInitScript(() => {
    document.addEventListener("securitypolicyviolation", (event) => console.error(`violates ${event.violatedDirective}`));
  });
  await page.goto(address);
  if (waits) {
    await page.waitForFunction(() => window.mien !== undefined);
    await page.evaluate(() => window.mien?.ready);
    await page.evaluate(() => new Promise((drawn) => requestAnimationFrame(() => requestAnimationFrame(drawn))));
  }
  return { page, faults };
}

export function writePage(name: string, text: string): string {
  const path = join(process.cwd(), artefacts, `${name}.html`);
  writeFileSync(path, text);
  return path;
}

export async function openData(
  browser: Browser,
  name: string,
  data: PageData,
  bytes: PageBytes,
  options: BrowserContextOptions = {},
): Promise<Opened> {
  return openFile(browser, writePage(name, fillPage(template, data, bytes)), options);
}

/** A picture for people to look at, and the end of a page that must not have had a fault. */
export async function finish({ page, faults }: Opened, picture?: string): Promise<void> {
  if (picture) await page.screenshot({ path: join(artefacts, `${picture}.png`), timeout: 90000 });
  await page.context().close();
  assert.deepEqual(faults, []);
}

export function hook<T>(page: Page, use: (mien: NonNullable<Window["mien"]>) => T): Promise<T> {
  return page.evaluate(`(${use.toString()})(window.mien)`) as Promise<T>;
}
