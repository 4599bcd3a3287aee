#!/usr/bin/env python3
"""Draws docs/picture.svg: what goes into `mien solve` and what comes out.

    mien solve samples/landmarks.csv --performer landmarks68 -o weights.csv
    python3 docs/draw_picture.py samples/landmarks.csv weights.csv > docs/picture.svg
"""

import csv
import sys

CURVES = [("Mouth.Open", "#c0392b"), ("Mouth.Whistle", "#d68910"), ("LeftEye.Close", "#2471a3"), ("LeftBrow.Up", "#1e8449")]
OUTLINES = [range(0, 17), range(17, 22), range(22, 27), range(27, 31), range(31, 36), [*range(36, 42), 36],
            [*range(42, 48), 42], [*range(48, 60), 48], [*range(60, 68), 60]]
LEFT, WIDTH, TOP, ROW = 330, 430, 24, 56  # of the curves


def read(path):
    with open(path, newline="") as file:
        return [{k.strip(): v for k, v in row.items()} for row in csv.DictReader(file)]


def face(row, x, y, caption):
    points = [(float(row[f"X_{i}"]), float(row[f"Y_{i}"])) for i in range(68)]
    left, top = min(p[0] for p in points), min(p[1] for p in points)
    scale = 130 / (max(p[0] for p in points) - left)
    placed = [(x + (px - left) * scale, y + (py - top) * scale) for px, py in points]
    for outline in OUTLINES:
        path = " ".join(f"{placed[i][0]:.1f},{placed[i][1]:.1f}" for i in outline)
        yield f'<polyline points="{path}" fill="none" stroke="#b0b7bd"/>'
    for px, py in placed:
        yield f'<circle cx="{px:.1f}" cy="{py:.1f}" r="1.8" fill="#34495e"/>'
    yield f'<text x="{x + 65}" y="{y + 172}" text-anchor="middle">{caption}</text>'


def curve(name, colour, weights, row):
    base = TOP + ROW * (row + 1) - 12
    height = ROW - 20
    path = " ".join(f"{LEFT + WIDTH * i / (len(weights) - 1):.1f},{base - height * float(w[name]):.1f}"
                    for i, w in enumerate(weights))
    yield f'<line x1="{LEFT}" y1="{base}" x2="{LEFT + WIDTH}" y2="{base}" stroke="#dfe3e6"/>'
    yield f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="1.5"/>'
    yield f'<text x="{LEFT + WIDTH + 10}" y="{base}" fill="{colour}">{name}</text>'


take, weights = read(sys.argv[1]), read(sys.argv[2])
seen = [i for i, row in enumerate(take) if float(row["success"])]
closed = seen[0]
opened = max(seen, key=lambda i: float(weights[i]["Mouth.Open"]))

print('<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 880 280" font-family="sans-serif" font-size="12">')
print('<rect width="880" height="280" fill="white"/>')
for line in face(take[closed], 14, 40, f"frame {take[closed]['frame']}"):
    print(line)
for line in face(take[opened], 166, 40, f"frame {take[opened]['frame']}"):
    print(line)
for index in (closed, opened):
    x = LEFT + WIDTH * index / (len(weights) - 1)
    print(f'<line x1="{x:.1f}" y1="{TOP}" x2="{x:.1f}" y2="{TOP + ROW * len(CURVES)}" stroke="#b0b7bd" stroke-dasharray="3 3"/>')
for row, (name, colour) in enumerate(CURVES):
    for line in curve(name, colour, weights, row):
        print(line)
print(f'<text x="{LEFT + WIDTH}" y="{TOP + ROW * len(CURVES) + 18}" text-anchor="end">{float(weights[-1]["time"]):.0f} seconds</text>')
print("</svg>")
