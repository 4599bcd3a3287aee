// Arrays of numbers as the command stores them. Inflated, an array is a code for each number, column by column, split
// into byte planes: the low bytes of all codes come first, then the next bytes. Code 0 is a missing value. Any other
// code minus 1 is the zigzag form of the difference to the column's previous present value, in steps.

import type { ArrayPlace } from "./contract";
import { base64Bytes, inflate } from "./embedded_bytes";
import { breathe } from "./breathe";

export type Numbers = Float32Array | Float64Array | Uint8Array;

/** Decodes one column into its place in `values`, in which missing numbers become NaN (0 in a Uint8Array). */
export function decodeColumn(planes: Uint8Array, array: ArrayPlace, column: number, values: Numbers): void {
  const { rows, bytes, step } = array;
  const plane = rows * array.columns;
  let steps = 0;
  const end = (column + 1) * rows;
  for (let at = column * rows; at < end; ++at) {
    let code = planes[at];
    if (bytes > 1) code |= planes[at + plane] << 8;
    if (bytes > 2) code |= planes[at + 2 * plane] << 16;
    if (bytes > 3) code = (code | (planes[at + 3 * plane] << 24)) >>> 0;
    if (code === 0) {
      values[at] = NaN;
      continue;
    }
    const zigzag = code - 1;
    steps += (zigzag >>> 1) ^ -(zigzag & 1);
    values[at] = steps * step;
  }
}

/** Reads arrays from the base64 text. */
export class NumberReader {
  constructor(private readonly base64: string) {}

  /** Float32 is exact enough for what is drawn. */
  floats(array: ArrayPlace): Promise<Float32Array> {
    return this.read(array, (size) => new Float32Array(size));
  }

  /** For times and frame numbers, which may be large. */
  doubles(array: ArrayPlace): Promise<Float64Array> {
    return this.read(array, (size) => new Float64Array(size));
  }

  /** For small whole numbers. */
  octets(array: ArrayPlace): Promise<Uint8Array> {
    return this.read(array, (size) => new Uint8Array(size));
  }

  bytes(place: { offset: number; length: number; size: number }): Promise<Uint8Array<ArrayBuffer>> {
    return inflate(base64Bytes(this.base64, place.offset, place.length), place.size);
  }

  private async read<T extends Numbers>(array: ArrayPlace, make: (size: number) => T): Promise<T> {
    const size = array.rows * array.columns;
    if (size === 0) return make(0);
    const planes = await this.bytes({ ...array, size: size * array.bytes });
    const values = make(size);
    for (let column = 0; column < array.columns; ++column) {
      decodeColumn(planes, array, column, values);
      await breathe();
    }
    return values;
  }
}
