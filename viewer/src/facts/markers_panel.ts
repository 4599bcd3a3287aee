// The markers with their share of gaps. A click chooses a marker, whose name then stands in the 3D area.

import type { MarkersData } from "../data/contract";
import { button, element, nameElement } from "../dom";
import { sortableTable } from "./sortable_table";

export interface MarkerShares {
  side: number;
  data: MarkersData;
  states: Uint8Array;
}

/** The share of frames in which a marker has a state: 0 gap, 2 filled. */
export function shareOfState(states: Uint8Array, rows: number, marker: number, state: number): number {
  let count = 0;
  for (let i = marker * rows; i < (marker + 1) * rows; ++i) if (states[i] === state) ++count;
  return rows ? count / rows : 0;
}

export function fillMarkers(
  panel: HTMLElement,
  sides: MarkerShares[],
  isComparison: boolean,
  choose: (side: number, marker: number) => void,
): void {
  panel.replaceChildren();
  if (!sides.length) {
    panel.append(element("p", "hint", "There are no markers."));
    return;
  }
  const percent = (share: number) => (share === 0 ? "–" : `${(share * 100).toFixed(share < 0.0995 ? 1 : 0)} %`);
  const rows = sides.flatMap(({ side, data, states }) =>
    data.names.map((name, marker) => ({
      side,
      marker,
      name,
      part: data.parts?.[marker] ?? "",
      gap: shareOfState(states, data.states.rows, marker, 0),
      filled: shareOfState(states, data.states.rows, marker, 2),
    })),
  );
  panel.append(
    sortableTable(rows, [
      {
        title: "Marker",
        cell: (row) => {
          const chooser = button("row-button", "", () => choose(row.side, row.marker));
          if (isComparison) chooser.append(element("span", `side-mark side-${row.side}`, "AB"[row.side]));
          chooser.append(nameElement(row.name));
          return chooser;
        },
        order: (row) => row.name,
      },
      { title: "Part", cell: (row) => nameElement(row.part || "–"), order: (row) => row.part },
      { title: "Gaps", isNumber: true, cell: (row) => percent(row.gap), order: (row) => row.gap },
      { title: "Filled", isNumber: true, cell: (row) => percent(row.filled), order: (row) => row.filled },
    ]),
  );
}
