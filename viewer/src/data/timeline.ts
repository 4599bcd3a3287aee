// Frames by index, number, time and timecode. Indices count the frames that the page has, from 0.

import type { Timecode } from "./timecode";
import { timecodeAt } from "./timecode";

export class Timeline {
  constructor(
    private readonly numbers: Float64Array,
    private readonly times: Float64Array,
    private readonly timecode: Timecode | undefined,
    private readonly timecodeOffset: number,
  ) {}

  get count(): number {
    return this.times.length;
  }

  get last(): number {
    return Math.max(0, this.count - 1);
  }

  /** Seconds from the first frame to the last. */
  get duration(): number {
    return this.count ? this.times[this.count - 1] - this.times[0] : 0;
  }

  get hasTimecode(): boolean {
    return this.timecode !== undefined;
  }

  clamp(index: number): number {
    return Math.min(this.last, Math.max(0, Math.round(index) || 0));
  }

  /** Seconds from the first frame. */
  seconds(index: number): number {
    return this.count ? this.times[index] - this.times[0] : 0;
  }

  number(index: number): number {
    return this.count ? this.numbers[index] : 0;
  }

  /** The last frame that is not later than `seconds` from the first one. */
  indexAt(seconds: number): number {
    return lastNotAbove(this.times, seconds + this.times[0]);
  }

  nearest(seconds: number): number {
    const at = this.indexAt(seconds);
    const nextIsNearer = at < this.last && this.seconds(at + 1) - seconds < seconds - this.seconds(at);
    return nextIsNearer ? at + 1 : at;
  }

  /** The index of a frame number, or the nearest one's. */
  indexOfNumber(number: number): number {
    const at = lastNotAbove(this.numbers, number);
    return at < this.last && this.numbers[at + 1] - number < number - this.numbers[at] ? at + 1 : at;
  }

  /** The timecode, or without one the time from the first frame: "1:02.345". */
  clock(index: number): string {
    const seconds = this.seconds(index);
    if (this.timecode) return timecodeAt(this.timecode, seconds + this.timecodeOffset);
    const thousandths = Math.round(seconds * 1000);
    const rest = ((thousandths % 60000) / 1000).toFixed(3).padStart(6, "0");
    return `${Math.floor(thousandths / 60000)}:${rest}`;
  }

  /** The index of the first frame that shows this timecode; -1 if none does. */
  indexOfClock(text: string): number {
    const plain = (clock: string) => clock.replace(";", ":");
    for (let index = 0; index < this.count; ++index) {
      if (plain(this.clock(index)) === plain(text)) return index;
    }
    return -1;
  }

  /** "12 · 10:02:59:29" */
  label(index: number): string {
    return `${this.number(index)} · ${this.clock(index)}`;
  }
}

/** The index of the last value of rising `values` that is at most `value`; 0 if there is none. */
function lastNotAbove(values: Float64Array, value: number): number {
  let low = 0;
  let high = Math.max(0, values.length - 1);
  while (low < high) {
    const middle = Math.ceil((low + high) / 2);
    if (values[middle] <= value) low = middle;
    else high = middle - 1;
  }
  return low;
}
