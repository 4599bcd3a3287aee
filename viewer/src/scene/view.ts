// The 3D area with its buttons: what the sides show in the current frame.

import { Box3 } from "three";
import type { HeadData, MarkersData } from "../data/contract";
import { markerStates } from "../data/contract";
import { byId, element, onToggle } from "../dom";
import { onTheme } from "../theme";
import type { Playback } from "../transport/playback";
import type { MovedNode } from "./animated_head";
import { AnimatedHead } from "./animated_head";
import type { MarkerOfSide } from "./labels";
import { Labels } from "./labels";
import { MarkerCloud } from "./marker_cloud";
import type { Shown } from "./scene_side";
import { SceneSide } from "./scene_side";
import { Stage } from "./stage";

export class View {
  private readonly shown: Shown = { markers: true, head: true, ghost: false, headMotion: true };
  private readonly stage: Stage | undefined;
  private readonly labels: Labels | undefined;
  readonly sides: SceneSide[];
  private overlaid = false;
  private readonly legend: HTMLElement[] = [];
  private readonly messages = byId("stage-messages");

  constructor(
    private readonly area: HTMLElement,
    sideNames: string[],
    private readonly playback: Playback,
    onMarkerChoice: (choice: MarkerOfSide | undefined) => void,
  ) {
    this.sides = sideNames.map((name) => new SceneSide(name));
    for (const cell of document.querySelectorAll<HTMLElement>("#legend [data-count]")) this.legend.push(cell);
    try {
      this.stage = new Stage(area);
    } catch {
      this.say("This browser cannot draw in 3D: WebGL is unavailable. Everything else on the page works.");
      byId("stage-tools").hidden = true;
      byId("legend").hidden = true;
      return;
    }
    for (const side of this.sides) this.stage.add(side.root);
    this.labels = new Labels(area, this.stage, this.sides, onMarkerChoice);
    this.addButtons(this.stage);
    playback.onFrame(() => this.showFrame(playback.playing));
    onTheme(() => {
      for (const { cloud } of this.sides) cloud?.showTheme();
    });
  }

  /** Without WebGL nothing has to be decoded for this area. */
  get works(): boolean {
    return this.stage !== undefined;
  }

  addMarkers(side: number, data: MarkersData, positions: Float32Array, states: Uint8Array, motion?: Float32Array): void {
    const target = this.sides[side];
    target.headMotion = motion;
    target.setCloud(new MarkerCloud(data, positions, states, side));
    this.arrange();
    this.stage?.draw();
  }

  /** The head's curves arrive later, in head.groups. Says why if the head cannot be shown. */
  async addHead(side: number, data: HeadData, bytes: ArrayBuffer, motion: Float32Array | undefined): Promise<void> {
    try {
      const head = await AnimatedHead.load(bytes, data);
      this.sides[side].headMotion = motion;
      this.sides[side].setHead(head);
      this.arrange();
    } catch (problem) {
      const reason = problem instanceof Error ? problem.message.replace(/^THREE\.GLTFLoader: /, "") : String(problem);
      this.say(`The head ${data.name} cannot be shown here: ${reason}`);
    }
  }

  addGroup(side: number, name: string, rows: number, values: Float32Array): void {
    this.sides[side].head?.groups.set(name, { rows, values });
    if (this.sides[side].head) this.showFrame(false);
  }

  setMoved(side: number, moved: MovedNode[]): void {
    const { head } = this.sides[side];
    if (head) head.moved = moved;
    this.showFrame(false);
  }

  chooseMarker(choice: MarkerOfSide | undefined): void {
    this.labels?.choose(choice);
  }

  /** After everything is there. */
  finish(): void {
    if (this.sides.some((side) => side.head?.isReflecting)) this.stage?.lightByRoom();
    this.showFrame(false);
  }

  say(message: string): void {
    this.messages.append(element("p", "", message));
  }

  private showFrame(atOnce: boolean): void {
    if (!this.stage) return;
    for (const side of this.sides) side.show(this.playback.frame, this.shown);
    markerStates.forEach((_, state) => {
      const counts = this.sides.flatMap(({ cloud }) => (cloud ? [cloud.counts[state]] : []));
      const text = counts.join(" | ");
      if (this.legend[state] && this.legend[state].textContent !== text) this.legend[state].textContent = text;
    });
    if (atOnce) this.stage.draw();
    else this.stage.request();
  }

  /** Places the sides beside each other, and the camera so that it sees all. */
  arrange(): void {
    if (!this.stage) return;
    const boxes = this.sides.map((side) => side.box(this.shown));
    const filled = boxes.filter((box) => !box.isEmpty());
    if (this.sides.length > 1 && filled.length) {
      const width = Math.max(...filled.map((box) => box.max.x - box.min.x));
      this.sides.forEach((side, s) => (side.root.position.x = this.overlaid ? 0 : (s - 0.5) * width * 1.15));
    }
    this.labels?.place(boxes);
    const all = new Box3();
    boxes.forEach((box, s) => all.union(box.clone().translate(this.sides[s].root.position)));
    if (this.sides.length > 1) all.max.y += (all.max.y - all.min.y) * 0.1; // for the names
    this.stage.setContent(all);
    this.stage.showContent();
    this.showFrame(false);
    byId("legend").hidden = !this.sides.some((side) => side.cloud);
  }

  private addButtons(stage: Stage): void {
    byId("look-front").addEventListener("click", () => stage.turnToFront());
    byId("look-side").addEventListener("click", () => stage.turnToSide());
    byId("look-reset").addEventListener("click", () => this.arrange());
    const toggles: [string, keyof Shown][] = [
      ["show-markers", "markers"],
      ["show-head", "head"],
      ["show-ghost", "ghost"],
      ["show-motion", "headMotion"],
    ];
    for (const [id, what] of toggles) {
      onToggle(byId(id), (pressed) => {
        this.shown[what] = pressed;
        if (what === "headMotion") this.arrange();
        else this.showFrame(false);
      });
    }
    const overlay = byId("show-overlay");
    overlay.hidden = this.sides.length < 2;
    onToggle(overlay, (pressed) => {
      this.overlaid = pressed;
      this.arrange();
    });
    this.area.classList.add("has-stage");
  }
}
