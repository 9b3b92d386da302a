import type { Model } from "../Model.ts";
import { shortValue } from "../Text.ts";
import { setText } from "../Elements.ts";
import type { PanZoom } from "./PanZoom.ts";

interface Label {
  node: number;
  text: SVGTextElement;
  x: number;
  y: number;
  style: string;
  /** Of the value that is written there; -1 for none. */
  index: number;
}

const ages = ["v-age-0", "v-age-1", "v-age-2", "v-age-3"];

/** Writes beside every output what it carries at the cursor: those of this batch stand out, older ones fade. */
export class WireValues {
  private readonly labels: Label[] = [];
  private readonly wires = new Map<number, SVGElement[]>();
  private updated = new Set<number>();

  constructor(
    private readonly model: Model,
    private readonly svg: SVGSVGElement,
    private readonly panZoom: () => PanZoom,
  ) {
    for (const text of svg.querySelectorAll<SVGTextElement>("text.value")) {
      const node = Number(text.dataset.node);
      const place = svg.createSVGPoint();
      place.x = Number(text.getAttribute("x"));
      place.y = Number(text.getAttribute("y"));
      // Texts may stand in groups that are moved.
      const outer = svg.getScreenCTM();
      const inner = text.getScreenCTM();
      const { x, y } = outer && inner ? place.matrixTransform(outer.inverse().multiply(inner)) : place;
      this.labels.push({ node, text, x, y, style: "", index: -1 });
    }
    for (const wire of svg.querySelectorAll<SVGElement>("path.wire")) {
      const from = Number(wire.dataset.from);
      this.wires.set(from, [...(this.wires.get(from) ?? []), wire]);
    }
  }

  update(): void {
    const { model } = this;
    const { axis } = model.source;
    const interval = (axis.end - axis.begin) / Math.max(1, axis.count - 1);
    const updated = new Set<number>();
    const isFar = this.svg.classList.contains("v-far");
    for (const label of this.labels) {
      if (!this.panZoom().isVisible(label.x, label.y)) continue;
      const found = model.valueAtCursor(label.node);
      const batch = found ? found.series.batchOf(found.index) : -1;
      if (batch === model.batch && axis.count > 0) updated.add(label.node);
      if (isFar) continue;
      const index = found?.index ?? -1;
      if (index !== label.index) {
        label.index = index;
        setText(label.text, found ? shortValue(found.series.value(found.index)) : "");
      }
      this.setStyle(label, batch, (axis.at(model.batch) - axis.at(batch)) / interval);
    }
    this.highlightWires(updated);
  }

  /** The age is in intervals between batches. */
  private setStyle(label: Label, batch: number, age: number): void {
    let style = "";
    if (batch === this.model.batch) style = "v-now";
    else if (batch >= 0) style = ages[age < 10 ? 0 : age < 100 ? 1 : age < 1000 ? 2 : 3];
    if (style === label.style) return;
    if (label.style) label.text.classList.remove(label.style);
    if (style) label.text.classList.add(style);
    label.style = style;
  }

  private highlightWires(updated: Set<number>): void {
    const toggle = (node: number, isOn: boolean) => {
      for (const wire of this.wires.get(node) ?? []) wire.classList.toggle("v-now", isOn);
    };
    for (const node of this.updated) if (!updated.has(node)) toggle(node, false);
    for (const node of updated) if (!this.updated.has(node)) toggle(node, true);
    this.updated = updated;
  }
}
