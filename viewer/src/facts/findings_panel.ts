// The frames that deserve a look: the worst ones, and the flags by time.

import type { FlagData, WorstData } from "../data/contract";
import { button, element } from "../dom";
import type { Playback } from "../transport/playback";

export interface FlagOfSide extends FlagData {
  side: number;
}

export interface WorstOfSide extends WorstData {
  side: number;
}

const firstShown = 300; // more are shown when asked for

export function fillFindings(
  panel: HTMLElement,
  worst: WorstOfSide[],
  flags: FlagOfSide[],
  sideCount: number,
  playback: Playback,
  goToFlag: (flag: FlagOfSide) => void,
): void {
  const { timeline } = playback;
  const entry = (frame: number, side: number, kind: string, text: string, go: () => void) => {
    const row = button("finding", "", go);
    row.append(element("span", "finding-frame number", String(timeline.number(timeline.clamp(frame)))));
    row.append(element("span", "finding-clock number", timeline.clock(timeline.clamp(frame))));
    if (sideCount > 1) row.append(element("span", `side-mark side-${side}`, "AB"[side]));
    if (kind) {
      const badge = element("span", "badge", kind);
      badge.dataset.kind = kind;
      row.append(badge);
    }
    row.append(element("bdi", "finding-text", text));
    return row;
  };

  if (worst.length) {
    panel.append(element("h2", "", "Worst frames"));
    for (const { frame, side, text } of worst) {
      panel.append(entry(frame, side, "", text, () => playback.seek(frame)));
    }
  }
  panel.append(element("h2", "", "Flags"));
  if (!flags.length) {
    panel.append(element("p", "hint", "No jumps, limits or poor residuals were found."));
    return;
  }

  const kinds = [...new Set(flags.map((flag) => flag.kind))];
  const filter = element("div", "filter");
  const list = element("div");
  let shownKind = "";
  let most = firstShown;
  const fill = () => {
    const chosen = flags.filter((flag) => !shownKind || flag.kind === shownKind);
    list.replaceChildren(
      ...chosen.slice(0, most).map((flag) => entry(flag.first, flag.side, flag.kind, flag.text, () => goToFlag(flag))),
    );
    if (chosen.length > most) {
      list.append(
        button("small", `Show all ${chosen.length}`, () => {
          most = Infinity;
          fill();
        }),
      );
    }
    for (const choice of filter.children) {
      choice.setAttribute("aria-pressed", String((choice as HTMLElement).dataset.kind === shownKind));
    }
  };
  for (const kind of kinds.length > 1 ? ["", ...kinds] : []) {
    const count = flags.filter((flag) => !kind || flag.kind === kind).length;
    const choice = button("small", `${kind || "all"} ${count}`, () => {
      shownKind = kind;
      fill();
    });
    choice.dataset.kind = kind;
    filter.append(choice);
  }
  panel.append(filter, list);
  fill();
}
