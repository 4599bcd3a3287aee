// Takes for tests: waves of known values, in any size.

import type { FlagData, GroupData, MarkersData, PageData, SideData, SpanData, Triple } from "../../src/data/contract";
import { PageBytes } from "./encode_page";

/** The value of a synthetic curve in a frame: a slow wave of its own between 0 and 1. */
export function waveAt(curve: number, frame: number): number {
  return 0.5 + 0.5 * Math.sin(frame * 0.02 * (1 + (curve % 7)) + curve);
}

/** The neutral place of a marker: on an egg of the size of a face, in millimetres. */
export function neutralAt(marker: number, count: number): Triple {
  const turn = marker * 2.399963;
  const up = 1 - (2 * (marker + 0.5)) / count;
  const wide = Math.sqrt(1 - up * up);
  return [70 * wide * Math.cos(turn), 95 * up, 60 + 50 * Math.abs(wide * Math.sin(turn))];
}

/** The place of a marker in a frame: its neutral place, moved up and down by at most 4 mm. */
export function markerAt(marker: number, count: number, frame: number): Triple {
  const [x, y, z] = neutralAt(marker, count);
  return [x, y + 4 * Math.sin(frame * 0.07 + marker), z];
}

export interface TakeSize {
  frames: number;
  markers: number;
  curves: Record<string, string[]>; // names by group
  /** The state of a marker in a frame; without it every marker is measured. */
  state?(marker: number, frame: number): number;
  side?: Partial<SideData>;
}

export function wavyNames(prefix: string, count: number): string[] {
  return Array.from({ length: count }, (_, i) => `${prefix}${i}`);
}

const fill = (length: number, value: (i: number) => number) => Float64Array.from({ length }, (_, i) => value(i));

export function makeMarkers(bytes: PageBytes, size: TakeSize, names = wavyNames("M", size.markers)): MarkersData {
  const state = size.state ?? (() => 1);
  const columns = Array.from({ length: size.markers * 3 }, (_, c) => {
    const marker = Math.floor(c / 3);
    return fill(size.frames, (f) => (state(marker, f) === 0 ? NaN : markerAt(marker, size.markers, f)[c % 3]));
  });
  return {
    names,
    positions: bytes.array(columns, 0.05),
    states: bytes.array(names.map((_, m) => fill(size.frames, (f) => state(m, f))), 1),
    neutral: names.map((_, m) => neutralAt(m, size.markers)),
    parts: names.map((_, m) => ["Mouth", "LeftBrow", "Head", ""][m % 4]),
  };
}

export function makeGroups(bytes: PageBytes, size: TakeSize): GroupData[] {
  return Object.entries(size.curves).map(([name, curves]) => ({
    name,
    unit: name === "Head" ? "deg" : name === "Residuals" ? "mm" : "",
    curves,
    values: bytes.array(curves.map((_, c) => fill(size.frames, (f) => waveAt(c, f))), 0.001),
  }));
}

export function makeSide(bytes: PageBytes, size: TakeSize): SideData {
  return {
    name: "synthetic.csv",
    command: "mien solve synthetic.csv --performer landmarks68 -o out.csv",
    facts: [{ title: "Take", rows: [["Frames", String(size.frames)], ["Neutral face", "frames 1 to 30"]] }],
    notes: [],
    ...(size.markers ? { markers: makeMarkers(bytes, size) } : {}),
    groups: makeGroups(bytes, size),
    spans: [],
    flags: [],
    worst: [],
    ...size.side,
  };
}

/** A page at `rate`; frame numbers begin with 101, times with 2 s. */
export function makePage(
  bytes: PageBytes,
  frames: number,
  sides: SideData[],
  more: Partial<PageData> = {},
): PageData {
  const rate = more.rate ?? [30, 1];
  return {
    format: "mien view 1",
    generator: "mien test",
    title: "synthetic",
    rate,
    frames: bytes.array([fill(frames, (f) => 101 + f)], 1),
    times: bytes.array([fill(frames, (f) => 2 + (f * rate[1]) / rate[0])], 0.0001),
    sides,
    ...more,
  };
}

export const someFlags: FlagData[] = [
  { kind: "jump", text: "Mouth.Open jumps by 0.8", first: 40, last: 41, curve: ["Templates", "Mouth.Open"] },
  { kind: "limit", text: "LeftEye.Close is at its limit", first: 90, last: 99, curve: ["Templates", "LeftEye.Close"] },
  { kind: "residual", text: "Mouth is 3.2 mm off", first: 160, last: 170 },
];

export const someSpans: SpanData[] = [
  { kind: "filled", name: "M0", first: 20, last: 30 },
  { kind: "resting", name: "LeftEye", first: 100, last: 130 },
  { kind: "gap", name: "M3", first: 140, last: 150 },
];
