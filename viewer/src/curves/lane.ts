// Draws one group's selected curves on the common time axis.

import type { FlagData } from "../data/contract";
import type { Timeline } from "../data/timeline";
import { colour } from "../theme";
import type { Curve, CurveGroup } from "./curves";
import type { Decimated } from "./decimate";
import { decimate } from "./decimate";
import type { PartSpan } from "./span_shades";
import { ticks } from "./ticks";
import type { TimeWindow } from "./time_window";

/** Width of the strip with the values, left of the curves, in CSS pixels. */
export const gutter = 54;
const headingHeight = 18;

export interface LaneBox {
  top: number;
  height: number;
}

/** What all lanes of a picture share. */
export interface LaneFrame {
  context: CanvasRenderingContext2D;
  timeline: Timeline;
  window: TimeWindow;
  width: number; // of the curves, in CSS pixels
  ratio: number; // device pixels per CSS pixel
  starts: Int32Array; // the first frame of each device pixel's column, and the frame behind the last column
  first: number; // the frames to draw: those of the window and one on each side
  last: number;
}

export interface Lane {
  group: CurveGroup;
  selected: Curve[];
  box: LaneBox;
  spans: PartSpan[];
  flags: FlagData[];
  fit: boolean; // whether the values' range fills the lane
}

/** The values that the lane shows, bottom and top. Weights keep 0 to 1, so that lanes stay comparable. */
export function valueRange(lane: Pick<Lane, "group" | "selected" | "fit">): [number, number] {
  let low = Infinity;
  let high = -Infinity;
  for (const curve of lane.selected) {
    if (curve.low < low) low = curve.low;
    if (curve.high > high) high = curve.high;
  }
  if (low > high) return [0, 1];
  if (!lane.fit) {
    low = Math.min(low, 0);
    high = Math.max(high, lane.group.unit ? 0 : 1);
  }
  const margin = (high - low) * 0.04 || 0.5;
  return [low - margin, high + margin];
}

/** The height at which a value stands. */
export function heightOf(box: LaneBox, [low, high]: [number, number]): (value: number) => number {
  const bottom = box.top + box.height - 4;
  const scale = (box.height - headingHeight - 6) / (high - low);
  return (value) => bottom - (value - low) * scale;
}

/** Where a time stands, left of the canvas's edge included. */
export function placeOf(window: TimeWindow, width: number): (seconds: number) => number {
  return (seconds) => gutter + ((seconds - window.from) / window.span) * width;
}

export function drawLane(frame: LaneFrame, lane: Lane): void {
  const { context, width } = frame;
  const { box, group } = lane;
  const range = valueRange(lane);
  const y = heightOf(box, range);
  context.save();
  context.beginPath();
  context.rect(0, box.top, gutter + width, box.height);
  context.clip();

  drawShades(frame, lane);
  context.font = "11px system-ui, sans-serif";
  context.textBaseline = "middle";
  context.textAlign = "right";
  const { values, digits } = ticks(range[0], range[1], Math.max(2, Math.floor((box.height - headingHeight) / 26)));
  for (const value of values) {
    const at = Math.round(y(value)) + 0.5;
    context.strokeStyle = colour(Math.abs(value) < 1e-9 ? "grid-zero" : "grid");
    context.lineWidth = 1;
    line(context, gutter, at, gutter + width, at);
    context.fillStyle = colour("muted");
    context.fillText(value.toFixed(digits), gutter - 6, Math.min(box.top + box.height - 7, at));
  }
  drawFlagLines(frame, lane);

  context.save();
  context.beginPath();
  context.rect(gutter, box.top, width, box.height);
  context.clip();
  context.lineJoin = "bevel";
  for (const curve of lane.selected) {
    for (let side = curve.values.length - 1; side >= 0; --side) {
      const values = curve.values[side];
      if (values) drawCurve(frame, values, y, colour(`curve-${curve.hue}`), side > 0);
    }
  }
  context.restore();

  context.textAlign = "left";
  context.fillStyle = colour("muted");
  context.fillText(group.unit ? `${group.name} (${group.unit})` : group.name, gutter + 6, box.top + 10);
  context.strokeStyle = colour("border");
  context.lineWidth = 1;
  line(context, 0, box.top + box.height - 0.5, gutter + width, box.top + box.height - 0.5);
  context.restore();
}

function line(context: CanvasRenderingContext2D, x0: number, y0: number, x1: number, y1: number): void {
  context.beginPath();
  context.moveTo(x0, y0);
  context.lineTo(x1, y1);
  context.stroke();
}

