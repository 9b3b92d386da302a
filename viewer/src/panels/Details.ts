import type { NodeInfo } from "../data/DataSource.ts";
import type { Series } from "../data/Series.ts";
import { button, byId, make, setText } from "../Elements.ts";
import type { Model } from "../Model.ts";
import { counted, cutTo, duration, fullValue, grouped, percent, typeStyle } from "../Text.ts";

const kinds = { function: "Function", constant: "Constant", stream: "Input stream", output: "Variable output" };

/** Everything about the selected node: what never changes is written once, values whenever the cursor moves. */
export class Details {
  private readonly host = byId("v-details");
  /** What writes the values of the node that is shown. */
  private refreshers: (() => void)[] = [];

  constructor(
    private readonly model: Model,
    private readonly reveal: (node: number) => void,
  ) {
    model.on("selection", () => this.show());
    for (const topic of ["cursor", "data"] as const) model.on(topic, () => this.refresh());
    this.show();
  }

  private show(): void {
    const { selected } = this.model;
    this.refreshers = [];
    const node = selected === undefined ? undefined : this.model.node(selected);
    this.host.replaceChildren(...(node ? this.describe(node) : this.overview()));
    this.refresh();
  }
  private refresh(): void {
    for (const refresher of this.refreshers) refresher();
  }

  private overview(): Node[] {
    const { source } = this.model;
    const running = source.nodes.reduce((sum, node) => sum + node.runs, 0);
    const table = make("div");
    this.refreshers.push(() => {
      const { begin, end, rises, count } = source.axis;
      if (table.dataset.count === String(count)) return;
      table.dataset.count = String(count);
      const silent = source.quiet.filter((entry) => this.model.isSilent(entry.node)).length;
      const time = rises ? `${begin} s to ${end} s (${duration(end - begin)})` : "timestamps fall";
      table.replaceChildren(
        facts([
          ["Nodes", grouped(source.nodes.length)],
          ["Batches", grouped(count)],
          ["Time", count === 0 ? "–" : time],
          ["Runs of nodes", grouped(running)],
          ["Silent nodes", grouped(silent)],
        ]),
      );
    });
    return [
      make("h2", {}, source.diagram),
      make("p", {}, "Evaluated over ", make("strong", {}, source.recording), "."),
      source.stopped !== undefined
        ? make("p", { class: "v-problem v-error" }, make("strong", {}, "Stopped: "), source.stopped)
        : make("span"),
      table,
      ...this.ends("Outputs at the cursor", "output"),
      ...this.ends("Inputs at the cursor", "stream"),
      make(
        "p",
        { class: "v-faint" },
        "Click a node to see its values and why it has them; click a wire to plot it. Move in time with the slider, " +
          "the arrow keys, or by clicking in a plot.",
      ),
      make("p", { class: "v-faint" }, `Made by ${source.tool}.`),
    ];
  }

  /** All nodes of a kind with their values. */
  private ends(title: string, kind: NodeInfo["kind"]): Node[] {
    const nodes = this.model.source.nodes.filter((node) => node.kind === kind);
    if (nodes.length === 0) return [];
    return [make("h3", {}, title), ...nodes.map((node) => this.feeder(node.id, false))];
  }

  private describe(node: NodeInfo): Node[] {
    const parts: Node[] = [
      make(
        "header",
        { class: "v-details-head" },
        make("h2", {}, node.name),
        button("Show in diagram", { class: "v-small", click: () => this.reveal(node.id) }),
      ),
      make(
        "p",
        { class: "v-faint" },
        `${kinds[node.kind]}${node.kind === "function" ? ` “${node.class}”` : ""}, node #${node.id}, `,
        make("span", { class: `v-type ${typeStyle(node.type)}` }, node.type),
      ),
    ];
    parts.push(...this.findings(node), this.valueNow(node));
    if (node.inputs.length > 0) parts.push(make("h3", {}, "Inputs"), ...this.inputs(node));
    parts.push(...this.silence(node), ...this.followers(node));
    parts.push(make("h3", {}, "In the whole recording"), this.statistics(node));
    return parts;
  }

