// Which frames of a lane are shaded: where the part of a selected curve was filled or at rest. Curves of groups
// without parts, such as a character's shapes, depend on every part.

import type { SpanData } from "../data/contract";
import type { Curve, CurveGroup } from "./curves";

/** "LeftEye" of "LeftEye.Close"; residuals are named by the part alone. */
export function partOfCurve(name: string): string {
  const dot = name.indexOf(".");
  return dot < 0 ? name : name.slice(0, dot);
}

/** A span of a part or of a marker, with the part that it belongs to; "" for none. */
export interface PartSpan extends SpanData {
  part: string;
}

/** `partOfMarker` has an entry for each marker. */
export function withParts(spans: SpanData[], partOfMarker: Map<string, string>): PartSpan[] {
  return spans.map((span) => ({ ...span, part: partOfMarker.get(span.name) ?? span.name }));
}

export function spansOfLane(spans: PartSpan[], group: CurveGroup, selected: Curve[]): PartSpan[] {
  const parts = new Set(spans.map((span) => span.part));
  const groupHasParts = group.curves.some((curve) => parts.has(partOfCurve(curve.name)));
  if (!groupHasParts) return spans;
  const shown = new Set(selected.map((curve) => partOfCurve(curve.name)));
  return spans.filter((span) => shown.has(span.part));
}
