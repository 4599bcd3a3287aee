// The bundled sample as a page: what a technician sees, without the command. The true weights and the true motion of the
// head stand beside the take in samples/.

import { readFileSync } from "node:fs";
import { join } from "node:path";
import type { GroupData, HeadData, SideData, Triple } from "../../src/data/contract";
import type { PageBytes } from "./encode_page";

interface Table {
  names: string[];
  /** Column by column. */
  columns: Float64Array[];
}

function readTable(path: string): Table {
  const [first, ...lines] = readFileSync(path, "utf8").trim().split(/\r?\n/);
  const names = first.split(",").map((name) => name.trim());
  const rows = lines.map((line) => line.split(",").map(Number));
  return { names, columns: names.map((_, c) => Float64Array.from(rows, (row) => row[c])) };
}

const column = (table: Table, name: string) => table.columns[table.names.indexOf(name)];

/** Which templates drive the sample head's morph targets. */
const drivenBy: Record<string, string> = {
  jawOpen: "Mouth.Open",
  mouthFunnel: "Mouth.Whistle",
  mouthSmileLeft: "Mouth.CornersUpL",
  mouthSmileRight: "Mouth.CornersUpR",
  mouthFrownLeft: "Mouth.CornersDownL",
  mouthFrownRight: "Mouth.CornersDownR",
  eyeBlinkLeft: "LeftEye.Close",
  eyeBlinkRight: "RightEye.Close",
  eyeWideLeft: "LeftEye.WideOpen",
  eyeWideRight: "RightEye.WideOpen",
  browOuterUpLeft: "LeftBrow.Up",
  browOuterUpRight: "RightBrow.Up",
  browDownLeft: "LeftBrow.Down",
  browDownRight: "RightBrow.Down",
  cheekPuff: "LeftCheek.Out",
  noseSneerLeft: "LeftNostril.Up",
  noseSneerRight: "RightNostril.Up",
};

/** The sample head: its bytes, and in metres where its face node is and the tip of its nose. */
export function readGlb(path: string): { bytes: Buffer; targets: string[]; faceAt: Triple; noseTip: Triple } {
  const bytes = readFileSync(path);
  const length = bytes.readUInt32LE(12);
  const json = JSON.parse(bytes.subarray(20, 20 + length).toString());
  const [mesh] = json.meshes;
  const faceAt: Triple = json.nodes[faceNode].translation;
  const noseTip: Triple = [0, 0, -Infinity];
  for (const primitive of mesh.primitives) {
    const accessor = json.accessors[primitive.attributes.POSITION];
    const view = json.bufferViews[accessor.bufferView];
    const start = 28 + length + (view.byteOffset ?? 0) + (accessor.byteOffset ?? 0);
    for (let i = 0; i < accessor.count; ++i) {
      const at = start + i * (view.byteStride ?? 6);
      const place = [0, 2, 4].map((axis, a) => bytes.readInt16LE(at + axis) / 32767 + faceAt[a]); // normalised
      if (place[2] > noseTip[2]) noseTip.splice(0, 3, ...place);
    }
  }
  return { bytes, targets: mesh.extras.targetNames, faceAt, noseTip };
}

/** The node of the sample head that turns. */
export const faceNode = 1;

export interface SampleOptions {
  /** Scales the weights, for a second side that differs. */
  gain?: number;
  withPlace?: boolean;
  withMarkers?: boolean;
}

