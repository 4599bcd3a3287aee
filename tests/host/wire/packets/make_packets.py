#!/usr/bin/env python3
"""Writes the packets that the tests read, with Python's own struct and json: independent of the encoders.

    make_packets.py FOLDER

The weight of a shape is its place in alphabetical order, from 1, divided by 64, which single precision holds.
"""

import json
import math
import pathlib
import struct
import sys

EYE = "Blink LookDown LookIn LookOut LookUp Squint Wide".split()
NAMES = ["eye" + what + side for side in ("Left", "Right") for what in EYE]
NAMES_IN_PACKET = NAMES + """jawForward jawLeft jawRight jawOpen
    mouthClose mouthFunnel mouthPucker mouthLeft mouthRight mouthSmileLeft mouthSmileRight mouthFrownLeft mouthFrownRight
    mouthDimpleLeft mouthDimpleRight mouthStretchLeft mouthStretchRight mouthRollLower mouthRollUpper mouthShrugLower
    mouthShrugUpper mouthPressLeft mouthPressRight mouthLowerDownLeft mouthLowerDownRight mouthUpperUpLeft
    mouthUpperUpRight browDownLeft browDownRight browInnerUp browOuterUpLeft browOuterUpRight cheekPuff cheekSquintLeft
    cheekSquintRight noseSneerLeft noseSneerRight tongueOut""".split()
FACE = """browInnerUp browDownLeft browDownRight browOuterUpLeft browOuterUpRight eyeLookUpLeft eyeLookUpRight
    eyeLookDownLeft eyeLookDownRight eyeLookInLeft eyeLookInRight eyeLookOutLeft eyeLookOutRight eyeBlinkLeft eyeBlinkRight
    eyeSquintLeft eyeSquintRight eyeWideLeft eyeWideRight cheekPuff cheekSquintLeft cheekSquintRight noseSneerLeft
    noseSneerRight""".split()
MOUTH = """mouthRollUpper mouthRollLower mouthShrugUpper mouthShrugLower mouthClose mouthSmileLeft mouthSmileRight
    mouthFrownLeft mouthFrownRight mouthDimpleLeft mouthDimpleRight mouthUpperUpLeft mouthUpperUpRight mouthLowerDownLeft
    mouthLowerDownRight mouthPressLeft mouthPressRight mouthStretchLeft mouthStretchRight""".split()
JAW = "jawOpen jawForward jawLeft jawRight".split()
JAW_FIRST = FACE + JAW + ["mouthFunnel", "mouthPucker", "mouthLeft", "mouthRight"] + MOUTH + ["tongueOut"]
JAW_LAST = FACE + ["mouthFunnel", "mouthPucker"] + MOUTH + ["mouthLeft", "mouthRight"] + JAW + ["tongueOut"]
assert len(set(NAMES_IN_PACKET)) == 52 and sorted(NAMES_IN_PACKET) == sorted(JAW_FIRST) == sorted(JAW_LAST)

WEIGHTS = {name: (i + 1) / 64 for i, name in enumerate(sorted(NAMES_IN_PACKET))}


def phone(name, values):
    text = name.encode()
    head = struct.pack("<I", 6) + b"$0123ABCD-0123-4123-8123-0123456789AB" + struct.pack(">i", len(text)) + text
    if values is None:
        return head
    return head + struct.pack(">ifiiB", 60 * 3600, 0.25, 60, 1, len(values)) + struct.pack(f">{len(values)}f", *values)


def osc_text(text):
    data = text.encode() + b"\0"
    return data + b"\0" * (-len(data) % 4)


def osc(address, types="", *arguments):
    data = osc_text(address) + osc_text("," + types)
    for kind, argument in zip(types, arguments):
        data += osc_text(argument) if kind == "s" else struct.pack(">" + kind, argument)
    return data


def bundle(*messages):
    return b"#bundle\0" + struct.pack(">Q", 1) + b"".join(struct.pack(">i", len(m)) + m for m in messages)


def vmc():
    half = math.radians(30) / 2
    values = [osc("/VMC/Ext/Blend/Val", "sf", name, value) for name, value in WEIGHTS.items()]
    first = bundle(osc("/VMC/Ext/OK", "i", 1), osc("/VMC/Ext/T", "f", 2.5),
                   # 30 degrees to the character's own left: in left-handed axes with x to its right, about -y.
                   osc("/VMC/Ext/Bone/Pos", "sfffffff", "Head", 0, 0, 0, 0, -math.sin(half), 0, math.cos(half)),
                   osc("/VMC/Ext/Bone/Pos", "sfffffff", "LeftUpperArm", 1, 2, 3, 0, 0, 0, 1), *values[:26])
    return first, bundle(*values[26:], osc("/VMC/Ext/Blend/Val", "sf", "Joy", 1.0), osc("/VMC/Ext/Blend/Apply"))


