// The page: reads its data, shows the first frame as soon as it can, then decodes the rest.

import { addValues, makeGroups, select, selectMostMoving } from "./curves/curves";
import { CurveList } from "./curves/curve_list";
import { Plot } from "./curves/plot";
import { withParts } from "./curves/span_shades";
import { TimeWindow } from "./curves/time_window";
import type { PageData, SideData } from "./data/contract";
import { NumberReader } from "./data/numbers";
import { readEmbedded } from "./data/page_data";
import { parseTimecode } from "./data/timecode";
import { Timeline } from "./data/timeline";
import { fillDialogs, openDialog } from "./dialogs";
import { byId, element, onToggle } from "./dom";
import { fillComparison } from "./facts/comparison_panel";
import { fillFacts } from "./facts/facts_panel";
import type { FlagOfSide } from "./facts/findings_panel";
import { fillFindings } from "./facts/findings_panel";
import type { MarkerShares } from "./facts/markers_panel";
import { fillMarkers } from "./facts/markers_panel";
import { startLive } from "./live/live";
import type { SideTables } from "./live/sweep";
import { View } from "./scene/view";
import { startSplitter } from "./splitter";
import { Tabs } from "./tabs";
import { exposeHook, timings } from "./test_hook";
import { startTheme } from "./theme";
import type { Key } from "./transport/keyboard";
import { startKeyboard } from "./transport/keyboard";
import { Playback } from "./transport/playback";
import { Scrubber } from "./transport/scrubber";
import { startTransportBar } from "./transport/transport_bar";

function showProblem(problem: unknown): void {
  byId("problems").append(element("p", "", problem instanceof Error ? problem.message : String(problem)));
  byId("problems").hidden = false;
}

/** Sorted by time, of all sides. */
function allFlags(sides: SideData[]): FlagOfSide[] {
  const flags = sides.flatMap((side, s) => (side.flags ?? []).map((flag) => ({ ...flag, side: s })));
  return flags.sort((a, b) => a.first - b.first);
}

function showHeader(data: PageData, timeline: Timeline): void {
  document.title = `${data.title} – mien`;
  byId("title").textContent = data.title;
  byId("title").title = data.title;
  if (data.live) return; // the stream says how long and how fast it is
  const hz = data.rate[0] / data.rate[1];
  const tenths = Math.round(timeline.duration * 10);
  const length = `${Math.floor(tenths / 600)}:${((tenths % 600) / 10).toFixed(1).padStart(4, "0")}`;
  const count = String(timeline.count).replace(/\B(?=(\d{3})+$)/g, ",");
  byId("summary").textContent = `${count} ${timeline.count === 1 ? "frame" : "frames"} · ${Number(hz.toFixed(3))} Hz · ${length}`;
}

