// Elements of the page. Text only ever enters it as text.

export function byId<T extends Element = HTMLElement>(id: string): T {
  const found = document.getElementById(id);
  if (!found) throw new Error(`the page has no element ${id}`);
  return found as unknown as T;
}

export function element<K extends keyof HTMLElementTagNameMap>(
  tag: K,
  className = "",
  text = "",
): HTMLElementTagNameMap[K] {
  const made = document.createElement(tag);
  if (className) made.className = className;
  if (text) made.textContent = text;
  return made;
}

/** A name from the user's files: isolated from the direction of the text around it, in full as a tooltip. */
export function nameElement(text: string, className = ""): HTMLElement {
  const made = element("bdi", `name ${className}`, text || "(no name)");
  made.title = text;
  return made;
}

export function button(className: string, text: string, onClick: () => void): HTMLButtonElement {
  const made = element("button", className, text);
  made.type = "button";
  made.addEventListener("click", onClick);
  return made;
}

/** A button that stays pressed. */
export function onToggle(toggle: HTMLElement, changed: (pressed: boolean) => void): void {
  toggle.addEventListener("click", () => {
    const pressed = toggle.getAttribute("aria-pressed") !== "true";
    toggle.setAttribute("aria-pressed", String(pressed));
    changed(pressed);
  });
}
