"""Draws docs/fit.png: six expressions of a synthetic person, and what the two solvers make of them.

    docs/draw_fit.py MIEN

The person is the face of data/shape_basis/one_head.csv, narrower and longer, whose 68 landmarks are filmed with 0.3 mm of
noise while the head moves a little. Each expression is held for a second. The weights, known and solved, are drawn on the
face of two_heads.csv. MIEN is the command; needs numpy.
"""

import csv
import struct
import subprocess
import sys
import tempfile
import zlib
from pathlib import Path

import numpy as np

ROOT = Path(__file__).resolve().parent.parent
EXPRESSIONS = [  # a title's worth of weights each
    {"jawOpen": 0.55, "mouthFunnel": 0.7, "browInnerUp": 0.5},
    {"mouthLeft": 0.9, "jawLeft": 0.4, "browDownRight": 0.6},
    {"mouthSmileLeft": 0.9, "mouthSmileRight": 0.9, "cheekSquintLeft": 0.6, "cheekSquintRight": 0.6},
    {"mouthRollUpper": 0.8, "mouthRollLower": 0.8, "browDownLeft": 0.8, "browDownRight": 0.8},
    {"mouthPucker": 0.9, "eyeBlinkLeft": 0.9, "browOuterUpRight": 0.8},
    {"jawOpen": 0.35, "mouthStretchLeft": 0.9, "mouthStretchRight": 0.9, "browInnerUp": 0.9, "eyeWideLeft": 0.8,
     "eyeWideRight": 0.8},
]
RATE, HELD = 30, 30  # frames
WIDTH, HEIGHT, SCALE = 200, 226, 1.26  # of a face: pixels, and pixels per millimetre
UPPER_LIP, LOWER_LIP = [49, 50, 51, 52, 53, 61, 62, 63], [55, 56, 57, 58, 59, 65, 66, 67]
OPENINGS = [[60, 61, 62, 63, 64, 65, 66, 67], [36, 37, 38, 39, 40, 41], [42, 43, 44, 45, 46, 47]]


class Face:
    """A table of how a face moves."""

    def __init__(self, name):
        with open(ROOT / "data" / "shape_basis" / name, newline="") as file:
            header, *rows = csv.reader(file)
        self.shapes = [column[:-2] for column in header[4::3]]
        numbers = np.array([[float(value) for value in row[1:]] for row in rows])
        self.rest = numbers[:, :3]
        self.moved = numbers[:, 3:].reshape(len(rows), len(self.shapes), 3)

    def posed(self, weights):
        return self.rest + sum(w * self.moved[:, self.shapes.index(s)] for s, w in weights.items() if s in self.shapes)


def film(path):
    """Writes the take, as trackers write 68 landmarks."""
    person, random = Face("one_head.csv"), np.random.default_rng(1)
    columns = ["frame", "timestamp", "confidence", "success"]
    columns += [f"{axis}_{i}" for axis in "XYZ" for i in range(68)]
    lines, frame = [", ".join(columns)], 0
    for weights in [{}] + EXPRESSIONS:
        for _ in range(HELD):
            points = person.posed(weights)[:68] * [0.93, 1.05, 0.97]
            yaw = 0.15 * np.sin(0.07 * frame)
            turn = np.array([[np.cos(yaw), 0, np.sin(yaw)], [0, 1, 0], [-np.sin(yaw), 0, np.cos(yaw)]])
            points = points @ turn.T + [0, 0, -600] + random.normal(0, 0.3, points.shape)
            camera = points * [1, -1, -1]  # y down, z away
            frame += 1
            numbers = ", ".join(f"{value:.2f}" for value in camera.T.ravel())
            lines.append(f"{frame}, {(frame - 1) / RATE:.4f}, 0.98, 1, {numbers}")
    path.write_text("\n".join(lines) + "\n")


def solved(mien, take, solver):
    """The weights at the end of each expression."""
    output = take.with_name(solver + ".csv")
    subprocess.run([mien, "solve", take, "-p", "landmarks68", "-c", "arkit52", "--solver", solver,
                    "--neutral", f"5-{HELD}", "-q", "-o", output], check=True)
    with open(output, newline="") as file:
        rows = list(csv.DictReader(file))
    ends = [rows[HELD * (e + 2) - 3] for e in range(len(EXPRESSIONS))]
    return [{name: float(value) for name, value in row.items() if name not in ("frame", "time")} for row in ends]


