// Builds the page: one file with its script and styles in it.
//
//   node build.mjs [OUTPUT]      dist/viewer.html without OUTPUT
//
// Reads sources beside this file and packages from node_modules below the current folder or beside this file.

import { build, transform } from "esbuild";
import { createHash } from "node:crypto";
import { existsSync, mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const here = dirname(fileURLToPath(import.meta.url));
const output = resolve(process.argv[2] ?? join(here, "dist/viewer.html"));
const packages = [process.cwd(), here].map((folder) => join(folder, "node_modules")).find(existsSync);
if (!packages) throw new Error("there is no node_modules: run npm ci first");

const bundled = ["three"].map((name) => {
  const { version, license } = JSON.parse(readFileSync(join(packages, name, "package.json"), "utf8"));
  return { name, version, license, text: readFileSync(join(packages, name, "LICENSE"), "utf8").trim() };
});

const { outputFiles } = await build({
  entryPoints: [join(here, "src/main.ts")],
  bundle: true,
  write: false,
  minify: true,
  format: "iife",
  target: ["chrome111", "firefox113", "safari16.4"], // the first with all that the page uses
  charset: "utf8",
  legalComments: "none", // the licences stand in the page in full
  nodePaths: [packages],
  define: { BUNDLED: JSON.stringify(bundled) },
  logLevel: "warning",
});
const script = outputFiles[0].text.trim();
const { code } = await transform(readFileSync(join(here, "src/page.css"), "utf8"), { loader: "css", minify: true });
const style = code.trim();
if (/<\/script|<!--/i.test(script)) throw new Error("the script contains text that would end it");

const hash = (text) => `'sha256-${createHash("sha256").update(text).digest("base64")}'`;
const csp = [
  "default-src 'none'",
  `script-src ${hash(script)}`,
  `style-src ${hash(style)}`,
  "img-src data: blob:",
  "connect-src blob:", // textures in a head
  "base-uri 'none'",
  "form-action 'none'",
].join("; ");

const parts = { csp, style, script };
const page = readFileSync(join(here, "src/page.html"), "utf8").replace(/\{\{(\w+)\}\}/g, (_, name) => parts[name]);

// The command replaces these two words, so each stands in the page once, in its line.
for (const [id, type, word] of [
  ["mien-data", "application/json", "MIEN_DATA"],
  ["mien-bytes", "text/plain", "MIEN_BYTES"],
]) {
  const line = `\n<script id="${id}" type="${type}">${word}</script>\n`;
  if (page.split(word).length !== 2 || !page.includes(line)) throw new Error(`${word} has to be in the page once`);
}
if (/(?:src|href)="(?![#"]|data:)/.test(page.replace(script, ""))) throw new Error("the page refers to another file");

mkdirSync(dirname(output), { recursive: true });
writeFileSync(output, page);
console.log(`${output}: ${(page.length / 1024).toFixed(0)} KB`);
