// The data that the command writes into the page; README.md describes it. Strings are names and text from users'
// files: they are shown as text and never parsed as markup.

export const format = "mien view 1";

/** Numbers in the page's bytes: a zlib stream of codes, column by column. See numbers.ts. */
export interface ArrayPlace {
  offset: number;
  length: number;
  rows: number;
  columns: number;
  step: number;
  bytes: number;
}

/** Plain bytes in the page's bytes: a zlib stream of `size` bytes. */
export interface BytesPlace {
  offset: number;
  length: number;
  size: number;
}

export type Triple = [number, number, number];

/** The numbers in `states`, in this order. */
export const markerStates = ["gap", "measured", "filled", "computed", "slipped"] as const;
export type MarkerState = (typeof markerStates)[number];

export interface MarkersData {
  names: string[];
  positions: ArrayPlace;
  states: ArrayPlace;
  neutral?: (Triple | null)[];
  parts?: string[];
}

export interface GroupData {
  name: string;
  unit: string;
  curves: string[];
  values: ArrayPlace;
}

export interface SpanData {
  kind: string; // "filled", "resting", "gap"
  name: string;
  first: number;
  last: number;
}

export interface FlagData {
  kind: string; // "jump", "limit", "swap", "mislabel", "residual"
  text: string;
  first: number;
  last: number;
  curve?: [string, string];
}

export interface WorstData {
  frame: number;
  text: string;
}

export interface MorphsData {
  node: number;
  rest: number[];
  drivers: ([string, number] | null)[];
}

export interface MovedData {
  node: number;
  rotation?: ArrayPlace;
  translation?: ArrayPlace;
  scale?: ArrayPlace;
}

export interface HeadData {
  glb: BytesPlace;
  name: string;
  morphs?: MorphsData[];
  moved?: MovedData[];
  head_node?: number;
  place?: { scale: number; translation: Triple };
}

export interface SideData {
  name: string;
  command?: string;
  facts?: { title: string; rows: [string, string][] }[];
  notes?: string[];
  markers?: MarkersData;
  groups?: GroupData[];
  spans?: SpanData[];
  flags?: FlagData[];
  worst?: WorstData[];
  head_motion?: ArrayPlace;
  head?: HeadData;
}

export interface ComparedCurve {
  group: string;
  name: string;
  largest: number;
  largest_frame: number;
  rms: number;
  correlation: number | null;
  lag_frames: number | null;
}

/** A page of a stream. Its rows are those of a sweep: the newest frame overwrites the oldest. */
export interface LiveData {
  /** Where the page gets the stream's events from: a path of its own server. */
  events: string;
}

/** An event "frame": what a side shows, in the order of its data. null is a missing number. */
export interface LiveFrame {
  side: number;
  number: number;
  time: number; // seconds, rising; of all sides on one clock
  clock: string;
  groups: (number | null)[][];
  positions?: (number | null)[]; // x, y, z of each marker
  states?: number[];
  head_motion?: number[];
  moved?: { rotation?: number[]; translation?: number[]; scale?: number[] }[];
}

/** An event "status": facts about the stream, shown instead of those in the page. */
export interface LiveStatus {
  summary: string;
  facts: { title: string; rows: [string, string][] }[];
}

export interface PageData {
  format: string;
  generator: string;
  title: string;
  rate: [number, number];
  timecode?: string;
  timecode_offset_s?: number;
  frames: ArrayPlace;
  times: ArrayPlace;
  sides: SideData[];
  comparison?: { text: string; curves: ComparedCurve[] };
  live?: LiveData;
}
