import type { DataSource, Finding, NodeInfo, QuietNode } from "./DataSource.ts";
import { ColumnReader, fromBase64, seriesColumns, unzipped } from "./Decoding.ts";
import { type Encoding, Series, type SeriesColumns } from "./Series.ts";
import { TimeAxis } from "./TimeAxis.ts";

interface SeriesEntry {
  node: number;
  type: string;
  count: number;
  chunk: string;
  dense?: boolean;
  encoding: Encoding;
  components: number;
  names?: string[];
}

interface ReportText {
  version: number;
  tool: string;
  diagram: string;
  recording: string;
  batches: number;
  stopped?: string;
  nodes: NodeInfo[];
  quiet: QuietNode[];
  findings: Finding[];
  warnings: string[];
  times: string;
  series: SeriesEntry[];
}

/** For so many milliseconds at a time the page may stand still while values are read. */
const slice = 12;
/** Listeners hear of new values once in so many, for drawing takes longer than reading. */
const noticeInterval = 150;

/** What a report's page carries in its script elements. */
export class Report implements DataSource {
  readonly tool: string;
  readonly diagram: string;
  readonly recording: string;
  readonly stopped?: string;
  readonly nodes: NodeInfo[];
  readonly quiet: QuietNode[];
  readonly findings: Finding[];
  readonly warnings: string[];
  readonly progress: { done: number; of: number };
  private readonly entries: Map<number, SeriesEntry>;
  private readonly arrived = new Map<number, Series>();
  private readonly listeners: (() => void)[] = [];

  private constructor(
    private readonly page: Document,
    text: ReportText,
    readonly axis: TimeAxis,
  ) {
    this.tool = text.tool;
    this.diagram = text.diagram;
    this.recording = text.recording;
    if (text.stopped !== undefined) this.stopped = text.stopped;
    this.nodes = text.nodes;
    this.quiet = text.quiet;
    this.findings = text.findings;
    this.warnings = text.warnings;
    this.entries = new Map(text.series.map((entry) => [entry.node, entry]));
    this.progress = { done: 0, of: text.series.length };
  }

  /** Reads all but the values; load() brings those. */
  static async open(page: Document): Promise<Report> {
    const text = JSON.parse(elementText(page, "kelvane-report")) as ReportText;
    if (text.version !== 1) throw new Error(`the report is of version ${text.version}, and this page reads version 1`);
    const times = text.batches > 0 ? await chunk(page, text.times) : new Uint8Array(0);
    return new Report(page, text, new TimeAxis(new ColumnReader(times).floats(text.batches)));
  }

  /** Brings the values of all nodes, beginning with these, and lets the page breathe in between. */
  async load(first: readonly number[]): Promise<void> {
    const order = new Set([...first, ...this.entries.keys()]);
    const entries = [...order].map((node) => this.entries.get(node)).filter((entry) => entry !== undefined);
    // Nodes that gave the same values share a chunk.
    const decoded = new Map<string, Promise<SeriesColumns>>();
    let next = 0;
    let begun = performance.now();
    let noticed = 0;
    const loadSome = async () => {
      while (next < entries.length) {
        const entry = entries[next++];
        const columns = decoded.get(entry.chunk) ?? this.columnsOf(entry);
        decoded.set(entry.chunk, columns);
        const series = new Series(entry.node, entry.type, entry.encoding, entry.names ?? [], await columns);
        this.arrived.set(entry.node, series);
        ++this.progress.done;
        if (performance.now() - noticed > noticeInterval || this.progress.done === this.progress.of) {
          for (const listener of this.listeners) listener();
          noticed = performance.now();
        }
        if (performance.now() - begun < slice) continue;
        await new Promise((resolve) => setTimeout(resolve));
        begun = performance.now();
      }
    };
    // The browser unzips beside the page.
    await Promise.all(Array.from({ length: 6 }, loadSome));
  }

  private async columnsOf(entry: SeriesEntry): Promise<SeriesColumns> {
    const bytes = await chunk(this.page, entry.chunk);
    return seriesColumns(bytes, entry.count, entry.dense === true, entry.encoding, entry.components);
  }

  hasSeries(node: number): boolean {
    return this.entries.has(node);
  }
  series(node: number): Series | undefined {
    return this.arrived.get(node);
  }
  onData(listener: () => void): void {
    this.listeners.push(listener);
  }
}

function elementText(page: Document, id: string): string {
  const element = page.getElementById(id);
  if (!element) throw new Error(`the page has no element "${id}": the file was cut or changed`);
  return element.textContent;
}

/** The bytes of a chunk, whose text the page then no longer holds. */
async function chunk(page: Document, id: string): Promise<Uint8Array> {
  const text = elementText(page, id).trim();
  page.getElementById(id)!.textContent = "";
  return unzipped(fromBase64(text));
}
