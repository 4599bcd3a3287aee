// The whole take as a strip: spans and flags as marks, and the current frame.

import type { FlagData, SpanData } from "../data/contract";
import { element } from "../dom";
import { colour, onTheme } from "../theme";
import type { Playback } from "./playback";

export class Scrubber {
  private readonly canvas = element("canvas", "scrubber-marks");
  private readonly thumb = element("div", "scrubber-thumb");
  private width = 0; // measured only when it changes: asking in each frame would lay the page out each time

  constructor(
    private readonly slider: HTMLElement,
    private readonly spans: SpanData[],
    private readonly flags: FlagData[],
    private readonly playback: Playback,
  ) {
    slider.append(this.canvas, this.thumb);
    slider.setAttribute("aria-valuemin", "0");
    slider.setAttribute("aria-valuemax", String(playback.timeline.last));
    const seekTo = (event: PointerEvent) => {
      const box = slider.getBoundingClientRect();
      const share = Math.min(1, Math.max(0, (event.clientX - box.left) / Math.max(1, box.width)));
      playback.seek(playback.timeline.nearest(share * playback.timeline.duration));
    };
    slider.addEventListener("pointerdown", (event) => {
      if (event.button !== 0) return;
      slider.setPointerCapture(event.pointerId);
      seekTo(event);
    });
    slider.addEventListener("pointermove", (event) => {
      if (slider.hasPointerCapture(event.pointerId)) seekTo(event);
    });
    playback.onFrame(() => this.showFrame());
    onTheme(() => this.draw());
    new ResizeObserver(() => {
      this.width = slider.clientWidth;
      this.draw();
      this.showFrame();
    }).observe(slider);
  }

  private place(index: number): number {
    const { timeline } = this.playback;
    return timeline.duration ? timeline.seconds(timeline.clamp(index)) / timeline.duration : 0;
  }

  private showFrame(): void {
    const { frame, timeline } = this.playback;
    this.thumb.style.transform = `translateX(${this.place(frame) * this.width}px)`;
    this.slider.setAttribute("aria-valuenow", String(frame));
    this.slider.setAttribute("aria-valuetext", `frame ${timeline.number(frame)}, ${timeline.clock(frame)}`);
  }

  /** Gaps above, filled in the middle, resting below; flags over all of them. */
  private draw(): void {
    const { width } = this;
    const height = this.slider.clientHeight;
    const ratio = window.devicePixelRatio || 1;
    this.canvas.width = Math.max(1, Math.round(width * ratio));
    this.canvas.height = Math.max(1, Math.round(height * ratio));
    const context = this.canvas.getContext("2d") as CanvasRenderingContext2D;
    context.scale(ratio, ratio);
    const rowHeight = (height - 10) / 3;
    ["gap", "filled", "resting"].forEach((kind, row) => {
      context.fillStyle = colour(`span-${kind}`);
      for (const span of this.spans) {
        if (span.kind !== kind) continue;
        const from = this.place(span.first) * width;
        const length = Math.max(1, this.place(span.last) * width - from);
        context.fillRect(from, 5 + row * rowHeight, length, Math.max(1, rowHeight - 1));
      }
    });
    for (const flag of this.flags) {
      const at = this.place(flag.first) * width;
      context.fillStyle = colour(`flag-${flag.kind}`) || colour("flag-jump");
      context.beginPath();
      context.moveTo(at - 3.5, 0);
      context.lineTo(at + 3.5, 0);
      context.lineTo(at, 7);
      context.fill();
    }
  }
}
