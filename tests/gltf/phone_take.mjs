// node phone_take.mjs OUT.csv
// Writes forty frames of a phone face-capture app: every shape moves on its own, the head and the eyes turn.
import { writeFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';

const SHAPES = `EyeBlinkLeft EyeLookDownLeft EyeLookInLeft EyeLookOutLeft EyeLookUpLeft EyeSquintLeft EyeWideLeft
  EyeBlinkRight EyeLookDownRight EyeLookInRight EyeLookOutRight EyeLookUpRight EyeSquintRight EyeWideRight
  JawForward JawRight JawLeft JawOpen MouthClose MouthFunnel MouthPucker MouthRight MouthLeft
  MouthSmileLeft MouthSmileRight MouthFrownLeft MouthFrownRight MouthDimpleLeft MouthDimpleRight
  MouthStretchLeft MouthStretchRight MouthRollLower MouthRollUpper MouthShrugLower MouthShrugUpper
  MouthPressLeft MouthPressRight MouthLowerDownLeft MouthLowerDownRight MouthUpperUpLeft MouthUpperUpRight
  BrowDownLeft BrowDownRight BrowInnerUp BrowOuterUpLeft BrowOuterUpRight
  CheekPuff CheekSquintLeft CheekSquintRight NoseSneerLeft NoseSneerRight TongueOut`.split(/\s+/);
const ANGLES = 'HeadYaw HeadPitch HeadRoll LeftEyeYaw LeftEyePitch LeftEyeRoll RightEyeYaw RightEyePitch RightEyeRoll'
  .split(' ');

// The yaw to the right and the pitch down of both eyes in a frame, in radians, at times beyond the avatars' ranges. They
// look in one direction, since a .vrma has one for both.
export const eyesOf = (f) => [0.9 * Math.sin(f / 5), 0.5 * Math.cos(f / 7)];

const angles = (f) => {
  const [yaw, pitch] = eyesOf(f);
  return [0.4 * Math.sin(f / 9), 0.2 * Math.cos(f / 6), 0.1 * Math.sin(f / 4), yaw, pitch, 0, yaw, pitch, 0];
};

function takeOf(frames) {
  const rows = [['Timecode', 'BlendShapeCount', ...SHAPES, ...ANGLES].join(',')];
  for (let f = 0; f < frames; ++f) {
    const weights = SHAPES.map((_, s) => 0.5 + 0.5 * Math.sin(f * (0.2 + 0.013 * s) + s));
    const counts = String(f).padStart(2, '0'); // of 60 a second
    rows.push([`10:20:30:${counts}.250`, 61, ...[...weights, ...angles(f)].map((x) => x.toFixed(10))].join(','));
  }
  return rows.join('\n') + '\n';
}

if (process.argv[1] === fileURLToPath(import.meta.url)) writeFileSync(process.argv[2], takeOf(40));