def tracker(face, points):
    """`points`: 70 of them, in the head's frame: x to its right, y up, z out of it."""
    rotation = (1.0, 0.0, 0.0, 0.0)  # half a turn about x: y down and z away from the camera
    data = struct.pack("<di4f", 12.5, face, 640, 480, 1, 1) + struct.pack("<Bf", 1, 0.5)
    data += struct.pack("<4f3f3f", *rotation, 180, 0, 0, 0, 0, 4)
    data += struct.pack("<68f", *[1.0] * 68) + struct.pack("<136f", *[0.0] * 136)
    data += struct.pack("<210f", *[c for p in points for c in p]) + struct.pack("<14f", *[0.0] * 14)
    assert len(data) == 1785
    return data


def face_points():
    """66 landmarks of a crude face, 1 from eye corner to eye corner, and the 4 points of the gaze."""
    points = []
    for i in range(70):
        points.append([0.01 * i, -0.3, 0.1])  # some place
    for i in range(17):  # the jaw from the right ear to the left one
        side = (i - 8) / 8
        points[i] = [-0.8 * side, -0.7 + 0.8 * side * side, -0.6 * abs(side)]
    for i in range(17, 27):
        points[i] = [0.5 - (i - 17) / 9, 0.4, 0.2]
    points[30] = [0, -0.1, 0.5]
    for i in range(36, 42):
        points[i] = [0.5 - 0.3 * (i - 36) / 5, 0.2, 0.1]
    for i in range(42, 48):
        points[i] = [-0.2 - 0.3 * (i - 42) / 5, 0.2, 0.1]
    points[45], points[47] = points[47], points[45]
    for i in range(48, 60):
        points[i] = [0.3 - 0.6 * (i - 48) / 11, -0.5, 0.3]
    return points


def main(folder):
    folder.mkdir(parents=True, exist_ok=True)
    angles = [0.25, -0.125, 0.0625, 0.5, 0.25, 0.125, -0.5, 0.375, 0.0]
    values = [WEIGHTS[name] for name in NAMES_IN_PACKET] + angles
    first, second = vmc()
    upper = {name[0].upper() + name[1:]: value for name, value in WEIGHTS.items()}
    side = {name: name.replace("Left", "_L").replace("Right", "_R") for name in WEIGHTS}
    files = {
        "phone.bin": phone("Zo\u00eb", values),
        "phone_lost.bin": phone("Zo\u00eb", None),
        "phone_short.bin": phone("Zo\u00eb", values)[:-40],
        "vmc_first.bin": first,
        "vmc_second.bin": second,
        "visage.bin": osc("/visage", "f" * 63, *[WEIGHTS[name] for name in JAW_FIRST], *[0.0] * 11),
        "blendshapes.bin": bundle(osc("/mpmocap/headRotation", "ffff", 0.0, math.sin(0.25), 0.0, math.cos(0.25)),
                                  osc("/mpmocap/blendshapes", "f" * 52, *[WEIGHTS[name] for name in JAW_LAST])),
        "tracker.bin": tracker(0, face_points()) + tracker(7, face_points()),
        "phone.json": json.dumps({"Timestamp": 1500, "Hotkey": -1, "FaceFound": True,
                                  "Rotation": {"x": 10.0, "y": 20.0, "z": 30.0},
                                  "Position": {"x": 1.0, "y": 2.0, "z": 3.0},
                                  "EyeLeft": {"x": 1.0, "y": 2.0, "z": 0.0}, "EyeRight": {"x": 3.0, "y": 4.0, "z": 0.0},
                                  "BlendShapes": [{"k": k, "v": v} for k, v in reversed(upper.items())]}).encode(),
        "phone.txt": ("|".join(f"{side[name]}-{round(value * 64)}" for name, value in WEIGHTS.items()) +
                      "|trackingStatus-1|=head#10,20,30,0.1,0.2,0.3|rightEye#3,4,0|leftEye#1,2,0|").encode(),
        "points.json": json.dumps({"face": "ada", "time": 0.25,
                                   "points": [[i, 2 * i, 3 * i] for i in range(67)] + [None]}).encode(),
        "weights.json": json.dumps({"face": "ada", "time": 0.5, "weights": WEIGHTS,
                                    "head": {"yaw": 10, "pitch": 20, "roll": 30}}).encode(),
    }
    for name, data in files.items():
        (folder / name).write_bytes(data)


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]))
