// The rows of a page that shows a stream: a sweep, in which the newest frame overwrites the oldest.

import type { LiveFrame } from "../data/contract";
import type { MovedNode } from "../scene/animated_head";

/** What a side shows, column by column as it was decoded. All have a row for each row of the sweep. */
export interface SideTables {
  groups: Float32Array[]; // in the order of the side's data
  positions?: Float32Array;
  states?: Uint8Array;
  motion?: Float32Array | undefined;
  moved: MovedNode[];
}

/** A value of `values`, as a number of the table: what is missing or no number is NaN. */
const numberAt = (values: ArrayLike<number | null> | undefined, index: number): number => values?.[index] ?? NaN;

/** Frames that are further apart are not joined by a line. */
const longestPause = 0.25; // seconds

export class Sweep {
  /** The row of the newest frame, counted on from sweep to sweep; its time; and the newest rows of the sides. */
  private newest = -1;
  private newestTime = -Infinity;
  private readonly newestOfSides: number[];
  /** The time of row 0. */
  private start = 0;
  /** Empty rows after the newest one, which separate new curves from old ones. */
  private readonly gap: number;

  constructor(
    private readonly rows: number,
    private readonly rowsPerSecond: number,
    private readonly sides: SideTables[],
  ) {
    this.gap = Math.min(rows - 1, Math.ceil(rows / 50));
    this.newestOfSides = sides.map(() => -1);
  }

  /**
   * Writes a frame into the row of its time and returns that row. Rows that were skipped, because frames come less
   * often, show the same. After a pause or a reset of the clock, the sweep continues with a gap.
   */
  write(frame: LiveFrame): number {
    const pause = frame.time - this.newestTime;
    if (!(pause >= 0 && pause <= longestPause)) {
      const next = this.newest < 0 ? 0 : this.newest + this.gap;
      this.start = frame.time - next / this.rowsPerSecond;
      this.newest = next - 1;
      this.newestOfSides.fill(this.newest);
    }
    const row = Math.max(this.newest, Math.floor((frame.time - this.start) * this.rowsPerSecond + 1e-6));
    const tables = this.sides[frame.side];
    if (tables) {
      const skipped = row - this.newestOfSides[frame.side] - 1;
      const first = skipped > 0 && skipped <= longestPause * this.rowsPerSecond ? row - skipped : row;
      for (let at = first; at <= row; ++at) this.writeSide(tables, frame, at % this.rows);
      this.newestOfSides[frame.side] = row;
    }
    if (row > this.newest) this.clearAhead(row);
    this.newest = row;
    this.newestTime = frame.time;
    return row % this.rows;
  }

  private clearAhead(row: number): void {
    for (const { groups } of this.sides) {
      for (let ahead = 1; ahead <= this.gap; ++ahead) {
        const at = (row + ahead) % this.rows;
        for (const values of groups) for (let i = at; i < values.length; i += this.rows) values[i] = NaN;
      }
    }
  }

  private writeSide(tables: SideTables, frame: LiveFrame, row: number): void {
    tables.groups.forEach((values, g) => this.fill(values, row, frame.groups[g]));
    if (tables.motion) this.fill(tables.motion, row, frame.head_motion);
    tables.moved.forEach((moved, m) => {
      const now = frame.moved?.[m];
      for (const what of ["rotation", "translation", "scale"] as const) {
        const values = moved[what];
        if (values) this.fill(values, row, now?.[what]);
      }
    });
    if (tables.positions && tables.states) this.writeMarkers(tables.positions, tables.states, frame, row);
  }

  /** A marker that is not seen stays where it was, in the state of a gap. */
  private writeMarkers(positions: Float32Array, states: Uint8Array, frame: LiveFrame, row: number): void {
    const before = (row + this.rows - 1) % this.rows;
    const markers = states.length / this.rows;
    for (let marker = 0; marker < markers; ++marker) {
      const isSeen = !Number.isNaN(numberAt(frame.positions, marker * 3));
      states[marker * this.rows + row] = isSeen ? (frame.states?.[marker] ?? 1) : 0;
      for (let axis = 0; axis < 3; ++axis) {
        const column = (marker * 3 + axis) * this.rows;
        positions[column + row] = isSeen ? numberAt(frame.positions, marker * 3 + axis) : positions[column + before];
      }
    }
  }

  private fill(values: Float32Array, row: number, now: ArrayLike<number | null> | undefined): void {
    for (let column = 0; column * this.rows < values.length; ++column) {
      values[column * this.rows + row] = numberAt(now, column);
    }
  }
}
