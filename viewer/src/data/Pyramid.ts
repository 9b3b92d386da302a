import type { NumberColumn } from "./Columns.ts";

const fanOut = 16;

interface Level {
  least: Float64Array;
  largest: Float64Array;
  count: number;
}

/** Least and largest values of blocks, of blocks of blocks and so on, so that those of any stretch of a million values
 * are found by looking at some tens. */
export class Pyramid {
  /** What the last look found: infinite and reversed where there was no number. */
  least = Infinity;
  largest = -Infinity;
  private column: NumberColumn = new Float64Array(0);
  private count = 0;
  private levels: Level[] = [];

  /** Takes in the values that were added to the column, which may have moved. */
  extend(column: NumberColumn, count: number): void {
    this.column = column;
    if (count === this.count) return;
    this.count = count;
    for (let depth = 0, below = count; below >= fanOut; ++depth) {
      const level = (this.levels[depth] ??= { least: new Float64Array(0), largest: new Float64Array(0), count: 0 });
      below = Math.floor(below / fanOut);
      this.fill(level, depth, below);
    }
  }

  /** Looks at the values from one index until before another. */
  look(from: number, to: number): void {
    this.least = Infinity;
    this.largest = -Infinity;
    for (let depth = 0; ; ++depth) {
      const above = this.levels[depth];
      if (!above || to - from < 2 * fanOut) return this.take(depth, from, to);
      const innerFrom = Math.ceil(from / fanOut);
      const innerTo = Math.floor(to / fanOut);
      this.take(depth, from, innerFrom * fanOut);
      this.take(depth, innerTo * fanOut, to);
      from = innerFrom;
      to = innerTo;
    }
  }

  private fill(level: Level, depth: number, count: number): void {
    const least = new Float64Array(count);
    const largest = new Float64Array(count);
    least.set(level.least.subarray(0, level.count));
    largest.set(level.largest.subarray(0, level.count));
    for (let i = level.count; i < count; ++i) {
      this.least = Infinity;
      this.largest = -Infinity;
      this.take(depth, i * fanOut, (i + 1) * fanOut);
      least[i] = this.least;
      largest[i] = this.largest;
    }
    level.least = least;
    level.largest = largest;
    level.count = count;
  }

  /** Depth 0 is the values themselves. Comparisons pass over what is not a number. */
  private take(depth: number, from: number, to: number): void {
    const least = depth === 0 ? this.column : this.levels[depth - 1].least;
    const largest = depth === 0 ? this.column : this.levels[depth - 1].largest;
    for (let i = from; i < to; ++i) {
      if (least[i] < this.least) this.least = least[i];
      if (largest[i] > this.largest) this.largest = largest[i];
    }
  }
}
