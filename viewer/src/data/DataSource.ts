import type { Series } from "./Series.ts";
import type { TimeAxis } from "./TimeAxis.ts";

/** An input of a node, and the nodes that feed it. */
export interface InputInfo {
  name: string;
  type: string;
  from: number[];
}

export type NodeKind = "function" | "constant" | "stream" | "output";

export interface NodeInfo {
  id: number;
  kind: NodeKind;
  class: string;
  /** The label, or else the class. */
  name: string;
  /** The type of what it gives; of an output node, of what it takes. */
  type: string;
  /** The value of a constant, as text. */
  constant?: string;
  runs: number;
  emissions: number;
  nanoseconds: number;
  inputs: InputInfo[];
}

/** Why a node is silent: the node at fault, which may be another one, and what to do. */
export interface Cause {
  node: number;
  code: string;
  text: string;
  remedy: string;
}

/** A node that gave nothing, or less often than its inputs would have let it. */
export interface QuietNode {
  node: number;
  causes: Cause[];
}

export interface Finding {
  severity: "error" | "warning" | "note";
  code: string;
  node?: number;
  place: string;
  text: string;
  hint?: string;
}

/** What the viewer shows. The report's page has all of it from the start; a live one adds batches and values. */
export interface DataSource {
  readonly tool: string;
  readonly diagram: string;
  readonly recording: string;
  /** Why evaluation ended early, if it did. */
  readonly stopped?: string;
  readonly nodes: readonly NodeInfo[];
  readonly quiet: readonly QuietNode[];
  readonly findings: readonly Finding[];
  readonly warnings: readonly string[];
  /** The batches' timestamps. */
  readonly axis: TimeAxis;
  /** How many of the series have arrived. */
  readonly progress: { done: number; of: number };

  /** Whether the node has values at all, though they may not have arrived yet. */
  hasSeries(node: number): boolean;
  /** The values that have arrived of a node. */
  series(node: number): Series | undefined;
  /** Calls the listener after batches or values were added; not synchronously. */
  onData(listener: () => void): void;
}
