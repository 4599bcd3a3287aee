// How the curves of two sides differ. A click on a curve shows it at its largest difference.

import type { ComparedCurve } from "../data/contract";
import { button, nameElement } from "../dom";
import type { Playback } from "../transport/playback";
import { sortableTable } from "./sortable_table";

export function fillComparison(
  panel: HTMLElement,
  curves: ComparedCurve[],
  playback: Playback,
  choose: (curve: ComparedCurve) => void,
): void {
  const { timeline } = playback;
  const frameOf = (curve: ComparedCurve) => timeline.clamp(curve.largest_frame);
  const optional = (value: number | null, digits: number) => (value === null ? "–" : value.toFixed(digits));
  panel.append(
    sortableTable(
      curves,
      [
        {
          title: "Curve",
          cell: (curve) => {
            const chooser = button("row-button", "", () => choose(curve));
            const name = nameElement(curve.name);
            name.title = `${curve.group}: ${curve.name}, frame ${timeline.label(frameOf(curve))}`;
            chooser.append(name);
            return chooser;
          },
          order: (curve) => curve.name,
        },
        {
          title: "Largest",
          hint: "The largest difference in any frame",
          isNumber: true,
          cell: (curve) => curve.largest.toFixed(3),
          order: (curve) => curve.largest,
        },
        {
          title: "Frame",
          hint: "The frame of the largest difference",
          isNumber: true,
          cell: (curve) => String(timeline.number(frameOf(curve))),
          order: (curve) => curve.largest_frame,
        },
        {
          title: "RMS",
          hint: "The root of the mean squared difference",
          isNumber: true,
          cell: (curve) => curve.rms.toFixed(3),
          order: (curve) => curve.rms,
        },
        {
          title: "Corr.",
          hint: "The correlation; none for a curve that does not move",
          isNumber: true,
          cell: (curve) => optional(curve.correlation, 2),
          order: (curve) => curve.correlation,
        },
        {
          title: "Lag",
          hint: "How many frames the second curve is later",
          isNumber: true,
          cell: (curve) => optional(curve.lag_frames, 0),
          order: (curve) => curve.lag_frames,
        },
      ],
      1,
    ),
  );
}
