// Labels over the 3D area: of the marker under the pointer, of the chosen marker, and the names of two sides.

import type { Box3 } from "three";
import { Vector3 } from "three";
import { markerStates } from "../data/contract";
import { element } from "../dom";
import type { SceneSide } from "./scene_side";
import type { Stage } from "./stage";

export interface MarkerOfSide {
  side: number;
  marker: number;
}

const reach = 14; // CSS pixels from the pointer

export class Labels {
  private readonly hover = element("div", "marker-label");
  private readonly chosenLabel = element("div", "marker-label chosen");
  private readonly names: HTMLElement[];
  private tops: (Vector3 | undefined)[] = [];
  private hovered: MarkerOfSide | undefined;
  private chosen: MarkerOfSide | undefined;

  constructor(
    area: HTMLElement,
    private readonly stage: Stage,
    private readonly sides: SceneSide[],
    private readonly onChoice: (choice: MarkerOfSide | undefined) => void,
  ) {
    this.hover.hidden = this.chosenLabel.hidden = true;
    this.names = sides.map((side, s) => {
      const name = element("div", "side-label");
      name.hidden = sides.length < 2;
      name.append(element("span", `side-mark side-${s}`, "AB"[s]), element("bdi", "", side.name));
      return name;
    });
    area.append(...this.names, this.chosenLabel, this.hover);
    const { canvas } = stage;
    let down: { x: number; y: number } | undefined;
    canvas.addEventListener("pointermove", (event) => {
      if (event.buttons || event.pointerType === "touch") return;
      this.hovered = this.markerAt(event);
      this.show();
    });
    canvas.addEventListener("pointerleave", () => {
      this.hovered = undefined;
      this.show();
    });
    canvas.addEventListener("pointerdown", (event) => (down = { x: event.clientX, y: event.clientY }));
    canvas.addEventListener("pointerup", (event) => {
      if (!down || Math.hypot(event.clientX - down.x, event.clientY - down.y) > 4) return;
      this.choose(this.markerAt(event));
      this.onChoice(this.chosen);
    });
    stage.onDraw(() => this.show());
  }

  /** After the sides were placed: their names stand above these boxes, which are in the sides' roots. */
  place(boxes: Box3[]): void {
    if (this.sides.length < 2) return;
    this.tops = boxes.map((box, s) => {
      const top = new Vector3((box.min.x + box.max.x) / 2, box.max.y, (box.min.z + box.max.z) / 2);
      return box.isEmpty() ? undefined : top.add(this.sides[s].root.position);
    });
  }

  choose(choice: MarkerOfSide | undefined): void {
    this.chosen = choice;
    this.stage.request();
  }

  private markerAt(event: PointerEvent): MarkerOfSide | undefined {
    const box = this.stage.canvas.getBoundingClientRect();
    const [x, y] = [event.clientX - box.left, event.clientY - box.top];
    let nearest: MarkerOfSide | undefined;
    let least = reach;
    this.sides.forEach(({ cloud }, side) => {
      if (!cloud?.group.visible) return;
      for (let marker = 0; marker < cloud.data.names.length; ++marker) {
        const place = cloud.worldPlace(marker);
        const at = place && this.stage.project(place);
        const distance = at ? Math.hypot(at.x - x, at.y - y) : Infinity;
        if (distance < least) (nearest = { side, marker }), (least = distance);
      }
    });
    return nearest;
  }

  private show(): void {
    this.showMarker(this.hover, this.hovered);
    this.showMarker(this.chosenLabel, this.chosen);
    this.tops.forEach((top, s) => {
      const name = this.names[s];
      const [at, other] = [top, this.tops[1 - s]].map((place) => place && this.stage.project(place));
      name.hidden = !at;
      if (!at) return;
      const areApart = other !== undefined && Math.abs(other.x - at.x) > 1;
      name.style.maxWidth = `${areApart ? Math.max(60, Math.abs(other.x - at.x) - 8) : 240}px`;
      const y = Math.max(44, at.y - 26) + (areApart ? 0 : s * 24);
      name.style.transform = `translate(-50%, 0) translate(${at.x}px, ${y}px)`;
    });
  }

  private showMarker(label: HTMLElement, which: MarkerOfSide | undefined): void {
    const cloud = which && this.sides[which.side].cloud;
    const place = cloud?.group.visible ? cloud.worldPlace(which?.marker ?? 0) : undefined;
    const at = place && this.stage.project(place);
    label.hidden = !at;
    if (!which || !cloud || !at) return;
    const state = markerStates[cloud.shownStates[which.marker]];
    const key = `${which.side} ${which.marker} ${state}`;
    if (label.dataset.key !== key) {
      label.dataset.key = key;
      const part = cloud.data.parts?.[which.marker];
      const details = [this.sides.length > 1 ? "AB"[which.side] : "", state, part ?? ""].filter(Boolean).join(" · ");
      label.replaceChildren(element("bdi", "name", cloud.data.names[which.marker]), element("span", "details", details));
    }
    label.style.transform = `translate(${Math.round(at.x + 10)}px, ${Math.round(at.y - 12)}px)`;
  }
}
