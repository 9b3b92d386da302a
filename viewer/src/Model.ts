import type { DataSource, NodeInfo } from "./data/DataSource.ts";
import type { Series } from "./data/Series.ts";

export type Heat = "none" | "runs" | "time";

interface Topics {
  /** The cursor is at another batch. */
  cursor: void;
  /** Another node is selected, or none. */
  selection: void;
  /** The plots show another stretch of time. */
  range: void;
  /** Which nodes are plotted. */
  plots: void;
  heat: void;
  theme: void;
  /** Batches or values were added. */
  data: void;
}
export type Topic = keyof Topics;

/** What the parts of the page share: the data, and what the reader looks at. Listeners are called once in a frame,
 * however often a topic changed. */
export class Model {
  batch: number;
  selected: number | undefined;
  heat: Heat = "none";
  plotted: number[] = [];
  /** The stretch of time that plots show; all of it where undefined. */
  range: { from: number; to: number } | undefined;
  /** How many batches there were when data came last. */
  private seen: number;
  private readonly nodesById: Map<number, NodeInfo>;
  private readonly followers = new Map<number, { node: NodeInfo; input: number }[]>();
  private readonly namesShared = new Set<string>();
  private readonly listeners = new Map<Topic, (() => void)[]>();
  private readonly changed = new Set<Topic>();

  constructor(readonly source: DataSource) {
    this.seen = source.axis.count;
    this.batch = Math.max(0, this.seen - 1);
    const names = new Set<string>();
    for (const { name } of source.nodes) (names.has(name) ? this.namesShared : names).add(name);
    this.nodesById = new Map(source.nodes.map((node) => [node.id, node]));
    for (const node of source.nodes) {
      node.inputs.forEach((slot, input) => {
        for (const from of slot.from) {
          const followers = this.followers.get(from) ?? [];
          followers.push({ node, input });
          this.followers.set(from, followers);
        }
      });
    }
    source.onData(() => {
      // A cursor at the end stays there while batches come.
      if (this.batch >= this.seen - 1) this.moveTo(source.axis.count - 1);
      this.seen = source.axis.count;
      this.change("data");
    });
  }

  node(id: number): NodeInfo | undefined {
    return this.nodesById.get(id);
  }
  nameOf(id: number): string {
    return this.nodesById.get(id)?.name ?? `#${id}`;
  }
  isNameShared(name: string): boolean {
    return this.namesShared.has(name);
  }
  /** Whether a node gave nothing in the whole recording. */
  isSilent(id: number): boolean {
    return (this.nodesById.get(id)?.emissions ?? 0) === 0;
  }
  /** The inputs that a node feeds. */
  followersOf(id: number): readonly { node: NodeInfo; input: number }[] {
    return this.followers.get(id) ?? [];
  }

  on(topic: Topic, listener: () => void): void {
    const listeners = this.listeners.get(topic) ?? [];
    listeners.push(listener);
    this.listeners.set(topic, listeners);
  }

  change(topic: Topic): void {
    if (this.changed.size === 0) requestAnimationFrame(() => this.publish());
    this.changed.add(topic);
  }

  moveTo(batch: number): void {
    const within = Math.max(0, Math.min(this.source.axis.count - 1, Math.round(batch)));
    if (within === this.batch || Number.isNaN(within)) return;
    this.batch = within;
    this.change("cursor");
  }

  select(node: number | undefined): void {
    if (node === this.selected) return;
    this.selected = node;
    this.change("selection");
  }

  setHeat(heat: Heat): void {
    this.heat = heat;
    this.change("heat");
  }

  /** Plots a node above all others. */
  plot(node: number): void {
    if (!this.source.hasSeries(node)) return;
    this.plotted = [node, ...this.plotted.filter((other) => other !== node)];
    this.change("plots");
  }
  unplot(node: number): void {
    this.plotted = this.plotted.filter((other) => other !== node);
    this.change("plots");
  }

  /** Shows that stretch in all plots, as far as there are batches. */
  show(from: number, to: number): void {
    const { begin, end } = this.source.axis;
    const least = Math.max((end - begin) * 1e-9, 1e-9);
    this.range = { from: Math.max(begin, from), to: Math.min(end, to) };
    if (this.range.to - this.range.from < least) this.range = undefined;
    if (from <= begin && to >= end) this.range = undefined;
    this.change("range");
  }
  showAll(): void {
    this.range = undefined;
    this.change("range");
  }
  get shown(): { from: number; to: number } {
    const { begin, end } = this.source.axis;
    return this.range ?? { from: begin, to: end };
  }

  /** The value that a node carries at the cursor, as an index of its series. */
  valueAtCursor(node: number): { series: Series; index: number } | undefined {
    const series = this.source.series(node);
    const index = series ? series.lastUntil(this.batch) : -1;
    return series && index >= 0 ? { series, index } : undefined;
  }

  /** How long before the cursor a batch was. */
  ageOf(batch: number): number {
    const { axis } = this.source;
    return axis.timestamp(this.batch) - axis.timestamp(batch);
  }

  private publish(): void {
    const topics = [...this.changed];
    this.changed.clear();
    for (const topic of topics) {
      for (const listener of this.listeners.get(topic) ?? []) listener();
    }
  }
}
