import { byId, make } from "../Elements.ts";
import type { Model } from "../Model.ts";
import { counted } from "../Text.ts";
import { Plot } from "./Plot.ts";

/** So many plots are there from the start; more come when they are asked for. */
const firstPlots = 12;
/** What fits on the usual sizes of paper. */
const paperWidth = 660;

/** The plots below the diagram, one above the other. */
export class Plots {
  private readonly host = byId("v-plots");
  private readonly chooser = byId<HTMLSelectElement>("v-add-plot");
  private plots: Plot[] = [];
  /** Of the canvases. Measured only when it changes: asking makes the browser lay out the page. */
  private width = 0;
  private isOnPaper = false;

  constructor(private readonly model: Model) {
    const { nodes } = model.source;
    const withValues = nodes.filter((node) => model.source.hasSeries(node.id));
    const ends = [
      ...withValues.filter((node) => node.kind === "output"),
      ...withValues.filter((node) => node.kind === "stream"),
    ];
    model.plotted = ends.slice(0, firstPlots).map((node) => node.id);
    for (const node of withValues)
      this.chooser.append(make("option", { value: String(node.id) }, `${node.name} #${node.id}`));
    this.chooser.addEventListener("change", () => {
      if (this.chooser.value) model.plot(Number(this.chooser.value));
      this.chooser.value = "";
    });
    if (ends.length > firstPlots)
      byId("v-plots-note").textContent =
        `${firstPlots} of ${counted(ends.length, "input and output", "inputs and outputs")}`;

    byId("v-range-in").addEventListener("click", () => this.zoom(0.5));
    byId("v-range-out").addEventListener("click", () => this.zoom(2));
    byId("v-range-all").addEventListener("click", () => model.showAll());
    model.on("plots", () => {
      this.arrange();
      byId("v-plot-area").scrollTop = 0;
    });
    model.on("range", () => this.redraw());
    model.on("data", () => this.plots.forEach((plot) => plot.update(this.width)));
    model.on("theme", () => this.plots.forEach((plot) => plot.recolour()));
    model.on("cursor", () => this.plots.forEach((plot) => plot.moveCursor()));
    addEventListener("beforeprint", () => {
      this.isOnPaper = true;
      this.redraw(paperWidth);
    });
    addEventListener("afterprint", () => {
      this.isOnPaper = false;
      this.redraw();
    });
    new ResizeObserver(([{ contentRect }]) => {
      if (this.isOnPaper) return;
      this.width = Math.floor(contentRect.width);
      this.redraw();
    }).observe(this.host);
    this.arrange();
  }

  private redraw(width = this.width): void {
    for (const plot of this.plots) plot.redraw(width);
  }

  /** Halves or doubles the stretch about the cursor, or about its middle where the cursor is not in it. */
  private zoom(factor: number): void {
    const { from, to } = this.model.shown;
    const cursor = this.model.source.axis.at(this.model.batch);
    const about = cursor >= from && cursor <= to ? cursor : (from + to) / 2;
    this.model.show(about - (about - from) * factor, about + (to - about) * factor);
  }

  private arrange(): void {
    const wanted = this.model.plotted;
    for (const plot of this.plots) if (!wanted.includes(plot.node)) plot.destroy();
    this.plots = wanted.map((node) => this.plots.find((plot) => plot.node === node) ?? new Plot(this.model, node));
    for (const [i, plot] of this.plots.entries()) {
      if (this.host.children[i] !== plot.element) this.host.insertBefore(plot.element, this.host.children[i] ?? null);
      plot.update(this.width);
    }
    byId("v-no-plots").hidden = this.plots.length > 0;
  }
}
