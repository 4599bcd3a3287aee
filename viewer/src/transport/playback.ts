// The current frame, and playing. Frames are indices into the timeline.

import type { Timeline } from "../data/timeline";

type Listener = () => void;

export class Playback {
  private index = 0;
  private isPlaying = false;
  private speedFactor = 1;
  private looping = true;
  private anchorMs = 0; // the clock's time at which anchorSeconds was shown
  private anchorSeconds = 0;
  private readonly frameListeners: Listener[] = [];
  private readonly stateListeners: Listener[] = [];
  /** Milliseconds of script for each frame that was played: the callback from start to end. */
  readonly frameMs: number[] = [];

  constructor(readonly timeline: Timeline) {}

  get frame(): number {
    return this.index;
  }

  get playing(): boolean {
    return this.isPlaying;
  }

  get speed(): number {
    return this.speedFactor;
  }

  get loop(): boolean {
    return this.looping;
  }

  onFrame(listener: Listener): void {
    this.frameListeners.push(listener);
  }

  /** Playing, speed or loop changed. */
  onState(listener: Listener): void {
    this.stateListeners.push(listener);
  }

  seek(index: number): void {
    this.show(this.timeline.clamp(index));
    this.setAnchor();
  }

  /** By hand, frame by frame: also pauses. */
  step(frames: number): void {
    this.pause();
    this.seek(this.index + frames);
  }

  play(): void {
    if (this.isPlaying || this.timeline.count < 2) return;
    if (this.index === this.timeline.last) this.show(0);
    this.isPlaying = true;
    this.setAnchor();
    this.changed();
    requestAnimationFrame(this.tick);
  }

  pause(): void {
    if (!this.isPlaying) return;
    this.isPlaying = false;
    this.changed();
  }

  toggle(): void {
    if (this.isPlaying) this.pause();
    else this.play();
  }

  setSpeed(speed: number): void {
    this.speedFactor = speed;
    this.setAnchor();
    this.changed();
  }

  setLoop(loop: boolean): void {
    this.looping = loop;
    this.changed();
  }

  private readonly tick = () => {
    if (!this.isPlaying) return;
    const started = performance.now();
    let seconds = this.anchorSeconds + ((started - this.anchorMs) / 1000) * this.speedFactor;
    // The last frame is shown as long as the others on average.
    const { duration, last } = this.timeline;
    const period = duration + duration / last;
    if (seconds >= period) {
      if (!this.looping) {
        this.show(last);
        this.pause();
        return;
      }
      seconds %= period;
      this.anchorSeconds = seconds;
      this.anchorMs = started;
    }
    const next = this.timeline.indexAt(seconds);
    if (next !== this.index) {
      this.show(next);
      if (this.frameMs.length < 100000) this.frameMs.push(performance.now() - started);
    }
    requestAnimationFrame(this.tick);
  };

  private show(index: number): void {
    this.index = index;
    for (const listener of this.frameListeners) listener();
  }

  private setAnchor(): void {
    this.anchorMs = performance.now();
    this.anchorSeconds = this.timeline.seconds(this.index);
  }

  private changed(): void {
    for (const listener of this.stateListeners) listener();
  }
}