  private silence(node: NodeInfo): Node[] {
    const quiet = this.model.source.quiet.find((entry) => entry.node === node.id);
    if (!quiet) return [];
    const title = this.model.isSilent(node.id) ? "Why it is silent" : "Why it does not always give a value";
    return [make("h3", {}, title), causeList(this.model, quiet)];
  }

  private findings(node: NodeInfo): Node[] {
    return this.model.source.findings
      .filter((finding) => finding.node === node.id)
      .map((finding) =>
        make(
          "p",
          { class: `v-problem v-${finding.severity}` },
          `${finding.text}${finding.hint ? ` – ${finding.hint}` : ""}`,
        ),
      );
  }

  private valueNow(node: NodeInfo): Node {
    if (node.constant !== undefined)
      return make("div", { class: "v-now-box" }, make("output", { class: "v-big" }, node.constant), "always");
    const value = make("output", { class: `v-big ${typeStyle(node.type)}` });
    const age = make("span", { class: "v-faint" });
    const change = make("span", { class: "v-faint" });
    const plot = button("Plot", { class: "v-small", click: () => this.model.plot(node.id) });
    plot.hidden = !this.model.source.hasSeries(node.id);
    this.refreshers.push(() => {
      const { model } = this;
      const found = model.valueAtCursor(node.id);
      if (!found) {
        setText(value, "–");
        setText(change, "");
        return setText(age, this.absence(node));
      }
      const { series, index } = found;
      writeValue(value, series, index);
      const batch = series.batchOf(index);
      const times = index - series.firstFrom(batch) + 1;
      const often = times > 1 ? `, ${times} times` : "";
      setText(age, batch === model.batch ? `given in this batch${often}` : `given ${this.ago(batch)}`);
      const changed = series.batchOf(series.lastChange(index));
      setText(change, changed === model.batch ? "last changed in this batch" : `last changed ${this.ago(changed)}`);
    });
    return make("div", { class: "v-now-box" }, value, make("span", {}, age), change, plot);
  }

  private absence(node: NodeInfo): string {
    const { model } = this;
    if (!model.source.hasSeries(node.id)) return "it never gave a value";
    const series = model.source.series(node.id);
    if (!series) return "values are being read…";
    return series.count === 0
      ? "it never gave a value"
      : `no value yet: the first one comes ${this.later(series.batchOf(0))}`;
  }

  private inputs(node: NodeInfo): Node[] {
    return node.inputs.map((input) =>
      make(
        "div",
        { class: "v-input" },
        make(
          "div",
          {},
          make("span", { class: `v-chip ${typeStyle(input.type)}` }),
          make("strong", {}, input.name),
          make("span", { class: "v-faint" }, ` ${input.type}`),
        ),
        ...(input.from.length === 0 ? [make("div", { class: "v-faint" }, "not connected")] : []),
        ...input.from.map((from) => this.feeder(from)),
      ),
    );
  }

  /** A node with its value, and how old that is. */
  private feeder(from: number, canPlot = true): Node {
    const { model } = this;
    const info = model.node(from);
    const value = make("output", { class: "v-value" });
    const age = make("span", { class: "v-faint" });
    this.refreshers.push(() => {
      const found = model.valueAtCursor(from);
      if (info?.constant !== undefined) {
        setText(value, info.constant);
        setText(age, "constant");
      } else if (found) {
        writeValue(value, found.series, found.index);
        const batch = found.series.batchOf(found.index);
        setText(age, batch === model.batch ? "updated in this batch" : this.ago(batch));
        age.classList.toggle("v-fresh", batch === model.batch);
      } else {
        setText(value, "–");
        setText(age, "no value yet");
      }
    });
    const plot = button("Plot", {
      class: "v-small",
      "aria-label": `Plot ${model.nameOf(from)}`,
      click: () => model.plot(from),
    });
    plot.hidden = !model.source.hasSeries(from);
    return make(
      "div",
      { class: "v-feeder", "data-node": String(from) },
      nodeLink(model, from),
      value,
      make("div", { class: "v-age" }, age, canPlot && plot),
    );
  }

