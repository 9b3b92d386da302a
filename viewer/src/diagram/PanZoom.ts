import { byId } from "../Elements.ts";

interface Point {
  x: number;
  y: number;
}

/** Pans and zooms the diagram by its viewBox: wheel, drag, pinch, buttons, and keys while it has the focus. */
export class PanZoom {
  /** Pixels for a unit of the picture, and what stands in the middle. */
  scale = 1;
  private centre: Point = { x: 0, y: 0 };
  private readonly whole: { x: number; y: number; width: number; height: number };
  private readonly pointers = new Map<number, Point>();
  private dragged = 0;
  private isFitted = true;
  /** Whether the page is being printed, with the whole diagram. */
  private isOnPaper = false;
  /** Of the host, in pixels. */
  private size = { width: 0, height: 0 };

  constructor(
    private readonly host: HTMLElement,
    private readonly svg: SVGSVGElement,
    private readonly onMove: () => void,
    private readonly onClick: (target: Element, event: PointerEvent) => void,
  ) {
    const { x, y, width, height } = svg.viewBox.baseVal;
    this.whole = { x, y, width: width || 1, height: height || 1 };
    host.addEventListener("wheel", (event) => this.wheel(event), { passive: false });
    host.addEventListener("pointerdown", (event) => this.down(event));
    host.addEventListener("pointermove", (event) => this.move(event));
    host.addEventListener("pointerup", (event) => this.up(event));
    host.addEventListener("pointercancel", (event) => this.pointers.delete(event.pointerId));
    byId("v-zoom-in").addEventListener("click", () => this.zoom(1.4));
    byId("v-zoom-out").addEventListener("click", () => this.zoom(1 / 1.4));
    byId("v-fit").addEventListener("click", () => this.fit());
    new ResizeObserver(([{ contentRect }]) => {
      if (this.isOnPaper) return;
      this.size = contentRect;
      if (this.isFitted) this.begin();
      else this.apply();
    }).observe(host);
    addEventListener("beforeprint", () => {
      this.isOnPaper = true;
      svg.setAttribute("viewBox", Object.values(this.whole).join(" "));
    });
    addEventListener("afterprint", () => {
      this.isOnPaper = false;
      this.apply();
    });
  }

  fit(): void {
    const { width, height } = this.size;
    if (width === 0 || height === 0) return;
    const { whole } = this;
    this.scale = Math.min(width / whole.width, height / whole.height, 1.6);
    this.centre = { x: whole.x + whole.width / 2, y: whole.y + whole.height / 2 };
    this.apply();
    this.isFitted = true;
  }

  /** The whole diagram where it can then be read, and else where it begins: at an input stream, on the left. */
  private begin(): void {
    this.fit();
    const { width, height } = this.size;
    const { whole } = this;
    const scale = Math.max(0.62, Math.min(height / whole.height, 0.8));
    if (this.scale > 0.45 || width === 0) return;
    this.scale = scale;
    this.centre.x = whole.x + width / scale / 2;
    const first = this.svg.querySelector<SVGGraphicsElement>("g.node.stream .body")?.getBBox().y ?? whole.y;
    const half = Math.min(whole.height, height / scale) / 2;
    this.centre.y = Math.max(whole.y + half, Math.min(whole.y + whole.height - half, first));
    this.apply();
    this.isFitted = true;
  }

  /** Zooms about a point of the screen, as a rule the middle. */
  zoom(factor: number, about?: Point): void {
    const scale = Math.max(0.02, Math.min(12, this.scale * factor));
    const rect = this.host.getBoundingClientRect();
    const dx = about ? about.x - rect.left - rect.width / 2 : 0;
    const dy = about ? about.y - rect.top - rect.height / 2 : 0;
    this.centre.x += dx / this.scale - dx / scale;
    this.centre.y += dy / this.scale - dy / scale;
    this.scale = scale;
    this.apply();
  }

  pan(dx: number, dy: number): void {
    this.centre.x -= dx / this.scale;
    this.centre.y -= dy / this.scale;
    this.apply();
  }

  /** Brings a part of the picture into view, large enough to be read. */
  reveal(box: DOMRect): void {
    const rect = this.host.getBoundingClientRect();
    const isInside =
      box.left >= rect.left && box.right <= rect.right && box.top >= rect.top && box.bottom <= rect.bottom;
    if (isInside && this.scale >= 0.6) return;
    this.pan(
      rect.left + rect.width / 2 - (box.left + box.width / 2),
      rect.top + rect.height / 2 - (box.top + box.height / 2),
    );
    if (this.scale < 0.6) this.zoom(1 / this.scale);
  }

  /** Whether a place of the picture is on the screen, with some room to the left for what begins there. */
  isVisible(x: number, y: number): boolean {
    const { x: left, y: top, width, height } = this.svg.viewBox.baseVal;
    return x > left - 120 && x < left + width && y > top - 20 && y < top + height + 20;
  }

  key(event: KeyboardEvent): boolean {
    const step = 60;
    const actions: Record<string, () => void> = {
      "+": () => this.zoom(1.25),
      "=": () => this.zoom(1.25),
      "-": () => this.zoom(0.8),
      "0": () => this.fit(),
      f: () => this.fit(),
      w: () => this.pan(0, step),
      s: () => this.pan(0, -step),
      a: () => this.pan(step, 0),
      d: () => this.pan(-step, 0),
    };
    const action = actions[event.key];
    action?.();
    return action !== undefined;
  }

  private apply(): void {
    this.isFitted = false;
    const { width, height } = this.size;
    const w = width / this.scale;
    const h = height / this.scale;
    this.svg.setAttribute("viewBox", `${this.centre.x - w / 2} ${this.centre.y - h / 2} ${w} ${h}`);
    this.svg.classList.toggle("v-far", this.scale < 0.35);
    this.onMove();
  }

  private wheel(event: WheelEvent): void {
    event.preventDefault();
    const pixels = event.deltaY * (event.deltaMode === 1 ? 20 : event.deltaMode === 2 ? 400 : 1);
    this.zoom(Math.exp(-Math.max(-200, Math.min(200, pixels)) * 0.0022), { x: event.clientX, y: event.clientY });
  }

  private down(event: PointerEvent): void {
    if (event.button !== 0) return;
    if (this.pointers.size === 0) this.dragged = 0;
    this.pointers.set(event.pointerId, { x: event.clientX, y: event.clientY });
  }

  private move(event: PointerEvent): void {
    const before = this.pointers.get(event.pointerId);
    if (!before) return;
    const now = { x: event.clientX, y: event.clientY };
    this.dragged += Math.hypot(now.x - before.x, now.y - before.y);
    // A click moves a little, too.
    if (this.dragged < 5) return;
    this.host.setPointerCapture(event.pointerId);
    const other = [...this.pointers].find(([id]) => id !== event.pointerId)?.[1];
    this.pointers.set(event.pointerId, now);
    if (!other) return this.pan(now.x - before.x, now.y - before.y);
    const apart = (point: Point) => Math.max(20, Math.hypot(point.x - other.x, point.y - other.y));
    this.pan((now.x - before.x) / 2, (now.y - before.y) / 2);
    this.zoom(apart(now) / apart(before), { x: (now.x + other.x) / 2, y: (now.y + other.y) / 2 });
  }

  private up(event: PointerEvent): void {
    if (!this.pointers.delete(event.pointerId) || this.pointers.size > 0 || this.dragged >= 5) return;
    const target = document.elementFromPoint(event.clientX, event.clientY);
    if (target) this.onClick(target, event);
  }
}