def triangles(face):
    """Skin between the points, as seen from the front: Delaunay's triangulation, without the slits and the far edges."""
    points = face.rest[:, :2] + np.random.default_rng(2).normal(0, 1e-6, (len(face.rest), 2))
    far = 1e4
    points = np.vstack([points, [[-far, -far], [far, -far], [0, far]]])
    count = len(face.rest)
    found = {(count, count + 1, count + 2)}

    def circle(triangle):
        (ax, ay), (bx, by), (cx, cy) = points[list(triangle)]
        d = 2 * (ax * (by - cy) + bx * (cy - ay) + cx * (ay - by))
        x = ((ax**2 + ay**2) * (by - cy) + (bx**2 + by**2) * (cy - ay) + (cx**2 + cy**2) * (ay - by)) / d
        y = ((ax**2 + ay**2) * (cx - bx) + (bx**2 + by**2) * (ax - cx) + (cx**2 + cy**2) * (bx - ax)) / d
        return x, y, (x - ax) ** 2 + (y - ay) ** 2

    circles = {t: circle(t) for t in found}
    for p in range(count):
        px, py = points[p]
        bad = [t for t, (x, y, r) in circles.items() if (px - x) ** 2 + (py - y) ** 2 < r]
        edges = {}
        for t in bad:
            for edge in ((t[0], t[1]), (t[1], t[2]), (t[2], t[0])):
                edges[frozenset(edge)] = edges.get(frozenset(edge), 0) + 1
            del circles[t]
        for edge, times in edges.items():
            if times == 1:
                a, b = edge
                circles[(a, b, p)] = circle((a, b, p))

    def distance(p, landmarks):
        return np.linalg.norm(face.rest[landmarks] - face.rest[p], axis=1).min()

    def lip(p):
        """1 for points of the upper lip, -1 for those of the lower, 0 for others."""
        above, below = distance(p, UPPER_LIP), distance(p, LOWER_LIP)
        return 0 if min(above, below) > 8 else 1 if above < below else -1

    lips = [lip(p) for p in range(count)]

    def is_skin(t):
        if max(t) >= count or {lips[p] for p in t} >= {1, -1}:
            return False
        sides = [np.linalg.norm(face.rest[t[i]] - face.rest[t[i - 1]]) for i in range(3)]
        if max(sides) > 45:
            return False
        middle = face.rest[list(t), :2].mean(0)
        return not any(inside(face.rest[opening, :2], middle) for opening in OPENINGS)

    return [t for t in circles if is_skin(t)]


def inside(polygon, point):
    crossings = 0
    for (ax, ay), (bx, by) in zip(polygon, np.roll(polygon, -1, 0)):
        if (ay > point[1]) != (by > point[1]) and point[0] < (bx - ax) * (point[1] - ay) / (by - ay) + ax:
            crossings += 1
    return crossings % 2 == 1


