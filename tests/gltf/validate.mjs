// node validate.mjs FILE...
// Runs the format's validator on each file. Fails on any error or warning, on a hint or information that is a defect in
// the command's output, and without files.
import { createRequire } from 'node:module';
import { readFileSync } from 'node:fs';

// From the working directory: the package is installed in the build tree, not beside this file.
const validator = createRequire(`${process.cwd()}/`)('gltf-validator');

// Messages that are accepted for a correct file:
const HARMLESS = new Set([
  'NODE_EMPTY', // a cluster is a node without geometry, to which others can be attached; so is a bone
  'UNSUPPORTED_EXTENSION', // the validator does not know the extensions of VRM
  'INVALID_EXTENSION_NAME_FORMAT', // "VRM", that of VRM 0.x, is older than the rule
]);

const files = process.argv.slice(2);
let defects = files.length === 0 ? 1 : 0;
for (const file of files) {
  const bytes = new Uint8Array(readFileSync(file));
  const report = await validator.validateBytes(bytes, { uri: file, format: 'glb', maxIssues: 0 });
  const { issues, info } = report;
  if (issues.truncated) throw new Error(`${file}: not all issues were listed`);
  const bad = issues.messages.filter(({ code }) => !HARMLESS.has(code));
  for (const { code, message, pointer } of bad) console.error(`${file}:${pointer}: ${code}: ${message}`);
  if (!info) { // nothing could be read
    defects += Math.max(1, bad.length);
    continue;
  }
  console.log(`${file}: ${info.animationCount} animations, ${info.drawCallCount} draw calls, ` +
    `${info.totalVertexCount} vertices, morph targets: ${info.hasMorphTargets}; ` +
    `${issues.messages.length - bad.length} harmless remarks, ${bad.length} defects`);
  defects += bad.length;
}
console.log(`${files.length} files checked, ${defects} defects`);
process.exit(defects > 0 ? 1 : 0);