export function sampleSide(samples: string, bytes: PageBytes, options: SampleOptions = {}): SideData {
  const gain = options.gain ?? 1;
  const take = readTable(join(samples, "landmarks.csv"));
  const weights = readTable(join(samples, "known_weights.csv"));
  const motion = readTable(join(samples, "known_head.csv"));
  const glb = readGlb(join(samples, "head.glb"));
  const frames = take.columns[0].length;

  // From the camera's axes to the face's, with the nose tip of the first frame where the head has it.
  const origin = [column(take, "X_30")[0], -column(take, "Y_30")[0], -column(take, "Z_30")[0]];
  const shift = glb.noseTip.map((value, axis) => value * 1000 - origin[axis]);
  const valid = column(take, "success");
  const positions: Float64Array[] = [];
  for (let m = 0; m < 68; ++m) {
    ["X", "Y", "Z"].forEach((axis, a) => {
      const values = column(take, `${axis}_${m}`);
      positions.push(values.map((value, f) => (valid[f] ? (a ? -value : value) + shift[a] : NaN)));
    });
  }
  const names = Array.from({ length: 68 }, (_, m) => `landmark${m}`);
  const partOf = (m: number) =>
    m < 17 ? "Head" : m < 22 ? "RightBrow" : m < 27 ? "LeftBrow" : m < 36 ? "Head" : m < 42 ? "RightEye" : m < 48 ? "LeftEye" : "Mouth";
  const state = (m: number, f: number) => {
    if (Number.isNaN(positions[m * 3][f])) return 0;
    if (m === 54 && f > 60 && f < 90) return 2;
    if (m === 19 && f % 120 < 20) return 4;
    return m === 30 ? 3 : 1;
  };

  const templates = weights.names.slice(2);
  const scaled = (values: Float64Array) => values.map((value, f) => value * gain + (gain === 1 ? 0 : 0.01 * Math.sin(f / 9)));
  const shapes = glb.targets;
  const shapeColumns = shapes.map((name) =>
    drivenBy[name] ? scaled(column(weights, drivenBy[name])) : new Float64Array(frames),
  );
  const angle = (row: number, col: number, sign: number) =>
    column(motion, `R${row}${col}`).map((value) => (sign * Math.asin(value) * 180) / Math.PI);
  const groups: GroupData[] = [
    {
      name: "Templates",
      unit: "",
      curves: templates,
      values: bytes.array(templates.map((name) => scaled(column(weights, name))), 0.001),
    },
    { name: "Shapes", unit: "", curves: shapes, values: bytes.array(shapeColumns, 0.001) },
    {
      name: "Head",
      unit: "deg",
      curves: ["Yaw", "Pitch", "Roll"],
      values: bytes.array([angle(0, 2, 1), angle(1, 2, -1), angle(1, 0, 1)], 0.001),
    },
    {
      name: "Residuals",
      unit: "mm",
      curves: ["Mouth", "LeftBrow", "RightBrow", "LeftEye", "RightEye"],
      values: bytes.array(
        [0, 1, 2, 3, 4].map((p) => column(weights, templates[p * 3]).map((w, f) => 0.2 + w * gain + 0.1 * Math.sin(f * (p + 1)))),
        0.001,
      ),
    },
  ];

  const rotations = Array.from({ length: frames }, (_, f) =>
    quaternion([0, 1, 2].map((r) => [0, 1, 2].map((c) => column(motion, `R${r}${c}`)[f]))),
  );
  const translations = ["tx", "ty", "tz"].map((name) => column(motion, name).map((value) => value / 1000));
  const head: HeadData = {
    glb: bytes.plain(glb.bytes),
    name: "head.glb",
    morphs: [{ node: faceNode, rest: shapes.map(() => 0), drivers: shapes.map((name, i) => (drivenBy[name] ? ["Shapes", i] : null)) }],
    ...(options.withPlace === false ? {} : { place: { scale: 1000, translation: [0, 0, 0] as Triple } }),
  };
  return {
    name: gain === 1 ? "landmarks.csv" : "landmarks_calibrated.csv",
    command: `mien solve samples/landmarks.csv --performer landmarks68 --character arkit52${gain === 1 ? "" : " --gain " + gain} --onto samples/head.glb --head face -o head.glb`,
    facts: [
      {
        title: "Take",
        rows: [["File", "samples/landmarks.csv"], ["Frames", `${frames} at 30 Hz`], ["Landmarks", "68"], ["Neutral face", "frames 1 to 4"]],
      },
      { title: "Solve", rows: [["Performer", "landmarks68"], ["Character", "arkit52"], ["Head lost", "4 frames"], ["Mean residual", "0.41 mm"]] },
    ],
    notes: gain === 1 ? ["The head was lost in 4 frames: 203 to 206."] : [],
    ...(options.withMarkers === false
      ? {}
      : {
          markers: {
            names,
            positions: bytes.array(positions, 0.05),
            states: bytes.array(names.map((_, m) => positions[0].map((_, f) => state(m, f))), 1),
            neutral: names.map((_, m) => [0, 1, 2].map((a) => positions[m * 3 + a][0]) as Triple),
            parts: names.map((_, m) => partOf(m)),
          },
        }),
    groups,
    spans: [
      { kind: "filled", name: "landmark54", first: 61, last: 89 },
      { kind: "resting", name: "LeftEye", first: 150, last: 175 },
      { kind: "resting", name: "Mouth", first: 202, last: 206 },
      { kind: "gap", name: "landmark19", first: 120, last: 139 },
    ],
    flags: [
      { kind: "jump", text: "LeftEye.Close jumps by 0.43", first: 5, last: 6, curve: ["Templates", "LeftEye.Close"] },
      { kind: "limit", text: "Mouth.Open is at its limit for 6 frames", first: 30, last: 35, curve: ["Templates", "Mouth.Open"] },
      { kind: "residual", text: "Mouth: 1.93 mm", first: 118, last: 124, curve: ["Residuals", "Mouth"] },
      { kind: "swap", text: "landmark36 and landmark37 change places", first: 231, last: 240 },
    ],
    worst: [
      { frame: 121, text: "Mouth 1.93 mm" },
      { frame: 33, text: "Mouth 1.41 mm" },
      { frame: 288, text: "LeftBrow 1.12 mm" },
    ],
    head_motion: bytes.array([...[0, 1, 2, 3].map((i) => rotations.map((q) => q[i])), ...translations], 0.0001),
    head,
  };
}

/** x, y, z, w of a rotation matrix, by rows; for turns of less than 180 degrees. */
function quaternion(m: number[][]): number[] {
  const w = Math.sqrt(Math.max(0, 1 + m[0][0] + m[1][1] + m[2][2])) / 2;
  return [(m[2][1] - m[1][2]) / (4 * w), (m[0][2] - m[2][0]) / (4 * w), (m[1][0] - m[0][1]) / (4 * w), w];
}
