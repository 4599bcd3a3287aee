// A page that shows a stream: its server sends frames, which the page shows as they come.

import type { CurveGroup } from "../curves/curves";
import { measure } from "../curves/curves";
import type { LiveData, LiveFrame, LiveStatus } from "../data/contract";
import { byId } from "../dom";
import type { SideTables } from "./sweep";
import { Sweep } from "./sweep";

export interface LivePage {
  rows: number;
  rowsPerSecond: number;
  sides: SideTables[];
  groups: CurveGroup[];
  /** Shows a row of the tables. */
  show(row: number): void;
  /** Shows the facts of the stream. */
  showFacts(facts: LiveStatus["facts"]): void;
  /** The first frames are there: the camera, the choice of curves. */
  arrange(): void;
  selectCurves(): void;
}

/** After these many frames it is known which curves move. */
const framesBeforeChoice = 90;
const measureMs = 500;

/** Receives until the page is closed. Returns what freezes the picture, or lets it go on. */
export function startLive(live: LiveData, page: LivePage): { freeze(frozen: boolean): void } {
  const sweep = new Sweep(page.rows, page.rowsPerSecond, page.sides);
  let waiting: LiveFrame[] = [];
  let frozen = false;
  let shown = 0;

  // All frames are written, those between two pictures too.
  const showWaiting = () => {
    if (!waiting.length) return;
    let row = 0;
    for (const frame of waiting) row = sweep.write(frame);
    byId("live-clock").textContent = waiting[waiting.length - 1].clock;
    if (shown === 0) page.arrange();
    page.show(row);
    const before = shown;
    shown += waiting.length;
    if (before < framesBeforeChoice && shown >= framesBeforeChoice) {
      measureAll();
      page.selectCurves();
    }
    waiting = [];
  };
  const measureAll = () => {
    for (const group of page.groups) group.curves.forEach(measure);
  };
  setInterval(measureAll, measureMs);

  byId("about-network").textContent = "The page shows what this machine's mien live sends to it, and sends nothing.";
  const state = byId("live-state");
  const setState = (name: "waiting" | "live" | "frozen" | "lost") => {
    state.dataset.state = name;
    state.textContent = { waiting: "waiting", live: "live", frozen: "frozen", lost: "no connection" }[name];
  };
  setState("waiting");

  const events = new EventSource(live.events);
  events.addEventListener("open", () => setState(frozen ? "frozen" : "live"));
  events.addEventListener("error", () => setState("lost")); // it connects again by itself
  events.addEventListener("frame", ({ data }) => {
    if (frozen) return;
    // A page in the background draws nothing: of what piles up there the newest frame is kept.
    if (waiting.length >= page.rows) waiting = [];
    waiting.push(JSON.parse(data as string) as LiveFrame);
    if (waiting.length === 1) requestAnimationFrame(showWaiting);
  });
  events.addEventListener("status", ({ data }) => {
    const status = JSON.parse(data as string) as LiveStatus;
    byId("summary").textContent = status.summary;
    page.showFacts(status.facts);
  });
  events.addEventListener("layout", () => location.reload()); // another performer: other names
  return {
    freeze(now) {
      frozen = now;
      setState(frozen ? "frozen" : "live");
    },
  };
}
