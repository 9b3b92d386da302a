import { byId, makeSvg, setText } from "../Elements.ts";
import type { Model } from "../Model.ts";
import { counted, duration } from "../Text.ts";

/** Marks on the diagram's nodes: which one is selected and what it is connected with, heat, and silence. */
export class NodeMarks {
  private readonly nodes = new Map<number, SVGGElement>();
  private marked: Element[] = [];

  constructor(
    private readonly model: Model,
    private readonly svg: SVGSVGElement,
  ) {
    for (const group of svg.querySelectorAll<SVGGElement>("g.node")) this.nodes.set(Number(group.dataset.node), group);
    this.markQuiet();
    model.on("selection", () => this.showSelection());
    model.on("heat", () => this.showHeat());
  }

  group(node: number): SVGGElement | undefined {
    return this.nodes.get(node);
  }

  private markQuiet(): void {
    for (const { node, causes } of this.model.source.quiet) {
      const group = this.nodes.get(node);
      const body = group?.querySelector<SVGGraphicsElement>(".body");
      if (!group || !body) continue;
      const isSilent = this.model.isSilent(node);
      group.classList.add(isSilent ? "v-silent" : "v-seldom");
      const { x, y } = body.getBBox();
      const reason = causes.map((cause) => `${this.model.nameOf(cause.node)}: ${cause.text}`).join("\n");
      group.append(
        makeSvg(
          "g",
          { class: "v-quiet-mark", transform: `translate(${x + 3} ${y})` },
          makeSvg("circle", { r: isSilent ? "8" : "5" }),
          makeSvg("path", { d: isSilent ? "M-4.5 0h9" : "M-2.5 0h5" }),
          makeSvg("title", {}, `${isSilent ? "Silent" : "Not always"}\n${reason}`),
        ),
      );
    }
  }

  private showSelection(): void {
    for (const element of this.marked) element.classList.remove("v-selected", "v-linked");
    this.marked = [];
    const { selected } = this.model;
    if (selected === undefined) return;
    const mark = (element: Element | undefined, style: string) => {
      if (!element) return;
      element.classList.add(style);
      this.marked.push(element);
    };
    mark(this.nodes.get(selected), "v-selected");
    for (const wire of this.svg.querySelectorAll<SVGElement>("path.wire")) {
      const { from, to } = wire.dataset;
      if (Number(from) === selected || Number(to) === selected) mark(wire, "v-linked");
    }
  }

  private showHeat(): void {
    const { heat, source } = this.model;
    const amount = (node: { runs: number; nanoseconds: number }) => (heat === "time" ? node.nanoseconds : node.runs);
    const most = Math.max(1, ...source.nodes.map(amount));
    this.svg.classList.toggle("v-heated", heat !== "none");
    byId("v-heat-legend").hidden = heat === "none";
    setText(byId("v-heat-most"), heat === "time" ? duration(most * 1e-9) : counted(most, "run"));
    for (const node of source.nodes) {
      // By the square root, so that small shares can still be told from none.
      const share = Math.sqrt(amount(node) / most);
      this.nodes.get(node.id)?.style.setProperty("--v-heat", `${Math.round(share * 55)}%`);
    }
  }
}
