// The axis above the curves: frame numbers and timecode, with the flags as marks.

import type { FlagData } from "../data/contract";
import type { Timeline } from "../data/timeline";
import { colour } from "../theme";
import { gutter, placeOf } from "./lane";
import { ticks } from "./ticks";
import type { TimeWindow } from "./time_window";

export const axisHeight = 40;

export function drawAxis(
  context: CanvasRenderingContext2D,
  timeline: Timeline,
  window: TimeWindow,
  width: number,
  flags: FlagData[],
): void {
  const x = placeOf(window, width);
  context.clearRect(0, 0, gutter + width, axisHeight);
  context.font = "11px system-ui, sans-serif";
  context.textBaseline = "middle";
  context.textAlign = "left";
  context.fillStyle = colour("muted");
  context.fillText("Frame", 8, 9);
  context.fillText(timeline.hasTimecode ? "TC" : "Time", 8, 23);
  if (!timeline.count) return;

  const first = timeline.number(timeline.indexAt(window.from));
  const last = timeline.number(timeline.indexAt(window.to));
  const labelWidth = timeline.hasTimecode ? 96 : 72;
  const seen = new Set<number>();
  context.strokeStyle = colour("tick");
  context.lineWidth = 1;
  for (const number of ticks(first, Math.max(last, first + 1), width / labelWidth).values) {
    const index = timeline.indexOfNumber(Math.ceil(number));
    const at = x(timeline.seconds(index));
    if (seen.has(index) || at < gutter - 0.5 || at > gutter + width) continue;
    seen.add(index);
    context.beginPath();
    context.moveTo(Math.round(at) + 0.5, 2);
    context.lineTo(Math.round(at) + 0.5, 29);
    context.stroke();
    if (at + labelWidth * 0.8 > gutter + width) continue;
    context.fillStyle = colour("text");
    context.fillText(String(timeline.number(index)), at + 4, 9);
    context.fillStyle = colour("muted");
    context.fillText(timeline.clock(index), at + 4, 23);
  }

  for (const flag of flags) {
    const at = x(timeline.seconds(timeline.clamp(flag.first)));
    if (at < gutter || at > gutter + width) continue;
    context.fillStyle = colour(`flag-${flag.kind}`) || colour("flag-jump");
    context.beginPath();
    context.moveTo(at - 4, axisHeight - 8);
    context.lineTo(at + 4, axisHeight - 8);
    context.lineTo(at, axisHeight - 1);
    context.fill();
  }
}
