// Round places for ticks and grid lines.

/** The smallest of 1, 2 and 5 times a power of ten that is at least `least`. */
export function roundStep(least: number): number {
  if (!(least > 0)) return 1;
  const power = 10 ** Math.floor(Math.log10(least));
  for (const factor of [1, 2, 5]) if (factor * power >= least * (1 - 1e-9)) return factor * power;
  return 10 * power;
}

/** Multiples of a round step in [low, high], about `count` of them. */
export function ticks(low: number, high: number, count: number): { values: number[]; digits: number } {
  const step = roundStep((high - low) / Math.max(1, count));
  const values: number[] = [];
  for (let i = Math.ceil(low / step - 1e-9); i * step <= high + step * 1e-9 && values.length < 1000; ++i) {
    values.push(i * step + 0); // no negative zero
  }
  return { values, digits: Math.max(0, -Math.floor(Math.log10(step) + 1e-9)) };
}
