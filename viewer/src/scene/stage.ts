// The 3D area: camera, light, and drawing when something changed. Units are millimetres; x is the performer's left, y up,
// z out of the face.

import type { Object3D } from "three";
import {
  Box3,
  Color,
  DirectionalLight,
  HemisphereLight,
  PerspectiveCamera,
  PMREMGenerator,
  Scene,
  Vector3,
  WebGLRenderer,
} from "three";
import { OrbitControls } from "three/addons/controls/OrbitControls.js";
import { RoomEnvironment } from "three/addons/environments/RoomEnvironment.js";
import { element } from "../dom";
import { colour, onTheme } from "../theme";

const front = new Vector3(0, 0.06, 1);
const side = new Vector3(1, 0.06, 0.0001);

export class Stage {
  private readonly renderer: WebGLRenderer;
  private readonly mostPixels: number; // per CSS pixel
  private readonly scene = new Scene();
  readonly camera = new PerspectiveCamera(28, 1, 1, 10000);
  private readonly controls: OrbitControls;
  private readonly content = new Box3();
  private readonly drawListeners: (() => void)[] = [];
  private isRequested = false;

  /** Throws if the browser has no WebGL. */
  constructor(private readonly container: HTMLElement) {
    const canvas = element("canvas", "stage-canvas");
    const attributes = { alpha: true, depth: true, stencil: false, antialias: true };
    // Where the processor has to draw, as on remote desktops, smooth edges would cost too much.
    const fast = canvas.getContext("webgl2", { ...attributes, failIfMajorPerformanceCaveat: true });
    this.mostPixels = fast ? 2 : 1;
    const context = fast ?? canvas.getContext("webgl2", { ...attributes, antialias: false });
    if (!context) throw new Error("WebGL is unavailable");
    this.renderer = new WebGLRenderer({ canvas, context });
    container.prepend(canvas);
    this.controls = new OrbitControls(this.camera, canvas);
    this.controls.addEventListener("change", () => this.request());
    this.scene.add(this.camera);
    const sky = new HemisphereLight(0xffffff, 0x8a8078, 1.7);
    const key = new DirectionalLight(0xffffff, 2);
    key.position.set(-0.5, 0.8, 1);
    this.camera.add(key); // the light stays with the viewer
    this.scene.add(sky);
    onTheme(() => this.showTheme());
    this.showTheme();
    new ResizeObserver(() => {
      this.resize();
      this.draw(); // at once: a resized canvas is empty
    }).observe(container);
    this.resize();
    this.showContent();
  }

  get canvas(): HTMLCanvasElement {
    return this.renderer.domElement;
  }

  add(object: Object3D): void {
    this.scene.add(object);
  }

  onDraw(listener: () => void): void {
    this.drawListeners.push(listener);
  }

  /** Reflections of a neutral room, without which metallic materials are black. Takes a while, and makes drawing slower. */
  lightByRoom(): void {
    const generator = new PMREMGenerator(this.renderer);
    this.scene.environment = generator.fromScene(new RoomEnvironment(), 0.04).texture;
    this.scene.environmentIntensity = 0.35;
    generator.dispose();
    this.request();
  }

  /** What showContent shows. */
  setContent(box: Box3): void {
    this.content.copy(box);
    if (box.isEmpty()) this.content.setFromCenterAndSize(new Vector3(), new Vector3(200, 200, 200));
    this.content.expandByScalar(1); // a single marker has no size
    const size = this.content.getSize(new Vector3()).length();
    this.camera.near = size / 100;
    this.camera.far = size * 30;
    this.controls.minDistance = size / 20;
    this.controls.maxDistance = size * 12;
  }

  /** All of the content from the front, as near as its box allows. */
  showContent(): void {
    const centre = this.content.getCenter(new Vector3());
    const back = front.clone().normalize();
    const right = new Vector3(0, 1, 0).cross(back).normalize();
    const up = back.clone().cross(right);
    const tangent = Math.tan(((this.camera.fov / 2) * Math.PI) / 180);
    const height = this.container.clientHeight;
    const margin = height / Math.max(height / 2, height - 88); // for the buttons and the legend
    let distance = this.camera.near;
    for (let corner = 0; corner < 8; ++corner) {
      const { min, max } = this.content;
      const place = new Vector3(corner & 1 ? max.x : min.x, corner & 2 ? max.y : min.y, corner & 4 ? max.z : min.z);
      place.sub(centre);
      const across = Math.abs(place.dot(right)) / (tangent * this.camera.aspect);
      const high = (Math.abs(place.dot(up)) * margin) / tangent;
      // Half the depth: what is nearest is mostly in the middle.
      distance = Math.max(distance, place.dot(back) / 2 + Math.max(across * 1.04, high));
    }
    this.controls.target.copy(centre);
    this.camera.position.copy(back).multiplyScalar(distance).add(centre);
    this.camera.updateProjectionMatrix();
    this.controls.update();
    this.request();
  }

  /** From the front or the performer's left, at the distance and around the point that the reader chose. */
  turnToFront(): void {
    this.turnTo(front);
  }

  turnToSide(): void {
    this.turnTo(side);
  }

  /** Soon; several requests are drawn once. */
  request(): void {
    if (this.isRequested) return;
    this.isRequested = true;
    requestAnimationFrame(() => {
      if (this.isRequested) this.draw();
    });
  }

  draw(): void {
    this.isRequested = false;
    this.renderer.render(this.scene, this.camera);
    for (const listener of this.drawListeners) listener();
  }

  /** CSS pixels from the area's top left corner; nothing behind the camera. */
  project(place: Vector3): { x: number; y: number } | undefined {
    const at = place.clone().project(this.camera);
    if (at.z > 1) return undefined;
    const { clientWidth, clientHeight } = this.container;
    return { x: ((at.x + 1) / 2) * clientWidth, y: ((1 - at.y) / 2) * clientHeight };
  }

  private turnTo(from: Vector3): void {
    const { target } = this.controls;
    const distance = this.camera.position.distanceTo(target);
    this.camera.position.copy(from).setLength(distance).add(target);
    this.controls.update();
    this.request();
  }

  private resize(): void {
    const { clientWidth, clientHeight } = this.container;
    if (!clientWidth || !clientHeight) return;
    this.renderer.setPixelRatio(Math.min(this.mostPixels, window.devicePixelRatio || 1));
    this.renderer.setSize(clientWidth, clientHeight, false);
    this.camera.aspect = clientWidth / clientHeight;
    this.camera.updateProjectionMatrix();
  }

  private showTheme(): void {
    this.scene.background = new Color(colour("stage"));
    this.request();
  }
}
