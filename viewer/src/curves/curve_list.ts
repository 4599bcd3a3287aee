// The list from which curves are chosen, with their values at the playhead.

import { button, element, nameElement } from "../dom";
import type { Playback } from "../transport/playback";
import type { Curve, CurveGroup } from "./curves";
import { select } from "./curves";
import { valueText } from "./plot";

interface Row {
  group: CurveGroup;
  curve: Curve;
  element: HTMLElement;
  box: HTMLInputElement;
  values: HTMLElement[];
}

export class CurveList {
  private readonly rows: Row[] = [];
  private readonly visible = new Set<Row>();
  private readonly counts: { group: CurveGroup; count: HTMLElement; section: HTMLDetailsElement }[] = [];
  private readonly nothing = element("p", "hint", "No curve has this name.");

  constructor(
    private readonly container: HTMLElement,
    search: HTMLInputElement,
    private readonly groups: CurveGroup[],
    private readonly playback: Playback,
    sideCount: number,
    private readonly changed: () => void,
  ) {
    const watcher = new IntersectionObserver(
      (entries) => {
        for (const entry of entries) {
          const row = this.rows[Number((entry.target as HTMLElement).dataset.row)];
          if (entry.isIntersecting) this.visible.add(row);
          else this.visible.delete(row);
        }
        this.showValues();
      },
      { root: container },
    );
    container.classList.toggle("two-sides", sideCount > 1);
    for (const group of groups) this.addGroup(group, sideCount, watcher);
    this.nothing.hidden = true;
    container.append(this.nothing);
    search.addEventListener("input", () => this.filter(search.value));
    playback.onFrame(() => this.showValues());
    this.showChoice();
  }

  /** After curves were selected elsewhere. */
  showChoice(): void {
    for (const row of this.rows) {
      row.box.checked = row.curve.selected;
      row.box.dataset.hue = String(row.curve.hue);
    }
    for (const { group, count } of this.counts) {
      const selected = group.curves.filter((curve) => curve.selected).length;
      count.textContent = `${selected}/${group.curves.length}`;
    }
    this.showValues();
  }

  reveal(curve: Curve): void {
    const row = this.rows.find((candidate) => candidate.curve === curve);
    const section = row?.element.closest("details");
    if (section) section.open = true;
    row?.element.scrollIntoView({ block: "nearest" });
  }

  /** Only rows in sight. */
  private showValues(): void {
    const { frame } = this.playback;
    for (const row of this.visible) {
      row.values.forEach((cell, side) => {
        const text = valueText(row.curve.values[side]?.[frame], "");
        if (cell.textContent !== text) cell.textContent = text;
      });
    }
  }

  private addGroup(group: CurveGroup, sideCount: number, watcher: IntersectionObserver): void {
    const section = element("details", "curve-group");
    section.open = true;
    const summary = element("summary");
    const title = nameElement(group.name);
    const count = element("span", "count");
    const unit = element("span", "unit", group.unit);
    const all = button("link", "all", () => this.selectAll(group, true));
    all.setAttribute("aria-label", `Select all curves of ${group.name}`);
    const none = button("link", "none", () => this.selectAll(group, false));
    none.setAttribute("aria-label", `Select no curve of ${group.name}`);
    for (const link of [all, none]) link.addEventListener("click", (event) => event.preventDefault());
    summary.append(title, unit, count, all, none);
    section.append(summary);
    for (const curve of group.curves) {
      const label = element("label", "curve-row");
      const box = element("input");
      box.type = "checkbox";
      const values = Array.from({ length: sideCount }, () => element("span", "number value"));
      label.append(box, nameElement(curve.name), ...values);
      label.dataset.row = String(this.rows.length);
      const row = { group, curve, element: label, box, values };
      box.addEventListener("change", () => {
        select(group, curve, box.checked);
        this.showChoice();
        this.changed();
      });
      this.rows.push(row);
      section.append(label);
      watcher.observe(label);
    }
    this.counts.push({ group, count, section });
    this.container.append(section);
  }

  private selectAll(group: CurveGroup, selected: boolean): void {
    for (const row of this.rows) {
      if (row.group === group && !row.element.hidden) select(group, row.curve, selected);
    }
    this.showChoice();
    this.changed();
  }

  private filter(text: string): void {
    const wanted = text.trim().toLocaleLowerCase();
    let found = 0;
    for (const row of this.rows) {
      const matches = row.curve.name.toLocaleLowerCase().includes(wanted);
      row.element.hidden = !matches;
      if (matches) ++found;
    }
    for (const { group, section } of this.counts) {
      section.hidden = this.rows.every((row) => row.group !== group || row.element.hidden);
    }
    this.nothing.hidden = found > 0 || this.groups.length === 0;
  }
}
