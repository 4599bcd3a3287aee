// The keys of the page, as in editors.

export interface Key {
  /** As KeyboardEvent.key; "Shift+" before it where shift is held and the key is the same. */
  keys: string[];
  /** As shown in the list of keys. */
  label: string;
  text: string;
  run(): void;
}

export function startKeyboard(keys: Key[]): void {
  const byName = new Map(keys.flatMap((key) => key.keys.map((name) => [name, key] as const)));
  document.addEventListener("keydown", (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey || isTyping(event.target)) return;
    if (document.querySelector("dialog[open]")) return;
    const isArrow = event.key.startsWith("Arrow");
    const key = byName.get(event.shiftKey && isArrow ? `Shift+${event.key}` : event.key);
    if (!key || wantsKey(event.target, event.key)) return;
    event.preventDefault();
    key.run();
  });
  // A button that was clicked does not keep the space bar from playing. With the keyboard, focus stays.
  document.addEventListener("click", (event) => {
    const clicked = event.target instanceof Element ? event.target.closest("button, summary") : null;
    if (event.detail > 0 && clicked instanceof HTMLElement) clicked.blur();
  });
}

function isTyping(target: EventTarget | null): boolean {
  if (target instanceof HTMLInputElement) return target.type !== "checkbox" && target.type !== "range";
  return target instanceof HTMLTextAreaElement;
}

/** Keys that the focused element uses itself. */
function wantsKey(target: EventTarget | null, key: string): boolean {
  if (!(target instanceof Element) || target === document.body) return false;
  if (key === " ") return target.matches("button, summary, input, select, [role=tab], [role=separator]");
  if (key.startsWith("Arrow")) return target.matches("select, [role=tab], [role=separator]");
  if (key === "Home" || key === "End") return target.matches("select, [role=tab]");
  return false;
}
