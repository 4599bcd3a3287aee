// The head of a side: a .glb whose morph weights and nodes follow the data.

import type { BufferAttribute, Mesh, Object3D } from "three";
import { Box3, Group, Matrix4, MeshStandardMaterial, Quaternion, Vector3 } from "three";
import type { GLTF } from "three/addons/loaders/GLTFLoader.js";
import { GLTFLoader } from "three/addons/loaders/GLTFLoader.js";
import type { HeadData } from "../data/contract";

/** Values of a group of curves: a column for each curve. */
export interface GroupValues {
  rows: number;
  values: Float32Array;
}

/** A node's transforms per frame; what is missing stays as in the file. */
export interface MovedNode {
  node: number;
  rotation?: Float32Array | undefined;
  translation?: Float32Array | undefined;
  scale?: Float32Array | undefined;
}

interface Rest {
  object: Object3D;
  position: Vector3;
  rotation: Quaternion;
  scale: Vector3;
}

interface GltfJson {
  extensionsRequired?: string[];
  meshes?: { primitives: { material?: number }[] }[];
}

export class AnimatedHead {
  /** In the markers' space. `carrier` follows the head's motion, the group in it has the place. */
  readonly carrier = new Group();
  private readonly placed = new Group();
  private readonly nodes = new Map<number, Object3D>();
  private readonly rests = new Map<number, Rest>();
  private readonly headNodeAtRest = new Matrix4();
  /** The group's values; they may come after the head. */
  readonly groups = new Map<string, GroupValues>();
  moved: MovedNode[] = [];

  private constructor(
    gltf: GLTF,
    private readonly data: HeadData,
  ) {
    this.placed.add(gltf.scene);
    this.carrier.add(this.placed);
    this.carrier.matrixAutoUpdate = false;
    const json = gltf.parser.json as GltfJson;
    gltf.scene.traverse((object) => {
      const known = gltf.parser.associations.get(object) as
        | { nodes?: number; meshes?: number; primitives?: number }
        | undefined;
      if (known?.nodes !== undefined) {
        this.nodes.set(known.nodes, object);
        this.rests.set(known.nodes, {
          object,
          position: object.position.clone(),
          rotation: object.quaternion.clone(),
          scale: object.scale.clone(),
        });
      }
      const mesh = object as Mesh;
      if (!mesh.isMesh) return;
      mesh.frustumCulled = false;
      const primitive = json.meshes?.[known?.meshes ?? -1]?.primitives[known?.primitives ?? 0];
      // The format's default material is a white metal; clay shows the shape better.
      if (primitive && primitive.material === undefined) {
        const flatShading = !mesh.geometry.attributes.normal;
        mesh.material = new MeshStandardMaterial({ color: 0xb9aea4, roughness: 0.85, metalness: 0, flatShading });
      }
    });
  }

  /** Throws an Error for a file that cannot be shown. */
  static async load(bytes: ArrayBuffer, data: HeadData): Promise<AnimatedHead> {
    const gltf = await new GLTFLoader().parseAsync(bytes, "");
    const required = (gltf.parser.json as GltfJson).extensionsRequired ?? [];
    const unknown = required.filter((name) => !supportedExtensions.has(name) && !name.startsWith("VRM"));
    if (unknown.length) throw new Error(`it requires ${unknown.join(", ")}`);
    return new AnimatedHead(gltf, data);
  }

  /** Puts the head into the markers' space: by its known place, or with its box centred on `centre`. */
  place(centre: Vector3, height: number): void {
    const { place } = this.data;
    if (place) {
      this.placed.scale.setScalar(place.scale);
      this.placed.position.fromArray(place.translation);
    } else {
      this.placed.scale.setScalar(1);
      this.placed.position.set(0, 0, 0);
      const box = this.box();
      const scale = height / Math.max(1e-9, box.getSize(new Vector3()).y);
      this.placed.scale.setScalar(scale);
      this.placed.position.copy(centre).sub(box.getCenter(new Vector3()).multiplyScalar(scale));
    }
    this.carrier.matrix.identity();
    const headNode = this.headNode();
    if (headNode) this.headNodeAtRest.copy(this.matrixInCarrier(headNode));
  }

  /** Whether a material reflects its surroundings. */
  get isReflecting(): boolean {
    let found = false;
    this.placed.traverse((object) => {
      const { material } = object as Mesh;
      for (const each of material ? [material].flat() : []) {
        const { metalness = 0, roughness = 1 } = each as MeshStandardMaterial;
        if (metalness > 0.05 || roughness < 0.4) found = true;
      }
    });
    return found;
  }

  /** Of the head's points at rest, in the carrier. three's own boxes add up what all morph targets could do. */
  box(): Box3 {
    this.carrier.updateWorldMatrix(true, true);
    const box = new Box3();
    const fromWorld = this.carrier.matrixWorld.clone().invert();
    this.placed.traverse((object) => {
      const position = (object as Mesh).geometry?.attributes.position;
      if (!position) return;
      const own = new Box3().setFromBufferAttribute(position as BufferAttribute);
      box.union(own.applyMatrix4(object.matrixWorld).applyMatrix4(fromWorld));
    });
    return this.withoutBody(box);
  }

