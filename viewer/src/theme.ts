// Light and dark: the system's choice, or the reader's for this visit. Colours are CSS variables; what is drawn on
// canvases reads them from there.

type Listener = () => void;

const dark = window.matchMedia("(prefers-color-scheme: dark)");
const listeners: Listener[] = [];
let own: "light" | "dark" | undefined;

export function currentTheme(): "light" | "dark" {
  return own ?? (dark.matches ? "dark" : "light");
}

function apply(): void {
  document.documentElement.dataset.theme = currentTheme();
  colours.clear();
  for (const listener of listeners) listener();
}

export function startTheme(toggle: HTMLElement): void {
  dark.addEventListener("change", apply);
  toggle.addEventListener("click", () => {
    own = currentTheme() === "dark" ? "light" : "dark";
    apply();
  });
  apply();
}

export function onTheme(listener: Listener): void {
  listeners.push(listener);
}

const colours = new Map<string, string>();

/** The value of a CSS variable of the theme: colour("text"). */
export function colour(name: string): string {
  let value = colours.get(name);
  if (value === undefined) {
    value = getComputedStyle(document.documentElement).getPropertyValue(`--${name}`).trim();
    colours.set(name, value);
  }
  return value;
}
