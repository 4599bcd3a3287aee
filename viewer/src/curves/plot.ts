// All selected curves: an axis, and a lane for each group below it. The pictures are drawn again when the window, the
// choice or the size changes; playing only moves the playhead.

import type { FlagData } from "../data/contract";
import { element } from "../dom";
import { colour, onTheme } from "../theme";
import type { Playback } from "../transport/playback";
import { axisHeight, drawAxis } from "./axis";
import type { Curve, CurveGroup } from "./curves";
import type { Lane, LaneFrame } from "./lane";
import { columnStarts, drawLane, gutter, heightOf, placeOf, valueRange } from "./lane";
import { addPlotGestures } from "./plot_gestures";
import type { PartSpan } from "./span_shades";
import { spansOfLane } from "./span_shades";
import type { TimeWindow } from "./time_window";

const leastLaneHeight = 58;

export class Plot {
  private readonly axis = element("canvas", "plot-axis");
  private readonly scroll = element("div", "plot-scroll");
  private readonly picture = element("canvas", "plot-lanes");
  private readonly playhead = element("div", "playhead");
  private readonly playheadText = element("span", "playhead-text");
  private readonly hover = element("div", "plot-hover");
  private readonly tip = element("div", "tip");
  private readonly empty = element("p", "plot-empty", "No curves are selected.");
  private lanes: Lane[] = [];
  private width = 0; // of the curves, without the gutter
  private fit = false;
  private drawn = true;
  /** Milliseconds that the last drawing took. */
  drawMs = 0;

  constructor(
    private readonly container: HTMLElement,
    private readonly groups: CurveGroup[],
    private readonly spans: PartSpan[],
    private readonly flags: FlagData[],
    private readonly playback: Playback,
    readonly window: TimeWindow,
    private readonly sideNames: string[],
  ) {
    this.tip.hidden = this.hover.hidden = true;
    this.playhead.append(this.playheadText);
    this.scroll.append(this.picture, this.empty);
    container.append(this.axis, this.scroll, this.hover, this.playhead, this.tip);
    new ResizeObserver(() => this.redraw()).observe(container);
    window.onChange(() => this.redraw());
    onTheme(() => this.redraw());
    playback.onFrame(() => this.movePlayhead());
    addPlotGestures(container, {
      window,
      secondsAt: (x) => this.secondsAt(x),
      isAxis: (y) => y < axisHeight,
      seek: (seconds) => playback.seek(playback.timeline.nearest(seconds)),
      point: (x, y) => this.showTip(x, y),
      leave: () => (this.tip.hidden = this.hover.hidden = true),
    });
  }

  setFit(fit: boolean): void {
    this.fit = fit;
    this.redraw();
  }

  /** Soon; several changes at once are drawn once. */
  redraw(): void {
    if (!this.drawn) return;
    this.drawn = false;
    requestAnimationFrame(() => {
      this.drawn = true;
      this.draw();
    });
  }

  private secondsAt(x: number): number {
    return this.window.from + ((x - gutter) / Math.max(1, this.width)) * this.window.span;
  }

  private draw(): void {
    const started = performance.now();
    const ratio = window.devicePixelRatio || 1;
    const shown = this.groups
      .map((group) => ({ group, selected: group.curves.filter((curve) => curve.selected) }))
      .filter(({ selected }) => selected.length);
    this.empty.hidden = shown.length > 0;
    const available = this.container.clientHeight - axisHeight;
    const height = Math.max(available, shown.length * leastLaneHeight);
    const isScrolled = height > available;
    this.width = Math.max(10, this.container.clientWidth - gutter - (isScrolled ? 14 : 2));

    const laneHeight = height / Math.max(1, shown.length);
    this.lanes = shown.map(({ group, selected }, i) => ({
      group,
      selected,
      box: { top: Math.round(i * laneHeight), height: Math.round((i + 1) * laneHeight) - Math.round(i * laneHeight) },
      spans: spansOfLane(this.spans, group, selected),
      flags: this.flags,
      fit: this.fit,
    }));

    const { timeline } = this.playback;
    const starts = columnStarts(timeline, this.window, Math.max(1, Math.round(this.width * ratio)));
    const frame: LaneFrame = {
      context: prepare(this.picture, gutter + this.width, height, ratio),
      timeline,
      window: this.window,
      width: this.width,
      ratio,
      starts,
      first: Math.max(0, starts[0] - 1),
      last: Math.min(timeline.last, starts[starts.length - 1]),
    };
    if (timeline.count) for (const lane of this.lanes) drawLane(frame, lane);
    drawAxis(prepare(this.axis, gutter + this.width, axisHeight, ratio), timeline, this.window, this.width, this.flags);
    this.movePlayhead();
    this.drawMs = performance.now() - started;
  }

