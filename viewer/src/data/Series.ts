import { type NumberColumn, TextColumn, withRoom } from "./Columns.ts";
import { Pyramid } from "./Pyramid.ts";
import { firstWhere } from "./Search.ts";

export type Encoding = "float" | "integer" | "boolean" | "text";
export type ShownValue = number | bigint | boolean | string | number[];

/** What a series begins with. Columns are owned by the series from then on. */
export interface SeriesColumns {
  count: number;
  /** The batch of each value; without it, value i is of batch i. */
  batches?: Uint32Array | undefined;
  numbers?: NumberColumn[];
  /** Integers as they are; `numbers` has them as floats, for plots. */
  integers?: BigInt64Array;
  texts?: TextColumn;
}

/** All values that one node gave, in order. A batch may stand several times. */
export class Series {
  count: number;
  private batches: Uint32Array | undefined;
  private columns: NumberColumn[];
  private integers: BigInt64Array | undefined;
  private texts: TextColumn;
  private pyramids: Pyramid[] = [];
  /** The indices of values that differ from the one before, as far as they were compared. */
  private changes = new Uint32Array(0);
  private changeCount = 0;
  private compared = 0;

  constructor(
    readonly node: number,
    readonly type: string,
    readonly encoding: Encoding,
    readonly components: readonly string[],
    columns: SeriesColumns,
  ) {
    this.count = columns.count;
    this.batches = columns.batches;
    this.columns = columns.numbers ?? [];
    this.integers = columns.integers;
    this.texts = columns.texts ?? new TextColumn();
  }

  batchOf(index: number): number {
    return this.batches ? this.batches[index] : index;
  }

  /** The index of the first value of this batch or a later one; count where there is none. */
  firstFrom(batch: number): number {
    const { batches } = this;
    if (!batches) return Math.max(0, Math.min(batch, this.count));
    return firstWhere(0, this.count, (i) => batches[i] >= batch);
  }

  /** The index of the last value until this batch, itself included; -1 where there is none. */
  lastUntil(batch: number): number {
    return this.firstFrom(batch + 1) - 1;
  }

  /** Numbers of a component as columns to plot; texts have none. */
  numbers(component: number): NumberColumn | undefined {
    return this.columns[component];
  }

  value(index: number): ShownValue {
    switch (this.encoding) {
      case "integer":
        return this.integers![index];
      case "boolean":
        return this.columns[0][index] !== 0;
      case "text":
        return this.texts.at(index);
      case "float":
        return this.columns.length === 1 ? this.columns[0][index] : this.columns.map((column) => column[index]);
    }
  }

  pyramid(component: number): Pyramid {
    const pyramid = (this.pyramids[component] ??= new Pyramid());
    pyramid.extend(this.columns[component], this.count);
    return pyramid;
  }

  /** The index where the run of equal values began that this one belongs to. */
  lastChange(index: number): number {
    this.compare();
    const { changes } = this;
    return changes[firstWhere(0, this.changeCount, (i) => changes[i] > index) - 1];
  }

  append(batch: number, value: ShownValue): void {
    const index = this.count++;
    if (!this.batches && batch !== index) {
      this.batches = Uint32Array.from({ length: index }, (_, i) => i);
    }
    if (this.batches) {
      this.batches = withRoom(this.batches, this.count);
      this.batches[index] = batch;
    }
    if (this.encoding === "text") return this.texts.set(index, String(value));
    if (this.encoding === "integer") {
      this.integers = withRoom(this.integers ?? new BigInt64Array(0), this.count);
      this.integers[index] = BigInt(value as bigint);
    }
    const parts = Array.isArray(value) ? value : [Number(value)];
    this.columns = parts.map((part, i) => {
      const column = withRoom<NumberColumn>(this.columns[i] ?? new Float64Array(0), this.count);
      column[index] = part;
      return column;
    });
  }

  private compare(): void {
    for (let i = this.compared; i < this.count; ++i) {
      if (i > 0 && this.isAsBefore(i)) continue;
      this.changes = withRoom(this.changes, this.changeCount + 1);
      this.changes[this.changeCount++] = i;
    }
    this.compared = this.count;
  }

  private isAsBefore(index: number): boolean {
    if (this.encoding === "text") return this.texts.equal(index - 1, index);
    if (this.integers) return this.integers[index] === this.integers[index - 1];
    return this.columns.every((column) => Object.is(column[index], column[index - 1]));
  }
}
