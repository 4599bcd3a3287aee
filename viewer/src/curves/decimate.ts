// Curves with more frames than pixels: per pixel column the lowest and the highest value, so that no peak is lost.

export interface Decimated {
  /** Per column; NaN where no frame of it has a value. */
  low: Float32Array;
  high: Float32Array;
  /** Whether the lowest value comes before the highest. */
  lowFirst: Uint8Array;
}

/**
 * `starts` has the first frame of each column and, at the end, the frame behind the last column. A column without
 * frames is empty.
 */
export function decimate(values: Float32Array, starts: Int32Array): Decimated {
  const columns = starts.length - 1;
  const low = new Float32Array(columns).fill(NaN);
  const high = new Float32Array(columns).fill(NaN);
  const lowFirst = new Uint8Array(columns);
  for (let column = 0; column < columns; ++column) {
    let lowest = Infinity;
    let highest = -Infinity;
    let lowestAt = 0;
    let highestAt = 0;
    for (let i = starts[column]; i < starts[column + 1]; ++i) {
      const value = values[i];
      if (value < lowest) (lowest = value), (lowestAt = i);
      if (value > highest) (highest = value), (highestAt = i);
    }
    if (lowest > highest) continue;
    low[column] = lowest;
    high[column] = highest;
    lowFirst[column] = lowestAt <= highestAt ? 1 : 0;
  }
  return { low, high, lowFirst };
}