/** Each pixel column is shaded once per kind, however many spans cover it. */
function drawShades(frame: LaneFrame, lane: Lane): void {
  const { context, timeline, window, width } = frame;
  const x = placeOf(window, width);
  for (const kind of ["resting", "filled", "gap"]) {
    const covered = new Uint8Array(Math.ceil(width) + 1);
    for (const span of lane.spans) {
      if (span.kind !== kind || span.last < frame.first || span.first > frame.last) continue;
      const from = Math.max(0, Math.floor(x(timeline.seconds(timeline.clamp(span.first))) - gutter));
      const to = Math.min(width, Math.ceil(x(timeline.seconds(timeline.clamp(span.last))) - gutter + 1));
      covered.fill(1, from, to);
    }
    context.fillStyle = colour(`shade-${kind}`);
    for (let at = covered.indexOf(1); at >= 0; at = covered.indexOf(1, at)) {
      let end = covered.indexOf(0, at);
      if (end < 0) end = covered.length;
      context.fillRect(gutter + at, lane.box.top, end - at, lane.box.height);
      at = end;
    }
  }
}

/** Flags of the selected curves. */
function drawFlagLines(frame: LaneFrame, lane: Lane): void {
  const { context, timeline, window, width } = frame;
  const x = placeOf(window, width);
  const shown = new Set(lane.selected.map((curve) => curve.name));
  context.setLineDash([2, 3]);
  for (const flag of lane.flags) {
    if (!flag.curve || flag.curve[0] !== lane.group.name || !shown.has(flag.curve[1])) continue;
    const at = Math.round(x(timeline.seconds(timeline.clamp(flag.first)))) + 0.5;
    if (at < gutter || at > gutter + width) continue;
    context.strokeStyle = colour(`flag-${flag.kind}`) || colour("flag-jump");
    line(context, at, lane.box.top, at, lane.box.top + lane.box.height);
  }
  context.setLineDash([]);
}

function drawCurve(
  frame: LaneFrame,
  values: Float32Array,
  y: (value: number) => number,
  stroke: string,
  isSecond: boolean,
): void {
  const { context, timeline, window, width, ratio, starts, first, last } = frame;
  const columns = starts.length - 1;
  const perColumn = (last - first) / columns;
  context.strokeStyle = stroke;
  context.lineWidth = 1.3;
  context.globalAlpha = isSecond ? 0.8 : 1;
  context.setLineDash(isSecond && perColumn < 6 ? [5, 3] : []);
  context.beginPath();
  if (perColumn <= 2) {
    const x = placeOf(window, width);
    let pen = false;
    for (let i = first; i <= last; ++i) {
      const value = values[i];
      if (value !== value) {
        pen = false;
        continue;
      }
      const at = x(timeline.seconds(i));
      const isAlone = !pen && (i === values.length - 1 || Number.isNaN(values[i + 1]));
      if (isAlone) context.rect(at - 0.75, y(value) - 0.75, 1.5, 1.5); // a point between two gaps
      if (pen) context.lineTo(at, y(value));
      else context.moveTo(at, y(value));
      pen = true;
    }
  } else if (perColumn <= 8) {
    const { low, high, lowFirst } = decimate(values, starts);
    let pen = false;
    for (let column = 0; column < columns; ++column) {
      if (Number.isNaN(low[column])) {
        // A column without frames continues the line; one whose frames are all missing ends it.
        if (starts[column] < starts[column + 1]) pen = false;
        continue;
      }
      const at = gutter + (column + 0.5) / ratio;
      const [one, other] = lowFirst[column] ? [low[column], high[column]] : [high[column], low[column]];
      if (pen) context.lineTo(at, y(one));
      else context.moveTo(at, y(one));
      context.lineTo(at, y(other) + (one === other && !pen ? 0.75 : 0));
      pen = true;
    }
  } else {
    fillColumns(frame, decimate(values, starts), y, stroke);
  }
  context.stroke();
  context.setLineDash([]);
  context.globalAlpha = 1;
}

/** Of many frames a column shows a bar, which is much faster to draw than a line up and down. */
function fillColumns(frame: LaneFrame, { low, high }: Decimated, y: (value: number) => number, fill: string): void {
  const { context, ratio } = frame;
  context.fillStyle = fill;
  let [lastTop, lastBottom] = [NaN, NaN];
  for (let column = 0; column < low.length; ++column) {
    const [top, bottom] = [y(high[column]), y(low[column])];
    if (!Number.isNaN(top)) {
      // Reaches to the column before it.
      const from = lastBottom < top ? lastBottom : top;
      const to = lastTop > bottom ? lastTop : bottom;
      context.fillRect(gutter + column / ratio, from - 0.65, 1 / ratio, to - from + 1.3);
    }
    [lastTop, lastBottom] = [top, bottom];
  }
}

/** The first frame of each of `columns` columns of the window, and the frame behind the last one. */
export function columnStarts(timeline: Timeline, window: TimeWindow, columns: number): Int32Array {
  const starts = new Int32Array(columns + 1);
  let at = window.from <= 0 ? 0 : timeline.indexAt(window.from);
  for (let column = 0; column <= columns; ++column) {
    const from = window.from + (column / columns) * window.span;
    while (at < timeline.count && timeline.seconds(at) < from - 1e-9) ++at;
    starts[column] = at;
  }
  if (window.to >= timeline.duration) starts[columns] = timeline.count;
  return starts;
}
