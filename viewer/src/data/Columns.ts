/** Columns of values that grow at the end; what is beyond their length is spare room. */

export type NumberColumn = Float64Array | Uint8Array;
type Growing = Float64Array | Uint8Array | Uint32Array | BigInt64Array;

/** The array with room for so many elements: itself, or a copy of at least twice its size. */
export function withRoom<A extends Growing>(array: A, count: number): A {
  if (count <= array.length) return array;
  const larger = new (array.constructor as new (length: number) => A)(Math.max(count, array.length * 2, 64));
  (larger as { set(from: A): void }).set(array);
  return larger;
}

/** Texts one after the other, made into strings only when they are shown. */
export class TextColumn {
  private starts: Uint32Array;
  private bytes: Uint8Array;

  /** Takes the lengths in bytes, and the UTF-8 of all texts. */
  constructor(lengths: Uint32Array = new Uint32Array(0), bytes: Uint8Array = new Uint8Array(0)) {
    this.starts = new Uint32Array(lengths.length + 1);
    for (let i = 0; i < lengths.length; ++i) this.starts[i + 1] = this.starts[i] + lengths[i];
    this.bytes = bytes;
  }

  at(index: number): string {
    return new TextDecoder().decode(this.bytes.subarray(this.starts[index], this.starts[index + 1]));
  }

  equal(a: number, b: number): boolean {
    const length = this.starts[a + 1] - this.starts[a];
    if (this.starts[b + 1] - this.starts[b] !== length) return false;
    for (let i = 0; i < length; ++i) {
      if (this.bytes[this.starts[a] + i] !== this.bytes[this.starts[b] + i]) return false;
    }
    return true;
  }

  /** Adds the text that stands at an index. */
  set(index: number, text: string): void {
    const added = new TextEncoder().encode(text);
    const end = this.starts[index] + added.length;
    this.starts = withRoom(this.starts, index + 2);
    this.bytes = withRoom(this.bytes, end);
    this.bytes.set(added, this.starts[index]);
    this.starts[index + 1] = end;
  }
}
