// What tests use to drive the page: window.mien, which appears as soon as the page knows its frames. README.md
// describes it.

import type { CurveGroup } from "./curves/curves";
import type { Plot } from "./curves/plot";
import type { View } from "./scene/view";
import type { Playback } from "./transport/playback";

export interface MienHook {
  /** When everything is decoded, except what is damaged. */
  ready: Promise<void>;
  /** The index of the frame that is shown. */
  frame(): number;
  seek(index: number): void;
  play(): void;
  pause(): void;
  /** Milliseconds. */
  timings: {
    /** From opening the page to the first frame with markers and head, and until all is decoded. */
    firstFrameMs: number;
    allDecodedMs: number;
    /** Script time of each frame that was played. */
    frameMs: number[];
    /** Of the last drawing of the curves. */
    curvesMs(): number;
  };
  /** Per node with morph targets, the weights that the head shows now. */
  weightsShown(side: number): number[][];
  /** Where a marker is shown in its group, and in which state (0 to 4); x is NaN where it is not shown. */
  markerShown(side: number, marker: number): { place: number[]; state: number } | undefined;
  /** The curves that are selected, "GROUP/NAME". */
  curvesShown(): string[];
  /** The part of the take that the curves show, in seconds. */
  curveWindow(): [number, number];
  /** The world matrix of a side's markers or head, column by column. */
  matrixShown(side: number, what: "markers" | "head"): number[] | undefined;
}

declare global {
  interface Window {
    mien?: MienHook;
  }
}

export const timings = { firstFrameMs: NaN, allDecodedMs: NaN };

export function exposeHook(
  ready: Promise<void>,
  playback: Playback,
  view: View,
  plot: Plot,
  groups: CurveGroup[],
): void {
  window.mien = {
    ready,
    frame: () => playback.frame,
    seek: (index) => playback.seek(index),
    play: () => playback.play(),
    pause: () => playback.pause(),
    timings: Object.assign(timings, { frameMs: playback.frameMs, curvesMs: () => plot.drawMs }),
    weightsShown: (side) => {
      const head = view.sides[side]?.head;
      return head ? head.morphNodes.map((node) => head.weights(node)) : [];
    },
    markerShown: (side, marker) => {
      const cloud = view.sides[side]?.cloud;
      if (!cloud) return undefined;
      const place = Array.from(cloud.shownPlaces.subarray(marker * 3, marker * 3 + 3));
      return { place, state: cloud.shownStates[marker] };
    },
    curvesShown: () =>
      groups.flatMap((group) =>
        group.curves.filter((curve) => curve.selected).map((curve) => `${group.name}/${curve.name}`),
      ),
    curveWindow: () => [plot.window.from, plot.window.to],
    matrixShown: (side, what) => {
      const shown = view.sides[side];
      const object = what === "markers" ? shown?.cloud?.group : shown?.head?.carrier;
      object?.updateWorldMatrix(true, false);
      return object?.matrixWorld.toArray();
    },
  };
}
