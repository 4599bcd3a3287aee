// Bundles the tests of a folder and runs them with Node's own test runner.
//
//   node tests/run.mjs unit|browser

import { build } from "esbuild";
import { spawnSync } from "node:child_process";
import { readdirSync, rmSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const root = dirname(dirname(fileURLToPath(import.meta.url)));
const kind = process.argv[2];
const folder = join(root, "tests", kind);
const out = join(root, "dist/tests", kind);
const files = readdirSync(folder).filter((name) => name.endsWith(".test.ts"));
if (!files.length) throw new Error(`there are no tests in ${folder}`);
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
const { status } = spawnSync(process.execPath, ["--test", ...made], { cwd: root, stdio: "inherit" });
process.exit(status ?? 1);