def picture(face, skin, weights):
    """The posed face from the front, shaded."""
    points = face.posed(weights)
    middle = face.rest.mean(0)
    x = WIDTH / 2 + SCALE * (points[:, 0] - middle[0])
    y = HEIGHT * 0.47 - SCALE * (points[:, 1] - middle[1])
    normals = np.zeros_like(points)
    for t in skin:
        normal = np.cross(points[t[1]] - points[t[0]], points[t[2]] - points[t[0]])
        normals[list(t)] += normal if normal[2] > 0 else -normal
    normals /= np.maximum(np.linalg.norm(normals, axis=1, keepdims=True), 1e-9)
    light = np.array([-0.35, 0.45, 0.82])
    shade = 0.35 + 0.65 * np.clip(normals @ light, 0, 1)

    image = np.full((HEIGHT, WIDTH, 3), 255.0)
    rows, columns = np.mgrid[0:HEIGHT, 0:WIDTH] + 0.5
    behind = [list(range(48, 60)), *OPENINGS[1:]]
    for opening, colour in zip(behind, ((70, 25, 30), (245, 245, 245), (245, 245, 245))):
        fill_polygon(image, x[opening], y[opening], colour, rows, columns)
    for eye in OPENINGS[1:]:
        rest_y = HEIGHT * 0.47 - SCALE * (face.rest[eye, 1].mean() - middle[1])
        iris = (columns - x[eye].mean()) ** 2 + (rows - rest_y) ** 2 < (SCALE * 5.9) ** 2
        mask = np.zeros_like(image)
        fill_polygon(mask, x[eye], y[eye], (1, 1, 1), rows, columns)
        image[iris & (mask[:, :, 0] > 0)] = (90, 120, 150)
    depth = np.full((HEIGHT, WIDTH), -np.inf)
    skin_colour = np.array([226, 180, 160])
    for t in skin:
        xs, ys, zs = x[list(t)], y[list(t)], points[list(t), 2]
        left, right = max(int(xs.min()), 0), min(int(xs.max()) + 2, WIDTH)
        top, bottom = max(int(ys.min()), 0), min(int(ys.max()) + 2, HEIGHT)
        area = (xs[1] - xs[0]) * (ys[2] - ys[0]) - (xs[2] - xs[0]) * (ys[1] - ys[0])
        if left >= right or top >= bottom or abs(area) < 1e-9:
            continue
        r, c = rows[top:bottom, left:right], columns[top:bottom, left:right]
        b = ((c - xs[0]) * (ys[2] - ys[0]) - (xs[2] - xs[0]) * (r - ys[0])) / area
        d = ((xs[1] - xs[0]) * (r - ys[0]) - (c - xs[0]) * (ys[1] - ys[0])) / area
        a = 1 - b - d
        z = a * zs[0] + b * zs[1] + d * zs[2]
        seen = (a >= -1e-3) & (b >= -1e-3) & (d >= -1e-3) & (z > depth[top:bottom, left:right])
        value = a * shade[t[0]] + b * shade[t[1]] + d * shade[t[2]]
        depth[top:bottom, left:right][seen] = z[seen]
        image[top:bottom, left:right][seen] = value[seen][:, None] * skin_colour
    for lip in (list(range(48, 55)) + list(range(64, 59, -1)), list(range(54, 60)) + [48] + [60, 67, 66, 65, 64]):
        tint = np.zeros_like(image)
        fill_polygon(tint, x[lip], y[lip], (1, 1, 1), rows, columns)
        inside_lip = tint[:, :, 0] > 0
        image[inside_lip] = np.where(np.isfinite(depth)[inside_lip][:, None], image[inside_lip], 0.75 * skin_colour)
        image[inside_lip] *= (0.93, 0.72, 0.74)
    for brow in (range(17, 22), range(22, 27)):
        for a, b in zip(list(brow), list(brow)[1:]):
            for s in np.linspace(0, 1, 12):
                near = (columns - (x[a] + s * (x[b] - x[a]))) ** 2 + (rows - (y[a] + s * (y[b] - y[a]))) ** 2 < 7
                image[near] = (105, 75, 60)
    return image


def fill_polygon(image, xs, ys, colour, rows, columns):
    crossings = np.zeros(rows.shape, int)
    for ax, ay, bx, by in zip(xs, ys, np.roll(xs, -1), np.roll(ys, -1)):
        if ay == by:
            continue
        crosses = (ay > rows) != (by > rows)
        crossings += crosses & (columns < (bx - ax) * (rows - ay) / (by - ay) + ax)
    image[crossings % 2 == 1] = colour


def write_png(path, image):
    rows = np.clip(np.round(image), 0, 255).astype(np.uint8)
    differences = np.vstack([rows[:1], rows[1:] - rows[:-1]])  # PNG's filter 2, which packs smooth pictures better
    data = b"".join(b"\2" + row.tobytes() for row in differences)

    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))

    header = struct.pack(">IIBBBBB", image.shape[1], image.shape[0], 8, 2, 0, 0, 0)
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(data, 9)) + chunk(b"IEND", b""))


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    face = Face("two_heads.csv")
    skin = triangles(face)
    with tempfile.TemporaryDirectory() as folder:
        take = Path(folder) / "take.csv"
        film(take)
        rows = [EXPRESSIONS, solved(sys.argv[1], take, "parts"), solved(sys.argv[1], take, "fit")]
    sheet = np.vstack([np.hstack([picture(face, skin, weights) for weights in row]) for row in rows])
    write_png(ROOT / "docs" / "fit.png", sheet)


if __name__ == "__main__":
    main()
