// The bar between the 3D area and the curves; dragging it, or the arrow keys, share the height.

import { byId } from "./dom";

export function startSplitter(): void {
  const bar = byId("splitter");
  const page = byId("page");
  const area = byId("stage");
  const setHeight = (height: number) => {
    const free = page.clientHeight - 300;
    const limited = Math.min(Math.max(140, height), Math.max(140, free));
    page.style.setProperty("--stage-height", `${limited}px`);
    bar.setAttribute("aria-valuenow", String(Math.round((limited / Math.max(1, page.clientHeight)) * 100)));
  };
  bar.addEventListener("pointerdown", (event) => bar.setPointerCapture(event.pointerId));
  bar.addEventListener("pointermove", (event) => {
    if (bar.hasPointerCapture(event.pointerId)) setHeight(event.clientY - area.getBoundingClientRect().top);
  });
  bar.addEventListener("keydown", (event) => {
    const step = { ArrowUp: -24, ArrowDown: 24 }[event.key];
    if (!step) return;
    event.preventDefault();
    setHeight(area.clientHeight + step);
  });
}
