import { byId, setText } from "../Elements.ts";
import type { Model } from "../Model.ts";
import { duration, shortValue } from "../Text.ts";
import { NodeMarks } from "./NodeMarks.ts";
import { PanZoom } from "./PanZoom.ts";
import { WireValues } from "./WireValues.ts";

/** The drawn diagram: nodes to select, wires to plot, values at the cursor. */
export class Diagram {
  private readonly host = byId("v-diagram");
  private readonly hint = byId("v-hint");
  private readonly values: WireValues;
  private readonly marks: NodeMarks;
  private readonly panZoom: PanZoom;
  private hovered: Element[] = [];

  constructor(
    private readonly model: Model,
    private readonly svg: SVGSVGElement,
  ) {
    this.values = new WireValues(model, svg, () => this.panZoom);
    this.marks = new NodeMarks(model, svg);
    this.panZoom = new PanZoom(
      this.host,
      svg,
      () => model.change("cursor"),
      (target, event) => this.click(target, event),
    );
    for (const topic of ["cursor", "data"] as const) model.on(topic, () => this.values.update());
    this.host.addEventListener("pointermove", (event) => this.hover(event));
    this.host.addEventListener("pointerleave", (event) => event.pointerType !== "touch" && this.endHover());
    this.values.update();
  }

  key(event: KeyboardEvent): boolean {
    return this.panZoom.key(event);
  }

  reveal(node: number): void {
    const group = this.marks.group(node);
    if (group) this.panZoom.reveal(group.getBoundingClientRect());
  }

  private click(target: Element, event: PointerEvent): void {
    const wire = target.closest<SVGElement>("path.hit, path.wire");
    const node = target.closest<SVGElement>("g.node, text.value")?.dataset.node;
    if (wire?.dataset.from) {
      this.model.select(Number(wire.dataset.from));
      this.model.plot(Number(wire.dataset.from));
      // Where there is no pointer that hovers, and the plots may be out of sight.
      if (event.pointerType === "touch") {
        this.showHint(event, `${this.hintText(Number(wire.dataset.from))} – plotted below`);
        setTimeout(() => (this.hint.hidden = true), 2500);
      }
    } else if (node !== undefined) {
      this.model.select(Number(node));
    } else if (this.host.contains(target)) {
      this.model.select(undefined);
    }
  }

  /** Says what a wire carries, beside the pointer. */
  private hover(event: PointerEvent): void {
    if (event.pointerType === "touch") return;
    const wire = event.buttons === 0 ? (event.target as Element).closest<SVGElement>("path.hit, path.wire") : null;
    this.endHover();
    if (!wire?.dataset.from) return;
    const { from, to, input } = wire.dataset;
    this.hovered = [...this.svg.querySelectorAll<SVGElement>(`path.wire[data-from="${from}"]`)].filter(
      ({ dataset }) => dataset.to === to && dataset.input === input,
    );
    for (const element of this.hovered) element.classList.add("v-hovered");
    this.showHint(event, `${this.hintText(Number(from))} – click to plot`);
  }

  private showHint(event: PointerEvent, text: string): void {
    setText(this.hint, text);
    this.hint.hidden = false;
    const rect = this.host.getBoundingClientRect();
    const left = Math.min(event.clientX - rect.left + 14, rect.width - this.hint.offsetWidth - 4);
    const top = event.clientY - rect.top + 18;
    this.hint.style.transform = `translate(${Math.max(4, left)}px, ${Math.min(top, rect.height - 28)}px)`;
  }

  private endHover(): void {
    for (const element of this.hovered) element.classList.remove("v-hovered");
    this.hovered = [];
    this.hint.hidden = true;
  }

  private hintText(node: number): string {
    const found = this.model.valueAtCursor(node);
    const info = this.model.node(node);
    const name = this.model.nameOf(node);
    if (info?.constant !== undefined) return `${name}: ${info.constant}, a constant`;
    if (!found) return `${name}: no value yet`;
    const { series, index } = found;
    const batch = series.batchOf(index);
    const age = batch === this.model.batch ? "in this batch" : `${duration(this.model.ageOf(batch))} ago`;
    return `${name}: ${shortValue(series.value(index))}, ${age}`;
  }
}