  private movePlayhead(): void {
    const { timeline, frame, playing } = this.playback;
    const seconds = timeline.seconds(frame);
    if (playing) this.window.follow(seconds);
    const x = placeOf(this.window, this.width)(seconds);
    const isVisible = x >= gutter - 1 && x <= gutter + this.width + 1;
    this.playhead.style.visibility = isVisible ? "visible" : "hidden";
    if (!isVisible) return;
    this.playhead.style.transform = `translateX(${x}px)`;
    this.playheadText.textContent = String(timeline.number(frame));
    this.playheadText.classList.toggle("left", x > gutter + this.width - 60);
  }

  /** The values of the nearest curve under the pointer. */
  private showTip(x: number, y: number): void {
    const { timeline } = this.playback;
    const inside = x >= gutter && x <= gutter + this.width && timeline.count > 0;
    this.hover.hidden = this.tip.hidden = !inside;
    if (!inside) return;
    const index = timeline.nearest(this.secondsAt(x));
    this.hover.style.transform = `translateX(${placeOf(this.window, this.width)(timeline.seconds(index))}px)`;
    const found = this.nearestCurve(index, y - axisHeight + this.scroll.scrollTop);
    const parts: (string | HTMLElement)[] = [element("span", "tip-frame", timeline.label(index))];
    if (found) {
      const { curve, group } = found;
      const name = element("bdi", "tip-name", curve.name);
      name.style.color = colour(`curve-${curve.hue}`);
      const values = curve.values.map((own, side) => {
        const label = this.sideNames.length > 1 ? `${"AB"[side]} ` : "";
        return label + valueText(own?.[index], group.unit);
      });
      parts.push(name, element("span", "number", values.join("   ")));
    }
    for (const flag of this.flags) {
      const isNear = Math.abs(placeOf(this.window, this.width)(timeline.seconds(timeline.clamp(flag.first))) - x) < 5;
      if (isNear && parts.length < 6) parts.push(element("bdi", "tip-flag", flag.text));
    }
    this.tip.replaceChildren(...parts);
    const left = Math.max(0, Math.min(this.container.clientWidth - this.tip.offsetWidth - 8, x + 14));
    const top = Math.max(0, Math.min(this.container.clientHeight - this.tip.offsetHeight - 4, y + 12));
    this.tip.style.transform = `translate(${left}px, ${top}px)`;
  }

  private nearestCurve(index: number, y: number): { curve: Curve; group: CurveGroup } | undefined {
    const lane = this.lanes.find(({ box }) => y >= box.top && y < box.top + box.height);
    if (!lane) return undefined;
    const heights = heightOf(lane.box, valueRange(lane));
    let nearest: Curve | undefined;
    let least = 30;
    for (const curve of lane.selected) {
      for (const values of curve.values) {
        const distance = values ? Math.abs(heights(values[index]) - y) : NaN;
        if (distance < least) (nearest = curve), (least = distance);
      }
    }
    return nearest && { curve: nearest, group: lane.group };
  }
}

export function valueText(value: number | undefined, unit: string): string {
  if (value === undefined || Number.isNaN(value)) return "–";
  return unit ? `${value.toFixed(2)} ${unit}` : value.toFixed(3);
}

/** The canvas at this size, cleared; one unit is a CSS pixel. */
function prepare(canvas: HTMLCanvasElement, width: number, height: number, ratio: number): CanvasRenderingContext2D {
  const [across, down] = [Math.max(1, Math.round(width * ratio)), Math.max(1, Math.round(height * ratio))];
  if (canvas.width !== across || canvas.height !== down) {
    canvas.width = across;
    canvas.height = down;
    canvas.style.width = `${width}px`;
    canvas.style.height = `${height}px`;
  }
  const context = canvas.getContext("2d") as CanvasRenderingContext2D;
  context.setTransform(ratio, 0, 0, ratio, 0, 0);
  context.clearRect(0, 0, width, height);
  return context;
}
