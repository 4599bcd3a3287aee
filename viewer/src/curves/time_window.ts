// The part of the take that the curves show, in seconds from the first frame.

export class TimeWindow {
  from = 0;
  to: number;
  private readonly listeners: (() => void)[] = [];

  /** `least` is the shortest part that zooming in reaches. */
  constructor(
    readonly duration: number,
    private readonly least: number,
  ) {
    this.to = this.whole;
  }

  /** A take of one frame still has an axis. */
  private get whole(): number {
    return Math.max(this.duration, this.least);
  }

  get span(): number {
    return this.to - this.from;
  }

  get isWhole(): boolean {
    return this.from <= 0 && this.to >= this.whole;
  }

  onChange(listener: () => void): void {
    this.listeners.push(listener);
  }

  set(from: number, to: number): void {
    const span = Math.min(this.whole, Math.max(this.least, to - from));
    const start = Math.min(this.whole - span, Math.max(0, from + (to - from - span) / 2));
    if (start === this.from && start + span === this.to) return;
    this.from = start;
    this.to = start + span;
    for (const listener of this.listeners) listener();
  }

  /** A factor below 1 zooms in; `at` stays in its place. */
  zoom(factor: number, at: number): void {
    const span = Math.min(this.whole, Math.max(this.least, this.span * factor));
    const share = (at - this.from) / this.span;
    this.set(at - share * span, at - share * span + span);
  }

  pan(seconds: number): void {
    this.set(this.from + seconds, this.to + seconds);
  }

  showAll(): void {
    this.set(0, this.whole);
  }

  /** Pages on if `at` is outside. */
  follow(at: number): void {
    if (at >= this.from && at <= this.to) return;
    const start = at - this.span * 0.05;
    this.set(start, start + this.span);
  }
}
