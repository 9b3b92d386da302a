import { withRoom } from "./Columns.ts";
import { firstWhere } from "./Search.ts";

/** Where the batches stand: at their timestamps, in seconds. Where those fall or are no numbers, nothing can be found
 * by them, and the batches stand at their indices instead. */
export class TimeAxis {
  count: number;
  rises = true;

  constructor(private times: Float64Array) {
    this.count = times.length;
    for (let i = 0; i < this.count && this.rises; ++i) this.rises = this.isInOrder(i);
  }

  append(timestamp: number): void {
    this.times = withRoom(this.times, this.count + 1);
    this.times[this.count++] = timestamp;
    this.rises &&= this.isInOrder(this.count - 1);
  }

  timestamp(batch: number): number {
    return this.times[batch];
  }

  at(batch: number): number {
    return this.rises ? this.times[batch] : batch;
  }

  /** What plots count from: zero, or the beginning where that is far away, such as seconds since 1970. */
  get origin(): number {
    return Math.abs(this.begin) > 1e5 && Math.abs(this.begin) > 20 * (this.end - this.begin) ? this.begin : 0;
  }

  get begin(): number {
    return this.count > 0 ? this.at(0) : 0;
  }
  get end(): number {
    return this.count > 0 ? this.at(this.count - 1) : 0;
  }

  /** The last batch until a place, itself included; the first one for places before it. */
  batchUntil(place: number): number {
    return Math.max(0, this.firstAfter(place) - 1);
  }
  firstFrom(place: number): number {
    return firstWhere(0, this.count, (i) => this.at(i) >= place);
  }
  firstAfter(place: number): number {
    return firstWhere(0, this.count, (i) => this.at(i) > place);
  }

  private isInOrder(batch: number): boolean {
    return Number.isFinite(this.times[batch]) && (batch === 0 || this.times[batch - 1] <= this.times[batch]);
  }
}
