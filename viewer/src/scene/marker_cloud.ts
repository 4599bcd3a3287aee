// One side's markers. A marker's state is its shape and its colour; one in a gap is a ring at its last place.

import {
  BoxGeometry,
  BufferAttribute,
  BufferGeometry,
  Color,
  GreaterDepth,
  Group,
  InstancedMesh,
  MeshLambertMaterial,
  OctahedronGeometry,
  Points,
  PointsMaterial,
  Quaternion,
  SphereGeometry,
  TetrahedronGeometry,
  TorusGeometry,
  Vector3,
} from "three";
import type { MarkersData, MarkerState } from "../data/contract";
import { markerStates } from "../data/contract";
import { colour } from "../theme";

const cornerUp = new Quaternion().setFromUnitVectors(new Vector3(1, 1, 1).normalize(), new Vector3(0, 1, 0));

const shapes: Record<MarkerState, () => BufferGeometry> = {
  gap: () => new TorusGeometry(1.2, 0.22, 6, 20),
  measured: () => new SphereGeometry(1, 10, 7),
  filled: () => new OctahedronGeometry(1.45),
  computed: () => new BoxGeometry(1.7, 1.7, 1.7),
  slipped: () => new TetrahedronGeometry(1.9).applyQuaternion(cornerUp),
};

export class MarkerCloud {
  readonly group = new Group();
  /** The neutral face as faint points. */
  readonly ghost: Points;
  private readonly meshes: InstancedMesh[] = []; // by state
  private readonly behind: InstancedMesh[] = []; // the same, where the head hides them
  private readonly rows: number;
  private readonly shownGap: { first: number; last: number; at: number }[] = []; // per marker, the last gap looked up
  /** Markers in each state in the frame that is shown. */
  readonly counts = markerStates.map(() => 0);
  private readonly drawn = markerStates.map(() => 0);
  /** The state that each marker is shown in, and its place in the group; x is NaN where it is not shown. */
  readonly shownStates: Uint8Array;
  readonly shownPlaces: Float32Array;

  constructor(
    readonly data: MarkersData,
    private readonly positions: Float32Array,
    private readonly states: Uint8Array,
    private readonly side: number,
  ) {
    const count = data.names.length;
    this.rows = data.positions.rows;
    this.shownStates = new Uint8Array(count);
    this.shownPlaces = new Float32Array(count * 3);
    const radius = this.radius();
    for (const state of markerStates) {
      const geometry = shapes[state]();
      const mesh = new InstancedMesh(geometry, new MeshLambertMaterial(), count);
      const matrices = mesh.instanceMatrix.array;
      for (let i = 0; i < count; ++i) {
        for (const diagonal of [0, 5, 10]) matrices[i * 16 + diagonal] = radius;
        matrices[i * 16 + 15] = 1;
      }
      const hidden = new InstancedMesh(
        geometry,
        new MeshLambertMaterial({ depthFunc: GreaterDepth, depthWrite: false, transparent: true, opacity: 0.28 }),
        count,
      );
      hidden.instanceMatrix = mesh.instanceMatrix;
      mesh.frustumCulled = hidden.frustumCulled = false;
      hidden.renderOrder = 1; // behind what is drawn already
      mesh.renderOrder = 2;
      this.meshes.push(mesh);
      this.behind.push(hidden);
      this.group.add(mesh, hidden);
    }
    const neutral = (data.neutral ?? []).filter((place) => place !== null);
    const geometry = new BufferGeometry();
    geometry.setAttribute("position", new BufferAttribute(new Float32Array(neutral.flat()), 3));
    this.ghost = new Points(
      geometry,
      new PointsMaterial({ size: 3, sizeAttenuation: false, transparent: true, opacity: 0.55, depthWrite: false }),
    );
    this.ghost.frustumCulled = false;
    this.showTheme();
  }

  showTheme(): void {
    markerStates.forEach((state, s) => {
      const name = state === "measured" && this.side ? "marker-measured-b" : `marker-${state}`;
      const shade = new Color(colour(name));
      for (const mesh of [this.meshes[s], this.behind[s]]) {
        const material = mesh.material as MeshLambertMaterial;
        material.color = shade;
        material.emissive = shade.clone().multiplyScalar(0.25);
      }
    });
    (this.ghost.material as PointsMaterial).color = new Color(colour("ghost"));
  }

