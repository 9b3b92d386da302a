import type { Series } from "../data/Series.ts";
import type { TimeAxis } from "../data/TimeAxis.ts";

/** Points to draw: places, and for each component a number for every place, or null where there is none. */
export interface Points {
  places: number[];
  numbers: (number | null)[][];
  /** Whether the last point is no value, but where one still holds. */
  isHeld: boolean;
}

/** The indices of the values to draw for a stretch: those within it, and one more on either side. */
export function visible(series: Series, axis: TimeAxis, from: number, to: number): { begin: number; end: number } {
  const begin = series.firstFrom(axis.firstFrom(from)) - 1;
  const end = series.firstFrom(axis.firstAfter(to)) + 1;
  return { begin: Math.max(0, begin), end: Math.min(series.count, end) };
}

/** Whether a series is drawn in steps. A value holds until the next one; where those follow each other closely, lines
 * are easier to read and hide nothing. */
export function isStepped(series: Series, axis: TimeAxis): boolean {
  return series.encoding === "integer" || series.count * 2 < axis.count;
}

/** Calls draw(begin, end) with the indices of the values of each column of pixels that has any. */
export function forEachColumn(
  series: Series,
  axis: TimeAxis,
  stretch: { from: number; to: number },
  pixels: number,
  draw: (begin: number, end: number) => void,
): void {
  const { begin, end } = visible(series, axis, stretch.from, stretch.to);
  if (end - begin <= pixels * 2) {
    for (let i = begin; i < end; ++i) draw(i, i + 1);
    return;
  }
  let at = begin;
  for (let pixel = 0; pixel <= pixels && at < end; ++pixel) {
    const edge = stretch.from + ((stretch.to - stretch.from) * (pixel + 1)) / pixels;
    const next = pixel === pixels ? end : Math.min(end, series.firstFrom(axis.firstAfter(edge)));
    if (next > at) draw(at, next);
    at = next;
  }
}

/** A series thinned out to the least and the largest value of each column of pixels. */
export function sampled(
  series: Series,
  axis: TimeAxis,
  stretch: { from: number; to: number },
  pixels: number,
  components: number,
): Points {
  const places: number[] = [];
  const numbers: (number | null)[][] = Array.from({ length: components }, () => []);
  const place = (index: number) => axis.at(series.batchOf(index));
  const columns = numbers.map((_, component) => series.numbers(component)!);
  const pyramids = numbers.map((_, component) => series.pyramid(component));
  const add = (at: number, number: (component: number) => number) => {
    places.push(at);
    for (let i = 0; i < components; ++i) {
      const found = number(i);
      numbers[i].push(Number.isFinite(found) ? found : null);
    }
  };
  forEachColumn(series, axis, stretch, pixels, (begin, end) => {
    if (end - begin <= 2) {
      for (let i = begin; i < end; ++i) add(place(i), (component) => columns[component][i]);
      return;
    }
    for (const pyramid of pyramids) pyramid.look(begin, end);
    // The extreme that is nearer to where the line comes from is drawn first.
    const risesFirst = pyramids.map(({ least, largest }, i) => {
      const before = columns[i][Math.max(0, begin - 1)];
      return Math.abs(before - least) <= Math.abs(before - largest);
    });
    add(place(begin), (i) => (risesFirst[i] ? pyramids[i].least : pyramids[i].largest));
    add(place(end - 1), (i) => (risesFirst[i] ? pyramids[i].largest : pyramids[i].least));
  });
  const last = series.count - 1;
  const until = Math.min(stretch.to, axis.end);
  const isHeld = isStepped(series, axis) && last >= 0 && place(last) < until;
  if (isHeld) add(until, (i) => columns[i][last]);
  return { places, numbers, isHeld };
}
