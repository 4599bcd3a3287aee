// The buttons and fields of the transport: play, step, speed, loop, frame number, timecode.

import { byId, onToggle } from "../dom";
import type { Playback } from "./playback";

export function startTransportBar(playback: Playback): void {
  const { timeline } = playback;
  const play = byId("play");
  const speed = byId<HTMLSelectElement>("speed");
  const frame = byId<HTMLInputElement>("frame-number");
  const clock = byId<HTMLInputElement>("clock");

  play.addEventListener("click", () => playback.toggle());
  byId("to-start").addEventListener("click", () => playback.seek(0));
  byId("to-end").addEventListener("click", () => playback.seek(timeline.last));
  byId("step-back").addEventListener("click", () => playback.step(-1));
  byId("step-on").addEventListener("click", () => playback.step(1));
  onToggle(byId("loop"), (pressed) => playback.setLoop(pressed));
  speed.addEventListener("change", () => playback.setSpeed(Number(speed.value)));

  byId("clock-label").textContent = timeline.hasTimecode ? "Timecode" : "Time";
  byId("frame-last").textContent = String(timeline.number(timeline.last));
  clock.readOnly = !timeline.hasTimecode;
  const show = () => {
    if (document.activeElement !== frame) frame.value = String(timeline.number(playback.frame));
    if (document.activeElement !== clock) clock.value = timeline.clock(playback.frame);
  };
  field(frame, show, (text) => (/^-?\d+$/.test(text) ? timeline.indexOfNumber(Number(text)) : -1));
  field(clock, show, (text) => timeline.indexOfClock(text));
  playback.onFrame(show);
  playback.onState(() => {
    play.setAttribute("aria-label", playback.playing ? "Pause" : "Play");
    play.classList.toggle("is-playing", playback.playing);
  });
  show();

  /** Enter goes to what was typed, escape back to the current frame. `find` returns -1 for what is not there. */
  function field(input: HTMLInputElement, reset: () => void, find: (text: string) => number): void {
    input.addEventListener("focus", () => input.select());
    input.addEventListener("input", () => input.removeAttribute("aria-invalid"));
    input.addEventListener("blur", () => {
      input.removeAttribute("aria-invalid");
      reset();
    });
    input.addEventListener("keydown", (event) => {
      if (event.key === "Escape") input.blur();
      if (event.key !== "Enter" || input.readOnly) return;
      const index = find(input.value.trim());
      if (index < 0) {
        input.setAttribute("aria-invalid", "true");
        return;
      }
      playback.pause();
      playback.seek(index);
      input.blur();
    });
  }
}
