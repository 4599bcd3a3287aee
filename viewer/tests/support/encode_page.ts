// Writes pages as the command does, for tests: numbers as codes in zlib streams, everything put into the built page.

import { deflateSync } from "node:zlib";
import type { ArrayPlace, BytesPlace, PageData } from "../../src/data/contract";

/** Codes of the columns' values, low bytes of all codes first. `bytes` per code, or as few as are enough. */
export function encodeCodes(
  columns: ArrayLike<number>[],
  step: number,
  atLeastBytes = 1,
): { planes: Uint8Array; bytes: number } {
  const rows = columns[0]?.length ?? 0;
  const codes = new Uint32Array(rows * columns.length);
  let largest = 0;
  columns.forEach((column, c) => {
    let previous = 0;
    for (let r = 0; r < rows; ++r) {
      if (Number.isNaN(column[r])) continue;
      const q = Math.round(column[r] / step);
      const d = q - previous;
      previous = q;
      const code = (d >= 0 ? d * 2 : -d * 2 - 1) + 1;
      if (code > 0xffffffff) throw new Error("a difference is too large for four bytes");
      codes[c * rows + r] = code;
      if (code > largest) largest = code;
    }
  });
  let bytes = atLeastBytes;
  while (largest >= 256 ** bytes) ++bytes;
  const planes = new Uint8Array(codes.length * bytes);
  for (let b = 0; b < bytes; ++b) {
    for (let i = 0; i < codes.length; ++i) planes[b * codes.length + i] = (codes[i] / 256 ** b) & 255;
  }
  return { planes, bytes };
}

/** Collects the bytes of a page. */
export class PageBytes {
  private readonly sections: Uint8Array[] = [];
  private size = 0;

  array(columns: ArrayLike<number>[], step: number, atLeastBytes = 1): ArrayPlace {
    const { planes, bytes } = encodeCodes(columns, step, atLeastBytes);
    const place = this.section(planes);
    return { ...place, rows: columns[0]?.length ?? 0, columns: columns.length, step, bytes };
  }

  plain(bytes: Uint8Array): BytesPlace {
    return { ...this.section(bytes), size: bytes.length };
  }

  base64(): string {
    return Buffer.concat(this.sections).toString("base64");
  }

  private section(bytes: Uint8Array): { offset: number; length: number } {
    const deflated = deflateSync(bytes, { level: 1 });
    this.sections.push(deflated);
    this.size += deflated.length;
    return { offset: this.size - deflated.length, length: deflated.length };
  }
}

/** The page with the data, as the command writes it. */
export function fillPage(page: string, data: PageData, bytes: PageBytes): string {
  const json = JSON.stringify(data).replaceAll("<", "\\u003c");
  return page.replace("MIEN_DATA", () => json).replace("MIEN_BYTES", () => bytes.base64());
}
