// node vrm.mjs CHROMIUM FOLDER NAME...
//
// Plays in a browser what the command makes of one take for a VRM avatar, and compares:
//
// - NAME.vrma on the avatar NAME.avatar.vrm, by a player of that format: the expressions and the head against
//   NAME.json, the same animation as numbers, and the direction of the eyes against the take itself;
// - NAME.vrm, the avatar with the animation in it, against that: morph targets, the head's bone, the eyes' bones.
//
// FOLDER has these files and node_modules. Fails on any difference above the tolerance, on messages of the browser, and
// where nothing was compared.
import { createRequire } from 'node:module';
import { createServer } from 'node:http';
import { readFileSync } from 'node:fs';
import { extname, join, normalize } from 'node:path';
import { eyesOf } from './phone_take.mjs';

const [chromium, folder, ...names] = process.argv.slice(2);
const playwright = createRequire(`${process.cwd()}/`)('playwright-core');

const FRAMES = 10;
const TOLERANCE = {
  weight: 2e-6, // single precision, of weights between 0 and 1
  angle: 2e-4, // degrees: single precision of quaternions
};

const TYPES = { '.html': 'text/html', '.js': 'text/javascript', '.json': 'application/json' };
const PAGE = `<!doctype html><link rel="icon" href="data:,"><script type="importmap">{"imports": {
  "three": "/node_modules/three/build/three.module.js",
  "three/addons/": "/node_modules/three/examples/jsm/",
  "@pixiv/three-vrm": "/node_modules/@pixiv/three-vrm/lib/three-vrm.module.js",
  "@pixiv/three-vrm-animation": "/node_modules/@pixiv/three-vrm-animation/lib/three-vrm-animation.module.js"
}}</script><script type="module">
import * as THREE from 'three';
import { GLTFLoader } from 'three/addons/loaders/GLTFLoader.js';
import { VRMLoaderPlugin } from '@pixiv/three-vrm';
import { VRMAnimationLoaderPlugin, VRMLookAtQuaternionProxy, createVRMAnimationClip } from '@pixiv/three-vrm-animation';

const loader = new GLTFLoader();
loader.register((parser) => new VRMLoaderPlugin(parser));
loader.register((parser) => new VRMAnimationLoaderPlugin(parser));

// What an avatar shows: morph targets by node, and where its bones point in the scene.
function shown(vrm) {
  vrm.scene.updateMatrixWorld(true);
  const morphs = {};
  vrm.scene.traverse((object) => {
    if (object.morphTargetInfluences?.length) morphs[object.name] = [...object.morphTargetInfluences];
  });
  const bones = {};
  for (const bone of ['head', 'leftEye', 'rightEye']) {
    const node = vrm.humanoid.getRawBoneNode(bone);
    if (node) bones[bone] = node.getWorldQuaternion(new THREE.Quaternion()).toArray();
  }
  return { morphs, bones };
}

window.play = async (name, times) => {
  const avatar = (await loader.loadAsync(name + '.avatar.vrm')).userData.vrm;
  const vrma = (await loader.loadAsync(name + '.vrma')).userData.vrmAnimations[0];
  const proxy = new VRMLookAtQuaternionProxy(avatar.lookAt); // through which the animation reaches the eyes
  proxy.name = 'lookAt';
  avatar.scene.add(proxy);
  const mixer = new THREE.AnimationMixer(avatar.scene);
  const action = mixer.clipAction(createVRMAnimationClip(vrma, avatar));
  action.setLoop(THREE.LoopOnce).clampWhenFinished = true;
  action.play();
  const played = [];
  for (const time of times) {
    mixer.setTime(time);
    avatar.update(0);
    const head = avatar.humanoid.getNormalizedBoneNode('head').quaternion.toArray();
    const expressions = {};
    for (const { expressionName, weight } of avatar.expressionManager.expressions) expressions[expressionName] = weight;
    played.push({ expressions, head, look: [avatar.lookAt.yaw, avatar.lookAt.pitch], ...shown(avatar) });
  }

  const gltf = await loader.loadAsync(name + '.vrm');
  const itself = new THREE.AnimationMixer(gltf.scene);
  const own = itself.clipAction(gltf.animations[gltf.animations.length - 1]);
  own.setLoop(THREE.LoopOnce).clampWhenFinished = true;
  own.play();
  return played.map((frame, f) => {
    itself.setTime(times[f]);
    return { ...frame, own: shown(gltf.userData.vrm) };
  });
};
window.ready = true;
</script>`;

