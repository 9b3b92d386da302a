/** The first of the indices from `begin` for which the condition holds, and `end` where it holds for none; from the
 * first on it must hold for all. */
export function firstWhere(begin: number, end: number, holds: (index: number) => boolean): number {
  while (begin < end) {
    const middle = (begin + end) >>> 1;
    if (holds(middle)) end = middle;
    else begin = middle + 1;
  }
  return begin;
}
