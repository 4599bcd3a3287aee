// The curves of all groups. With two sides, a curve has the values of both.

import type { GroupData } from "../data/contract";

export interface Curve {
  group: string;
  name: string;
  /** Per side; missing where the side has no such curve, or its values are not decoded yet. */
  values: (Float32Array | undefined)[];
  /** Of all present values of all sides; NaN without any. */
  low: number;
  high: number;
  /** Standard deviation of the first side's values that has any. */
  motion: number;
  selected: boolean;
  /** Index into the palette; curves shown together get different ones as long as there are enough. */
  hue: number;
}

export interface CurveGroup {
  name: string;
  unit: string;
  curves: Curve[];
}

export const paletteSize = 8;

/** The groups and names of all sides; values come later. */
export function makeGroups(sides: { groups?: GroupData[] }[]): CurveGroup[] {
  const groups: CurveGroup[] = [];
  sides.forEach((side) => {
    for (const data of side.groups ?? []) {
      let group = groups.find((known) => known.name === data.name);
      if (!group) {
        group = { name: data.name, unit: data.unit, curves: [] };
        groups.push(group);
      }
      const known = new Set(group.curves.map((curve) => curve.name));
      for (const name of data.curves) {
        if (known.has(name)) continue;
        group.curves.push({
          group: data.name,
          name,
          values: sides.map(() => undefined),
          low: NaN,
          high: NaN,
          motion: 0,
          selected: false,
          hue: 0,
        });
      }
    }
  });
  return groups;
}

/** Adds a side's values of a group: `values` has a column for each of `data.curves`. */
export function addValues(groups: CurveGroup[], side: number, data: GroupData, values: Float32Array): void {
  const group = groups.find((known) => known.name === data.name);
  const byName = new Map(group?.curves.map((curve) => [curve.name, curve]));
  const rows = data.values.rows;
  data.curves.forEach((name, column) => {
    const curve = byName.get(name);
    if (!curve) return;
    curve.values[side] = values.subarray(column * rows, (column + 1) * rows);
    measure(curve);
  });
}

/** Finds a curve's range and motion in its values. */
export function measure(curve: Curve): void {
  const sides = curve.values.flatMap((own) => (own ? [statistics(own)] : []));
  const present = sides.filter(({ low }) => !Number.isNaN(low));
  curve.low = present.length ? Math.min(...present.map(({ low }) => low)) : NaN;
  curve.high = present.length ? Math.max(...present.map(({ high }) => high)) : NaN;
  curve.motion = sides[0]?.deviation ?? 0;
}

export function statistics(values: Float32Array): { low: number; high: number; deviation: number } {
  let low = Infinity;
  let high = -Infinity;
  let count = 0;
  let sum = 0;
  let squares = 0;
  for (const value of values) {
    if (value !== value) continue;
    if (value < low) low = value;
    if (value > high) high = value;
    ++count;
    sum += value;
    squares += value * value;
  }
  if (count === 0) return { low: NaN, high: NaN, deviation: 0 };
  const mean = sum / count;
  return { low, high, deviation: Math.sqrt(Math.max(0, squares / count - mean * mean)) };
}

/** Selects a curve or not; a newly selected one gets the group's least used hue. */
export function select(group: CurveGroup, curve: Curve, selected: boolean): void {
  if (curve.selected === selected) return;
  if (selected) {
    const used = new Array<number>(paletteSize).fill(0);
    for (const other of group.curves) if (other.selected) ++used[other.hue];
    curve.hue = used.indexOf(Math.min(...used));
  }
  curve.selected = selected;
}

/** Selects the few curves that move most; in a small group, all that move. */
export function selectMostMoving(group: CurveGroup): void {
  const most = group.curves.length <= 3 ? 3 : 4;
  const moving = group.curves.filter((curve) => curve.motion > 1e-6);
  const chosen = new Set([...moving].sort((a, b) => b.motion - a.motion).slice(0, most));
  for (const curve of group.curves) select(group, curve, false);
  for (const curve of group.curves) select(group, curve, chosen.has(curve));
}
