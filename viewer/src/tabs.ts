// Tabs of the panel beside the 3D area.

import { button, byId, element } from "./dom";

export class Tabs {
  private readonly tabs: { tab: HTMLButtonElement; panel: HTMLElement }[] = [];

  /** An empty panel with its tab; `count` stands behind the title. */
  add(title: string, count?: number): HTMLElement {
    const panel = element("div", "tab-panel");
    panel.setAttribute("role", "tabpanel");
    panel.id = `panel-${title.toLowerCase()}`;
    panel.tabIndex = 0;
    const tab = button("tab", title, () => this.select(title));
    if (count !== undefined) tab.append(element("span", "count", String(count)));
    tab.setAttribute("role", "tab");
    tab.setAttribute("aria-controls", panel.id);
    panel.setAttribute("aria-label", title);
    tab.addEventListener("keydown", (event) => {
      const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
      if (!step) return;
      event.preventDefault();
      const at = this.tabs.findIndex((other) => other.tab === tab);
      const next = this.tabs[(at + step + this.tabs.length) % this.tabs.length];
      next.tab.click();
      next.tab.focus();
    });
    byId("tabs").append(tab);
    byId("panels").append(panel);
    this.tabs.push({ tab, panel });
    if (this.tabs.length === 1) this.select(title);
    else panel.hidden = true;
    return panel;
  }

  select(title: string): void {
    for (const { tab, panel } of this.tabs) {
      const isSelected = panel.getAttribute("aria-label") === title;
      tab.setAttribute("aria-selected", String(isSelected));
      tab.tabIndex = isSelected ? 0 : -1;
      panel.hidden = !isSelected;
    }
  }
}