async function start(): Promise<void> {
  startTheme(byId("theme"));
  startSplitter();
  const { data, base64 } = readEmbedded();
  const reader = new NumberReader(base64);
  const timeline = new Timeline(
    await reader.doubles(data.frames),
    await reader.doubles(data.times),
    data.timecode === undefined ? undefined : parseTimecode(data.timecode),
    data.timecode_offset_s ?? 0,
  );
  const { sides } = data;
  const playback = new Playback(timeline);
  const flags = allFlags(sides);
  const groups = makeGroups(sides);
  showHeader(data, timeline);
  byId("page").classList.toggle("two-sides", sides.length > 1);
  byId("page").classList.toggle("live", data.live !== undefined);

  const partOfMarker = new Map<string, string>();
  for (const { markers } of sides) {
    markers?.names.forEach((name, m) => {
      const part = markers.parts?.[m];
      if (part) partOfMarker.set(name, part);
    });
  }
  const spans = sides.flatMap((side) => side.spans ?? []);

  // The panels beside the 3D area.
  const tabs = new Tabs();
  const worst = sides.flatMap((side, s) => (side.worst ?? []).map((frame) => ({ ...frame, side: s })));
  const comparisonPanel = data.comparison && tabs.add("Compare", data.comparison.curves.length);
  const factsPanel = tabs.add("Facts");
  fillFacts(factsPanel, sides, data.comparison?.text);
  const goToFlag = (flag: FlagOfSide) => {
    playback.pause();
    if (flag.curve) showCurve(flag.curve[0], flag.curve[1], false);
    playback.seek(flag.first);
    window_.follow(timeline.seconds(playback.frame));
  };
  if (!data.live) {
    const findings = tabs.add("Findings", worst.length + flags.length);
    fillFindings(findings, worst, flags, sides.length, playback, goToFlag);
  }
  const markerCount = sides.reduce((sum, side) => sum + (side.markers?.names.length ?? 0), 0);
  const markersPanel = tabs.add("Markers", markerCount);

  // The curves.
  const frameSeconds = timeline.count > 1 ? timeline.duration / timeline.last : data.rate[1] / data.rate[0];
  const window_ = new TimeWindow(timeline.duration, Math.max(1e-3, frameSeconds * 8));
  const plot = new Plot(byId("plot"), groups, withParts(spans, partOfMarker), flags, playback, window_, sides.map((s) => s.name));
  const search = byId<HTMLInputElement>("search");
  const list = new CurveList(byId("curve-list"), search, groups, playback, sides.length, () => plot.redraw());
  /** Selects a curve, `alone` in its group or in addition. */
  const showCurve = (groupName: string, name: string, alone: boolean) => {
    const group = groups.find((candidate) => candidate.name === groupName);
    const curve = group?.curves.find((candidate) => candidate.name === name);
    if (!group || !curve) return;
    if (alone) for (const other of groups) for (const each of other.curves) select(other, each, false);
    select(group, curve, true);
    list.showChoice();
    list.reveal(curve);
    plot.redraw();
  };
  const selectDefault = () => {
    groups.forEach(selectMostMoving);
    list.showChoice();
    plot.redraw();
  };
  byId("select-default").addEventListener("click", selectDefault);
  byId("select-none").addEventListener("click", () => {
    for (const group of groups) for (const curve of group.curves) select(group, curve, false);
    list.showChoice();
    plot.redraw();
  });
  onToggle(byId("fit-values"), (pressed) => plot.setFit(pressed));
  const zoom = (factor: number) => {
    const at = timeline.seconds(playback.frame);
    window_.zoom(factor, at >= window_.from && at <= window_.to ? at : (window_.from + window_.to) / 2);
  };
  byId("zoom-in").addEventListener("click", () => zoom(0.5));
  byId("zoom-out").addEventListener("click", () => zoom(2));
  byId("zoom-all").addEventListener("click", () => window_.showAll());

  // The 3D area and the transport.
  const view = new View(byId("stage"), sides.map((side) => side.name), playback, () => tabs.select("Markers"));
  new Scrubber(byId("scrubber"), spans, flags, playback);
  startTransportBar(playback);
  if (comparisonPanel && data.comparison) {
    fillComparison(comparisonPanel, data.comparison.curves, playback, (curve) => {
      playback.pause();
      showCurve(curve.group, curve.name, true);
      playback.seek(curve.largest_frame);
      window_.follow(timeline.seconds(playback.frame));
    });
  }
  const stepToFlag = (direction: 1 | -1) => {
    const later = (flag: FlagOfSide) => (flag.first - playback.frame) * direction > 0;
    const next = direction > 0 ? flags.find(later) : [...flags].reverse().find(later);
    if (next) goToFlag(next);
  };
  byId("previous-flag").addEventListener("click", () => stepToFlag(-1));
  byId("next-flag").addEventListener("click", () => stepToFlag(1));
  const freeze = byId("live-freeze");
  const keys: Key[] = [
    data.live
      ? { keys: [" "], label: "Space", text: "freeze the picture, or continue", run: () => freeze.click() }
      : { keys: [" "], label: "Space", text: "play or pause", run: () => playback.toggle() },
    { keys: ["ArrowLeft"], label: "←", text: "one frame back", run: () => playback.step(-1) },
    { keys: ["ArrowRight"], label: "→", text: "one frame on", run: () => playback.step(1) },
    { keys: ["Shift+ArrowLeft"], label: "Shift ←", text: "10 frames back", run: () => playback.step(-10) },
    { keys: ["Shift+ArrowRight"], label: "Shift →", text: "10 frames on", run: () => playback.step(10) },
    { keys: ["Home"], label: "Home", text: "first frame", run: () => playback.seek(0) },
    { keys: ["End"], label: "End", text: "last frame", run: () => playback.seek(timeline.last) },
    { keys: [","], label: ",", text: "previous flag", run: () => stepToFlag(-1) },
    { keys: ["."], label: ".", text: "next flag", run: () => stepToFlag(1) },
    { keys: ["+", "="], label: "+", text: "zoom the curves in", run: () => zoom(0.5) },
    { keys: ["-"], label: "-", text: "zoom the curves out", run: () => zoom(2) },
    { keys: ["0"], label: "0", text: "show the whole take", run: () => window_.showAll() },
    { keys: ["/"], label: "/", text: "search a curve", run: () => search.focus() },
    { keys: ["?"], label: "?", text: "this list", run: () => openDialog("keys") },
  ];
  search.addEventListener("keydown", (event) => {
    if (event.key === "Escape") search.blur();
  });
  startKeyboard(keys);
  fillDialogs(keys, data.generator);
  let finished = () => {};
  exposeHook(new Promise((resolve) => (finished = resolve)), playback, view, plot, groups);

  // First what the first frame needs, then the rest. A damaged part does not keep the others from being shown.
  const attempt = async (work: () => Promise<void>) => {
    try {
      await work();
    } catch (problem) {
      showProblem(problem);
    }
  };
  const tables: SideTables[] = sides.map(() => ({ groups: [], moved: [] }));
  const motions: (Float32Array | undefined)[] = [];
  const shares: MarkerShares[] = [];
  for (const [s, side] of sides.entries()) {
    await attempt(async () => {
      tables[s].motion = motions[s] = side.head_motion && (await reader.floats(side.head_motion));
      const { markers } = side;
      if (!markers) return;
      const states = await reader.octets(markers.states);
      shares.push({ side: s, data: markers, states });
      if (!view.works) return;
      const positions = await reader.floats(markers.positions);
      Object.assign(tables[s], { positions, states });
      view.addMarkers(s, markers, positions, states, motions[s]);
    });
  }
  for (const [s, { head }] of sides.entries()) {
    await attempt(async () => {
      if (!head || !view.works) return;
      await view.addHead(s, head, (await reader.bytes(head.glb)).buffer, motions[s]);
    });
  }
  playback.seek(0);
  timings.firstFrameMs = performance.now();
  fillMarkers(markersPanel, shares, sides.length > 1, (side, marker) => view.chooseMarker({ side, marker }));

  const isDecoded = new Set<string>();
  for (const [s, side] of sides.entries()) {
    for (const group of side.groups ?? []) {
      await attempt(async () => {
        const values = await reader.floats(group.values);
        tables[s].groups.push(values);
        addValues(groups, s, group, values);
        view.addGroup(s, group.name, group.values.rows, values);
        const model = groups.find((candidate) => candidate.name === group.name);
        if (model && !isDecoded.has(group.name)) selectMostMoving(model);
        isDecoded.add(group.name);
        list.showChoice();
        plot.redraw();
      });
    }
    await attempt(async () => {
      const moved = [];
      for (const node of (view.works && side.head?.moved) || []) {
        moved.push({
          node: node.node,
          rotation: node.rotation && (await reader.floats(node.rotation)),
          translation: node.translation && (await reader.floats(node.translation)),
          scale: node.scale && (await reader.floats(node.scale)),
        });
      }
      tables[s].moved = moved;
      view.setMoved(s, moved);
    });
  }
  view.finish();
  if (data.live) {
    const stream = startLive(data.live, {
      rows: timeline.count,
      rowsPerSecond: data.rate[0] / data.rate[1],
      sides: tables,
      groups,
      show: (row) => {
        playback.seek(row);
        plot.redraw();
      },
      showFacts: (facts) => {
        factsPanel.replaceChildren();
        fillFacts(factsPanel, [{ name: "", facts }], undefined);
      },
      arrange: () => view.arrange(),
      selectCurves: selectDefault,
    });
    onToggle(freeze, (pressed) => stream.freeze(pressed));
  }
  timings.allDecodedMs = performance.now();
  finished();
}

start().catch(showProblem);
