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
  /** Called with the first frame: places the camera. */
  arrange(): void;
  selectCurves(): void;
}

/** The number of frames after which the curves that move are selected. */
const framesBeforeChoice = 90;
const measureMs = 500;

/** Receives frames until the page is closed. `freeze` stops and restarts the picture. */
export function startLive(live: LiveData, page: LivePage): { freeze(frozen: boolean): void } {
  const sweep = new Sweep(page.rows, page.rowsPerSecond, page.sides);
  let waiting: LiveFrame[] = [];
  let frozen = false;
  let shown = 0;

  // Write all frames, also those between two pictures.
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

  byId("about-network").textContent = "The page shows what mien live sends, and sends nothing.";
  const state = byId("live-state");
  const setState = (name: "waiting" | "live" | "frozen" | "lost") => {
    state.dataset.state = name;
    state.textContent = { waiting: "waiting", live: "live", frozen: "frozen", lost: "no connection" }[name];
  };
  setState("waiting");

  const events = new EventSource(live.events);
  events.addEventListener("open", () => setState(frozen ? "frozen" : "live"));
  events.addEventListener("error", () => setState("lost")); // the browser reconnects by itself
  events.addEventListener("frame", ({ data }) => {
    if (frozen) return;
    // A page in the background draws nothing: drop what has accumulated and keep the newest frame.
    if (waiting.length >= page.rows) waiting = [];
    waiting.push(JSON.parse(data as string) as LiveFrame);
    if (waiting.length === 1) requestAnimationFrame(showWaiting);
  });
  events.addEventListener("status", ({ data }) => {
    const status = JSON.parse(data as string) as LiveStatus;
    byId("summary").textContent = status.summary;
    page.showFacts(status.facts);
  });
  events.addEventListener("layout", () => {
    events.close(); // what follows has other names: another face, or another performer
    location.reload();
  });
  return {
    freeze(now) {
      frozen = now;
      setState(frozen ? "frozen" : "live");
    },
  };
}