  private followers(node: NodeInfo): Node[] {
    const followers = this.model.followersOf(node.id);
    if (followers.length === 0) return [];
    const items = followers.map(({ node: follower, input }) =>
      make(
        "li",
        {},
        nodeLink(this.model, follower.id),
        make("span", { class: "v-faint" }, ` ${follower.inputs[input].name}`),
      ),
    );
    return [make("h3", {}, "Feeds"), make("ul", { class: "v-list" }, ...items)];
  }

  private statistics(node: NodeInfo): Node {
    const { source } = this.model;
    const list = make("div");
    const time = source.nodes.reduce((sum, other) => sum + other.nanoseconds, 0);
    let shownCount = -1;
    this.refreshers.push(() => {
      const series = source.series(node.id);
      if (shownCount === (series?.count ?? 0)) return;
      shownCount = series?.count ?? 0;
      const rows: [string, string | Node][] = [];
      if (node.kind === "function") rows.push(["Runs", grouped(node.runs)]);
      if (node.kind !== "constant")
        rows.push([node.kind === "output" ? "Written" : "Values given", grouped(node.emissions)]);
      if (node.nanoseconds > 0) {
        rows.push(["Time", `${duration(node.nanoseconds * 1e-9)}, ${percent(node.nanoseconds, time)} of all`]);
        if (node.runs > 0) rows.push(["Per run", duration((node.nanoseconds * 1e-9) / node.runs)]);
      }
      if (series && series.count > 0) {
        rows.push([
          series.count === 1 ? "Only value" : "First value",
          this.momentOf(series.batchOf(0), cutTo(fullValue(series.value(0)), 80)),
        ]);
      }
      if (series && series.count > 1) {
        const last = series.count - 1;
        rows.push(["Last value", this.momentOf(series.batchOf(last), cutTo(fullValue(series.value(last)), 80))]);
        if (series.encoding === "float" && series.components.length <= 1) {
          const extremes = series.pyramid(0);
          extremes.look(0, series.count);
          if (extremes.least <= extremes.largest) rows.push(["Range", `${extremes.least} to ${extremes.largest}`]);
        }
      }
      list.replaceChildren(facts(rows));
    });
    return list;
  }

  private momentOf(batch: number, value: string): Node {
    const time = `at ${this.model.source.axis.timestamp(batch)} s`;
    return make(
      "span",
      {},
      `${value} `,
      button(time, { class: "v-link", title: "Move the cursor there", click: () => this.model.moveTo(batch) }),
    );
  }

  private ago(batch: number): string {
    const batches = this.model.batch - batch;
    return `${duration(this.model.ageOf(batch))} ago (${counted(batches, "batch", "batches")})`;
  }
  private later(batch: number): string {
    return `${duration(-this.model.ageOf(batch))} later`;
  }
}

function facts(rows: [string, string | Node][]): HTMLElement {
  return make("dl", {}, ...rows.flatMap(([name, value]) => [make("dt", {}, name), make("dd", {}, value)]));
}

function writeValue(output: HTMLElement, series: Series, index: number): void {
  setText(output, fullValue(series.value(index), series.components, "\n"));
  output.classList.toggle("v-text", series.encoding === "text");
}

/** A node's name, which selects it; with the id where others have that name. */
export function nodeLink(model: Model, node: number): HTMLButtonElement {
  const name = model.nameOf(node);
  return make(
    "button",
    {
      type: "button",
      class: "v-link",
      title: `${model.node(node)?.class ?? "node"} #${node}`,
      click: () => model.select(node),
    },
    name,
    model.isNameShared(name) && make("span", { class: "v-faint" }, ` #${node}`),
  );
}

/** Why a node is silent: each cause with the node at fault and what to do. */
export function causeList(
  model: Model,
  quiet: { node: number; causes: { node: number; text: string; remedy: string }[] },
): Node {
  const items = quiet.causes.map((cause) =>
    make(
      "li",
      {},
      cause.node !== quiet.node && nodeLink(model, cause.node),
      cause.node !== quiet.node ? `: ${cause.text}` : cause.text,
      cause.remedy !== "" && make("div", { class: "v-remedy" }, cause.remedy),
    ),
  );
  return make("ol", { class: "v-causes" }, ...items);
}