  /** An avatar has a body below its head node: of a tall box, what is around the head. */
  private withoutBody(box: Box3): Box3 {
    const headNode = this.headNode();
    if (!headNode) return box;
    const neck = new Vector3().setFromMatrixPosition(this.matrixInCarrier(headNode));
    const height = box.max.y - neck.y;
    if (height <= 0 || box.max.y - box.min.y < height * 3) return box;
    const head = new Box3(new Vector3(-1.2, -0.5, -1.2), new Vector3(1.2, 1, 1.2));
    head.min.multiplyScalar(height).add(neck);
    head.max.multiplyScalar(height).add(neck);
    return box.intersect(head);
  }

  /**
   * Unless `turns`, the head node keeps its rest. `motion` is how the performer's head moved in the markers' space: a
   * head in its place is carried so that its head node, or without one the whole of it, moves with the markers.
   */
  show(frame: number, turns: boolean, motion: Matrix4 | undefined): void {
    for (const morphs of this.data.morphs ?? []) this.showMorphs(morphs, frame);
    for (const moved of this.moved) {
      const rest = this.rests.get(moved.node);
      if (!rest) continue;
      const isStill = moved.node === this.data.head_node && !turns;
      const { object } = rest;
      object.position.copy(rest.position);
      object.quaternion.copy(rest.rotation);
      object.scale.copy(rest.scale);
      if (isStill) continue;
      const rotation = row(moved.rotation, 4, frame);
      const translation = row(moved.translation, 3, frame);
      const scale = row(moved.scale, 3, frame);
      if (rotation) object.quaternion.fromArray(rotation).normalize();
      if (translation) object.position.fromArray(translation);
      if (scale) object.scale.fromArray(scale);
    }
    this.carrier.matrix.identity();
    if (turns && motion && this.data.place) {
      this.carrier.matrix.copy(motion);
      const headNode = this.headNode();
      if (headNode) {
        this.carrier.matrix.multiply(this.headNodeAtRest).multiply(this.matrixInCarrier(headNode).invert());
      }
    }
    this.carrier.matrixWorldNeedsUpdate = true;
  }

  /** The weights of a node's first mesh, as they are shown. */
  weights(node: number): number[] {
    return this.meshes(node)[0]?.morphTargetInfluences?.slice() ?? [];
  }

  /** The nodes that have morph targets in the data. */
  get morphNodes(): number[] {
    return (this.data.morphs ?? []).map((morphs) => morphs.node);
  }

  private showMorphs(morphs: NonNullable<HeadData["morphs"]>[number], frame: number): void {
    for (const mesh of this.meshes(morphs.node)) {
      const influences = mesh.morphTargetInfluences;
      if (!influences) continue;
      for (let target = 0; target < influences.length; ++target) {
        const driver = morphs.drivers[target];
        const group = driver ? this.groups.get(driver[0]) : undefined;
        const value = driver && group ? group.values[driver[1] * group.rows + frame] : undefined;
        influences[target] = value === undefined || Number.isNaN(value) ? (morphs.rest[target] ?? 0) : value;
      }
    }
  }

  /** A node's mesh has one object for each of its primitives. */
  private meshes(node: number): Mesh[] {
    const object = this.nodes.get(node);
    if (!object) return [];
    const candidates = (object as Mesh).isMesh ? [object] : object.children;
    const nodes = new Set(this.nodes.values());
    return candidates.filter((child) => (child as Mesh).isMesh && (child === object || !nodes.has(child))) as Mesh[];
  }

  private headNode(): Object3D | undefined {
    return this.data.head_node === undefined ? undefined : this.nodes.get(this.data.head_node);
  }

  private matrixInCarrier(object: Object3D): Matrix4 {
    const matrix = new Matrix4();
    for (let at: Object3D | null = object; at && at !== this.carrier; at = at.parent) {
      at.updateMatrix();
      matrix.premultiply(at.matrix);
    }
    return matrix;
  }
}

/** What changes how a head looks. The tables of avatars, whose names begin with VRM, do not keep it from being shown. */
const supportedExtensions = new Set([
  "KHR_lights_punctual",
  "KHR_materials_anisotropy",
  "KHR_materials_clearcoat",
  "KHR_materials_dispersion",
  "KHR_materials_emissive_strength",
  "KHR_materials_ior",
  "KHR_materials_iridescence",
  "KHR_materials_sheen",
  "KHR_materials_specular",
  "KHR_materials_transmission",
  "KHR_materials_unlit",
  "KHR_materials_volume",
  "KHR_mesh_quantization",
  "KHR_texture_transform",
  "EXT_mesh_gpu_instancing",
  "EXT_texture_avif",
  "EXT_texture_webp",
]);

/** A frame's row of `columns` columns; nothing where values are missing. */
function row(values: Float32Array | undefined, columns: number, frame: number): number[] | undefined {
  if (!values) return undefined;
  const rows = values.length / columns;
  const numbers = Array.from({ length: columns }, (_, column) => values[column * rows + frame]);
  return numbers.some(Number.isNaN) ? undefined : numbers;
}
