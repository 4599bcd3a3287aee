// Mouse and touch on the curves: a click seeks, a drag zooms to what it covers, with shift or the middle button it
// pans; on the axis it scrubs. The wheel zooms, with shift it pans. One finger pans, two zoom.

import { element } from "../dom";
import { gutter } from "./lane";
import type { TimeWindow } from "./time_window";

export interface PlotTarget {
  window: TimeWindow;
  /** Of a place in CSS pixels from the container's left edge. */
  secondsAt(x: number): number;
  isAxis(y: number): boolean;
  seek(seconds: number): void;
  point(x: number, y: number): void;
  leave(): void;
}

const clickDistance = 4;

export function addPlotGestures(container: HTMLElement, target: PlotTarget): void {
  const band = element("div", "zoom-band");
  band.hidden = true;
  container.append(band);
  const { window } = target;
  const pointers = new Map<number, { x: number; y: number }>();
  let drag: { kind: "zoom" | "pan" | "scrub"; x: number; y: number; moved: boolean } | undefined;

  const place = (event: MouseEvent) => {
    const box = container.getBoundingClientRect();
    return { x: event.clientX - box.left, y: event.clientY - box.top };
  };

  container.addEventListener(
    "wheel",
    (event) => {
      const { x } = place(event);
      if (x < gutter) return; // scrolls the lanes
      event.preventDefault();
      const pixels = event.deltaMode === 1 ? 30 : 1; // lines
      const across = event.shiftKey ? event.deltaY || event.deltaX : event.deltaX;
      if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) {
        window.pan(target.secondsAt(gutter + across * pixels) - target.secondsAt(gutter));
      } else {
        window.zoom(1.0018 ** (event.deltaY * pixels), target.secondsAt(x));
      }
    },
    { passive: false },
  );

  container.addEventListener("pointerdown", (event) => {
    const { x, y } = place(event);
    if (x < gutter || x > container.clientWidth - 14 || event.button > 1) return;
    container.setPointerCapture(event.pointerId);
    pointers.set(event.pointerId, { x, y });
    const isTouch = event.pointerType === "touch";
    const kind = target.isAxis(y) ? "scrub" : isTouch || event.shiftKey || event.button === 1 ? "pan" : "zoom";
    drag = { kind, x, y, moved: pointers.size > 1 };
    if (kind === "scrub") target.seek(target.secondsAt(x));
    if (event.button === 1) event.preventDefault();
  });

  container.addEventListener("pointermove", (event) => {
    const { x, y } = place(event);
    const held = pointers.get(event.pointerId);
    if (!held || !drag) {
      if (event.pointerType !== "touch") target.point(x, y);
      return;
    }
    if (Math.hypot(x - drag.x, y - drag.y) > clickDistance) drag.moved = true;
    if (pointers.size === 2) {
      const other = [...pointers.entries()].find(([id]) => id !== event.pointerId)?.[1] ?? held;
      const before = Math.max(20, Math.abs(held.x - other.x));
      window.zoom(before / Math.max(20, Math.abs(x - other.x)), target.secondsAt((x + other.x) / 2));
    } else if (drag.kind === "scrub") {
      target.seek(target.secondsAt(x));
    } else if (drag.kind === "pan" && drag.moved) {
      window.pan(target.secondsAt(held.x) - target.secondsAt(x));
    } else if (drag.kind === "zoom" && drag.moved) {
      band.hidden = false;
      band.style.left = `${Math.max(gutter, Math.min(drag.x, x))}px`;
      band.style.width = `${Math.abs(Math.max(gutter, x) - drag.x)}px`;
    }
    held.x = x;
    held.y = y;
  });

  const end = (event: PointerEvent) => {
    pointers.delete(event.pointerId);
    if (!drag || pointers.size) return;
    const { x } = place(event);
    const { kind, moved } = drag;
    const [from, to] = [Math.min(drag.x, x), Math.max(drag.x, x)];
    drag = undefined;
    band.hidden = true;
    if (event.type === "pointercancel") return;
    if (!moved && kind !== "scrub") target.seek(target.secondsAt(x));
    else if (kind === "zoom") window.set(target.secondsAt(Math.max(gutter, from)), target.secondsAt(to));
  };
  container.addEventListener("pointerup", end);
  container.addEventListener("pointercancel", end);
  container.addEventListener("pointerleave", () => target.leave());
  container.addEventListener("dblclick", (event) => {
    if (!target.isAxis(place(event).y)) window.showAll();
  });
}
