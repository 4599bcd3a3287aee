// What the command reported: its call, its notes, and tables of facts.

import type { SideData } from "../data/contract";
import { button, element, nameElement } from "../dom";

export function fillFacts(panel: HTMLElement, sides: SideData[], comparison: string | undefined): void {
  if (comparison) panel.append(element("p", "comparison-text", comparison));
  sides.forEach((side, s) => {
    if (sides.length > 1) {
      const heading = element("h2", "side-heading");
      heading.append(element("span", `side-mark side-${s}`, "AB"[s]), nameElement(side.name));
      panel.append(heading);
    }
    if (side.notes?.length) {
      const notes = element("ul", "notes");
      notes.append(...side.notes.map((note) => element("li", "", note)));
      panel.append(notes);
    }
    for (const { title, rows } of side.facts ?? []) {
      const table = element("table", "facts");
      table.append(element("caption", "", title));
      for (const [name, value] of rows) {
        const row = table.insertRow();
        const head = element("th", "", name);
        head.scope = "row";
        row.append(head, element("td", "", value));
      }
      panel.append(table);
    }
    if (side.command !== undefined) panel.append(commandBox(side.command));
  });
  if (!panel.childElementCount) panel.append(element("p", "hint", "Nothing was reported."));
}

function commandBox(command: string): HTMLElement {
  const box = element("div", "command");
  const code = element("code", "", command);
  code.tabIndex = 0;
  const copy = button("small", "Copy", () => void copyText(command, code).then((done) => {
    copy.textContent = done ? "Copied" : "Selected: copy it";
    setTimeout(() => (copy.textContent = "Copy"), 2000);
  }));
  copy.setAttribute("aria-label", "Copy the command");
  box.append(element("h3", "", "Command"), copy, code);
  return box;
}

/** Where the clipboard is out of reach, as in some browsers for files, the text is selected for copying by hand. */
async function copyText(text: string, shown: HTMLElement): Promise<boolean> {
  try {
    await navigator.clipboard.writeText(text);
    return true;
  } catch {
    const range = document.createRange();
    range.selectNodeContents(shown);
    const selection = getSelection();
    selection?.removeAllRanges();
    selection?.addRange(range);
    return document.execCommand("copy");
  }
}
