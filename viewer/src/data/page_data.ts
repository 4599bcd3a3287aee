// What the command wrote into the page, unchanged.

import type { PageData } from "./contract";
import { format } from "./contract";

export interface Embedded {
  data: PageData;
  base64: string;
}

/** Throws an Error whose message is for the reader of the page. */
export function readEmbedded(): Embedded {
  const text = document.getElementById("mien-data")?.textContent ?? "";
  if (/^MIEN_/.test(text)) throw new Error("This page has no data yet. The command mien writes it with data.");
  let data: PageData;
  try {
    data = JSON.parse(text) as PageData;
  } catch {
    throw new Error("The page's data cannot be read: the file is damaged or cut short.");
  }
  if (data.format !== format) {
    throw new Error(`The page's data has the format "${String(data.format)}"; this page reads "${format}".`);
  }
  const bytes = document.getElementById("mien-bytes");
  const base64 = bytes?.textContent?.trim() ?? "";
  bytes?.remove(); // the text is kept as a string only as long as it is being decoded
  return { data, base64 };
}