  show(frame: number): void {
    this.counts.fill(0);
    this.drawn.fill(0);
    const { positions, rows } = this;
    const count = this.data.names.length;
    for (let marker = 0; marker < count; ++marker) {
      const x = marker * 3 * rows;
      let state = this.states[marker * rows + frame] ?? 0;
      let at = frame;
      if (Number.isNaN(positions[x + frame])) {
        state = 0;
        at = this.lastSeen(marker, frame);
      }
      this.shownStates[marker] = state;
      ++this.counts[state];
      if (at < 0) {
        this.shownPlaces[marker * 3] = NaN; // never seen so far
        continue;
      }
      const matrices = this.meshes[state].instanceMatrix.array;
      const place = this.drawn[state]++ * 16 + 12;
      for (let axis = 0; axis < 3; ++axis) {
        const value = positions[x + axis * rows + at];
        matrices[place + axis] = value;
        this.shownPlaces[marker * 3 + axis] = value;
      }
    }
    for (let s = 0; s < this.meshes.length; ++s) {
      const drawn = this.drawn[s];
      this.meshes[s].count = this.behind[s].count = drawn;
      this.meshes[s].visible = this.behind[s].visible = drawn > 0;
      this.meshes[s].instanceMatrix.needsUpdate = true;
    }
  }

  /** Where a marker is shown, in the world; nothing where it is not shown. */
  worldPlace(marker: number): Vector3 | undefined {
    const [x, y, z] = this.shownPlaces.subarray(marker * 3, marker * 3 + 3);
    return Number.isNaN(x) ? undefined : this.group.localToWorld(new Vector3(x, y, z));
  }

  /** Some of the places of the take, without the farthest ones: what the camera has to see. */
  typicalPlaces(): Vector3[] {
    const { positions, rows } = this;
    const places: Vector3[] = [];
    for (let marker = 0; marker < this.data.names.length; ++marker) {
      const x = marker * 3 * rows;
      for (let f = 0; f < rows; f += Math.ceil(rows / 40)) {
        if (Number.isNaN(positions[x + f])) continue;
        places.push(new Vector3(positions[x + f], positions[x + rows + f], positions[x + 2 * rows + f]));
      }
    }
    const middle = new Vector3(...(["x", "y", "z"] as const).map((axis) => median(places.map((p) => p[axis]))));
    places.sort((a, b) => a.distanceToSquared(middle) - b.distanceToSquared(middle));
    return places.slice(0, Math.ceil(places.length * 0.9));
  }

  /** The last frame before a gap; -1 if there is none. */
  private lastSeen(marker: number, frame: number): number {
    const known = this.shownGap[marker];
    if (known && frame >= known.first && frame <= known.last) return known.at;
    const x = marker * 3 * this.rows;
    let at = frame;
    while (at >= 0 && Number.isNaN(this.positions[x + at])) --at;
    let last = frame;
    while (last + 1 < this.rows && Number.isNaN(this.positions[x + last + 1])) ++last;
    this.shownGap[marker] = { first: at + 1, last, at };
    return at;
  }

  /** From the distances between neighbours, so that dense markers stay apart. */
  private radius(): number {
    const places: Vector3[] = [];
    const { positions, rows } = this;
    for (let marker = 0; marker < this.data.names.length; ++marker) {
      const neutral = this.data.neutral?.[marker];
      const x = marker * 3 * rows;
      let f = 0;
      while (f < rows && Number.isNaN(positions[x + f])) ++f;
      if (neutral) places.push(new Vector3(...neutral));
      else if (f < rows) places.push(new Vector3(positions[x + f], positions[x + rows + f], positions[x + 2 * rows + f]));
    }
    const nearest = places.map((place) =>
      Math.sqrt(Math.min(...places.map((other) => (other === place ? Infinity : place.distanceToSquared(other))))),
    );
    const distance = median(nearest.filter(Number.isFinite)) || 8;
    const least = places.length > 200 ? 0.7 : 1.2;
    return Math.min(2.4, Math.max(least, distance * 0.22));
  }
}

function median(values: number[]): number {
  const sorted = [...values].sort((a, b) => a - b);
  return sorted[Math.floor(sorted.length / 2)] ?? 0;
}