const server = createServer((request, response) => {
  const path = normalize(new URL(request.url, 'http://localhost').pathname);
  try {
    const body = path === '/' ? PAGE : readFileSync(join(folder, path));
    response.setHeader('Content-Type', TYPES[path === '/' ? '.html' : extname(path)] ?? 'application/octet-stream');
    response.end(body);
  } catch {
    response.statusCode = 404;
    response.end();
  }
}).listen(0, '127.0.0.1');
await new Promise((listening) => server.once('listening', listening));

let compared = 0, defects = 0;
const worst = {};
function expectNear(what, kind, actual, expected) {
  ++compared;
  const difference = Math.abs(actual - expected);
  if (!(difference <= (worst[kind] ?? 0))) worst[kind] = difference;
  if (difference <= TOLERANCE[kind]) return;
  if (++defects <= 20) console.error(`${what}: ${actual} instead of ${expected}`);
}
// Between two rotations, in degrees. The distance of the quaternions is twice the sine of a quarter of the angle.
function angleBetween(p, q) {
  const apart = Math.hypot(...p.map((x, i) => x - q[i])), opposite = Math.hypot(...p.map((x, i) => x + q[i]));
  return (180 / Math.PI) * 4 * Math.asin(Math.min(apart, opposite) / 2);
}

const browser = await playwright.chromium.launch({ executablePath: chromium, args: ['--no-sandbox'] });
try {
  const page = await browser.newPage();
  page.on('pageerror', (error) => { ++defects; console.error(String(error)); });
  page.on('console', (message) => {
    if (!['error', 'warning'].includes(message.type())) return;
    ++defects;
    console.error(message.text());
  });
  await page.goto(`http://127.0.0.1:${server.address().port}/`);
  await page.waitForFunction('window.ready', undefined, { timeout: 30000 });
  for (const name of names) {
    const expected = JSON.parse(readFileSync(join(folder, `${name}.json`)));
    const count = expected.times.length;
    const indices = Array.from({ length: FRAMES }, (_, i) => Math.round(i * (count - 1) / (FRAMES - 1)));
    const times = indices.map((f) => Math.fround(expected.times[f] - expected.times[0]));
    const played = await page.evaluate(([n, t]) => window.play(n, t), [name, times]);
    let expressions = 0;
    played.forEach((frame, i) => {
      const f = indices[i], at = `${name}, frame ${f}`;
      expected.shapes.names.forEach((shape, s) => {
        if (!(shape in frame.expressions) || shape.startsWith('look')) return;
        ++expressions;
        expectNear(`${at}, ${shape}`, 'weight', frame.expressions[shape], Math.min(1, Math.max(0, expected.shapes.weights[f][s])));
      });
      const [yaw, pitch] = eyesOf(f).map((angle) => (angle * 180) / Math.PI);
      expectNear(`${at}, yaw of the eyes`, 'angle', frame.look[0], -yaw); // positive to the left
      expectNear(`${at}, pitch of the eyes`, 'angle', frame.look[1], pitch);
      const head = expected.head.rotation[f];
      const turned = name.endsWith('0') ? [-head[0], head[1], -head[2], head[3]] : head; // looks along -z
      expectNear(`${at}, head`, 'angle', angleBetween(frame.head, turned), 0);
      for (const [node, morphs] of Object.entries(frame.morphs))
        morphs.forEach((weight, t) => expectNear(`${at}, ${node}, target ${t}`, 'weight', frame.own.morphs[node][t], weight));
      for (const [bone, rotation] of Object.entries(frame.bones))
        expectNear(`${at}, bone ${bone}`, 'angle', angleBetween(frame.own.bones[bone], rotation), 0);
    });
    if (expressions === 0) {
      ++defects;
      console.error(`${name}: no expression was compared`);
    }
    console.log(`${name}: ${FRAMES} frames, ${expressions} expressions`);
  }
} finally {
  await browser.close();
  server.close();
}
console.log(`largest differences: ${Object.entries(worst).map(([kind, most]) => `${kind} ${most.toExponential(1)}`).join(', ')}`);
console.log(`${compared} values compared, ${defects} defects`);
process.exit(defects > 0 || compared === 0 ? 1 : 0);
