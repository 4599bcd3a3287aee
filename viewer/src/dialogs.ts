// The list of keys and the licences of what is bundled.

import { byId, element } from "./dom";
import type { Key } from "./transport/keyboard";

/** Written by the build from the packages' own files. */
declare const BUNDLED: { name: string; version: string; license: string; text: string }[];

export function openDialog(id: string): void {
  byId<HTMLDialogElement>(id).showModal();
}

export function fillDialogs(keys: Key[], generator: string): void {
  const list = byId("key-list");
  for (const key of keys) {
    const term = element("dt");
    for (const name of key.label.split(" ")) term.append(element("kbd", "", name));
    const entry = element("div");
    entry.append(term, element("dd", "", key.text));
    list.append(entry);
  }
  byId("generator").textContent = generator;
  for (const { name, version, license, text } of BUNDLED) {
    byId("licence-list").append(element("h3", "", `${name} ${version}, ${license}`), element("pre", "", text));
  }
  byId("open-keys").addEventListener("click", () => openDialog("keys"));
  byId("open-about").addEventListener("click", () => openDialog("about"));
  for (const dialog of document.querySelectorAll("dialog")) {
    dialog.querySelector(".close")?.addEventListener("click", () => dialog.close());
    dialog.addEventListener("click", (event) => {
      if (event.target === dialog) dialog.close(); // the backdrop
    });
  }
}
