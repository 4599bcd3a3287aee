import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";

/** The theme's variables, light first. */
function themes(): Map<string, string>[] {
  const css = readFileSync("src/page.css", "utf8");
  const blocks = [/^:root \{([^}]*)\}/m, /^:root\[data-theme="dark"\] \{([^}]*)\}/m].map((pattern) => pattern.exec(css)?.[1] ?? "");
  return blocks.map((block) => new Map([...block.matchAll(/--([\w-]+): (#[0-9a-f]{6});/g)].map((m) => [m[1], m[2]])));
}

function luminance(hex: string): number {
  const [r, g, b] = [1, 3, 5].map((at) => {
    const share = parseInt(hex.slice(at, at + 2), 16) / 255;
    return share <= 0.04045 ? share / 12.92 : ((share + 0.055) / 1.055) ** 2.4;
  });
  return 0.2126 * r + 0.7152 * g + 0.0722 * b;
}

function contrast(one: string, other: string): number {
  const [low, high] = [luminance(one), luminance(other)].sort((a, b) => a - b);
  return (high + 0.05) / (low + 0.05);
}

test("text has a contrast of at least 4.5, curves and markers of 3, in both themes", () => {
  let compared = 0;
  for (const theme of themes()) {
    const on = (name: string, ground: string, least: number) => {
      const [one, other] = [theme.get(name), theme.get(ground)];
      assert.ok(one && other, `${name} on ${ground}`);
      const found = contrast(one, other);
      assert.ok(found >= least, `${name} on ${ground}: ${found.toFixed(2)}`);
      ++compared;
    };
    for (const ground of ["panel", "raised"]) {
      for (const name of ["text", "muted", "accent"]) on(name, ground, 4.5);
    }
    for (const name of theme.keys()) {
      if (/^curve-|^flag-/.test(name)) on(name, "panel", name.startsWith("flag-") ? 4 : 3);
      // The two yellows are also told apart by shape; on a light ground they cannot reach 3 and stay yellow.
      if (/^marker-/.test(name)) on(name, "stage", name === "marker-filled" ? 1.9 : 2.4);
    }
    on("on-accent", "accent", 4.5);
    on("text", "stage", 4.5);
    on("muted", "stage", 4.5);
  }
  assert.ok(compared > 50);
});
