// Bundles the tests of a folder and runs them with Node's own test runner.
//
//   node tests/run.mjs unit|browser
//
// The tests in the browser need Chromium, whose place may be in the variable CHROMIUM. Without it they are skipped: the
// exit code is then 77.

import { build } from "esbuild";
import { spawnSync } from "node:child_process";
import { existsSync, readdirSync, rmSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const root = dirname(dirname(fileURLToPath(import.meta.url)));
const kind = process.argv[2];
const folder = join(root, "tests", kind);
const out = join(root, "dist/tests", kind);
const files = readdirSync(folder).filter((name) => name.endsWith(".test.ts"));
if (!files.length) throw new Error(`there are no tests in ${folder}`);

const env = { ...process.env };
if (kind === "browser") {
  const places = [env.CHROMIUM, "/usr/bin/chromium", "/usr/bin/chromium-browser", "/usr/bin/google-chrome"];
  env.CHROMIUM = places.find((place) => place && existsSync(place));
  if (!env.CHROMIUM) {
    console.log("SKIPPED: Chromium was not found, so the page is not tested in a browser");
    process.exit(77);
  }
}
rmSync(out, { recursive: true, force: true });
await build({
  entryPoints: files.map((name) => join(folder, name)),
  bundle: true,
  platform: "node",
  format: "esm",
  packages: "external",
  outdir: out,
  outExtension: { ".js": ".mjs" },
  logLevel: "warning",
});
const made = files.map((name) => join(out, name.replace(/\.ts$/, ".mjs")));
const { status } = spawnSync(process.execPath, ["--test", ...made], { cwd: root, env, stdio: "inherit" });
process.exit(status ?? 1);
