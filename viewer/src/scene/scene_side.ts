// One side in the scene: its markers, its neutral face and its head, with or without the head's motion.

import { Box3, Group, Matrix4, Quaternion, Vector3 } from "three";
import type { AnimatedHead } from "./animated_head";
import type { MarkerCloud } from "./marker_cloud";

export interface Shown {
  markers: boolean;
  head: boolean;
  ghost: boolean;
  headMotion: boolean;
}

export class SceneSide {
  readonly root = new Group();
  cloud: MarkerCloud | undefined;
  head: AnimatedHead | undefined;
  /** Seven columns: rotation x, y, z, w and translation in metres. */
  headMotion: Float32Array | undefined;

  constructor(readonly name: string) {}

  setCloud(cloud: MarkerCloud): void {
    this.cloud = cloud;
    cloud.group.matrixAutoUpdate = false;
    cloud.ghost.matrixAutoUpdate = false;
    this.root.add(cloud.group, cloud.ghost);
  }

  setHead(head: AnimatedHead): void {
    this.head = head;
    this.root.add(head.carrier);
    const markers = this.markerBox(true);
    if (markers.isEmpty()) {
      head.place(new Vector3(), 240);
      return;
    }
    // Beside the markers, which do not cover the whole head.
    const size = markers.getSize(new Vector3());
    const height = size.y * 1.4;
    head.place(markers.getCenter(new Vector3()).add(new Vector3(size.x / 2 + height * 0.6, 0, 0)), height);
  }

  show(frame: number, shown: Shown): void {
    const motion = this.motionAt(frame);
    const { cloud, head } = this;
    if (cloud) {
      cloud.group.visible = shown.markers;
      cloud.ghost.visible = shown.ghost;
      if (shown.markers) cloud.show(frame);
      cloud.group.matrix.identity();
      cloud.ghost.matrix.identity();
      if (motion && shown.headMotion) cloud.ghost.matrix.copy(motion);
      else if (motion) cloud.group.matrix.copy(motion).invert();
      cloud.group.matrixWorldNeedsUpdate = cloud.ghost.matrixWorldNeedsUpdate = true;
    }
    if (head) {
      head.carrier.visible = shown.head;
      if (shown.head) head.show(frame, shown.headMotion, motion);
    }
  }

  /** Of what is shown, in the root. */
  box(shown: Pick<Shown, "markers" | "head" | "headMotion">): Box3 {
    const box = shown.markers ? this.markerBox(shown.headMotion) : new Box3();
    if (this.head && shown.head) box.union(this.head.box());
    return box;
  }

  private markerBox(headMotion: boolean): Box3 {
    const { cloud } = this;
    const neutral = cloud?.data.neutral?.filter((place) => place !== null) ?? [];
    const places = neutral.length && this.headMotion ? neutral.map((place) => new Vector3(...place)) : [];
    if (!places.length || headMotion) places.push(...(cloud?.typicalPlaces() ?? []));
    return new Box3().setFromPoints(places);
  }

  private motionAt(frame: number): Matrix4 | undefined {
    const values = this.headMotion;
    if (!values) return undefined;
    const rows = values.length / 7;
    const at = (column: number) => values[column * rows + frame];
    if (Number.isNaN(at(0)) || Number.isNaN(at(4))) return undefined;
    const rotation = new Quaternion(at(0), at(1), at(2), at(3)).normalize();
    const translation = new Vector3(at(4), at(5), at(6)).multiplyScalar(1000);
    return new Matrix4().compose(translation, rotation, new Vector3(1, 1, 1));
  }
}
