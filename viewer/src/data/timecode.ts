// Timecode: the time of day that a recorder stamped on the first frame, counted on from there.

/** "HH:MM:SS:FF@COUNT"; ";" before FF drops numbers to stay with the clock. */
export interface Timecode {
  /** Counts since midnight. */
  count: number;
  /** Counts per second: 30, 25, 30000/1001 ... */
  hz: number;
  drop: boolean;
}

/** Numbers per second: 30 for 29.97 counts per second. */
const numbersPerSecond = (timecode: Timecode) => Math.round(timecode.hz);

/** The numbers that each minute skips, except every tenth: 2 for 30, 4 for 60. */
const skippedPerMinute = (timecode: Timecode) => (timecode.drop ? numbersPerSecond(timecode) / 15 : 0);

/** Nothing for text that is not a timecode. */
export function parseTimecode(text: string): Timecode | undefined {
  const match = /^(\d+):(\d+):(\d+)([:;])(\d+)@(\d+(?:\.\d+)?)(?:\/(\d+))?$/.exec(text);
  if (!match) return undefined;
  const [hours, minutes, seconds, frame] = [match[1], match[2], match[3], match[5]].map(Number);
  const hz = Number(match[6]) / Number(match[7] ?? 1);
  if (!(hz >= 0.5 && hz <= 1000)) return undefined;
  const timecode = { count: 0, hz, drop: match[4] === ";" };
  const numbers = numbersPerSecond(timecode);
  if ((timecode.drop && numbers % 30 !== 0) || minutes > 59 || seconds > 59 || frame >= numbers) return undefined;
  const minute = hours * 60 + minutes;
  const skipped = (minute - Math.floor(minute / 10)) * skippedPerMinute(timecode);
  timecode.count = (minute * 60 + seconds) * numbers + frame - skipped;
  return timecode;
}

/** The number of a count since midnight: skipped numbers are put back. */
function numberOfCount(timecode: Timecode, count: number): number {
  const skipped = skippedPerMinute(timecode);
  if (skipped === 0) return count;
  const inMinute = 60 * numbersPerSecond(timecode) - skipped;
  const inTen = 10 * inMinute + skipped;
  const rest = count % inTen;
  const minutes = rest < inMinute + skipped ? 0 : Math.floor((rest - skipped) / inMinute);
  return count + (Math.floor(count / inTen) * 9 + minutes) * skipped;
}

/** The timecode `seconds` after the first frame. Between two counts, the earlier one. */
export function timecodeAt(timecode: Timecode, seconds: number): string {
  const numbers = numbersPerSecond(timecode);
  const day = 24 * 60 * 60 * numbers - (24 * 60 - 24 * 6) * skippedPerMinute(timecode);
  // Times are stored in steps of 0.1 ms, which may lie a little before the count.
  const later = Math.floor(seconds * timecode.hz + 0.02);
  const number = numberOfCount(timecode, (((timecode.count + later) % day) + day) % day);
  const two = (value: number) => String(value).padStart(2, "0");
  const second = Math.floor(number / numbers);
  const clock = [Math.floor(second / 3600), Math.floor(second / 60) % 60, second % 60].map(two).join(":");
  return `${clock}${timecode.drop ? ";" : ":"}${two(number % numbers)}`;
}
