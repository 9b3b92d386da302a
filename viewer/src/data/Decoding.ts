import { TextColumn } from "./Columns.ts";
import type { Encoding, SeriesColumns } from "./Series.ts";

/** The bytes of a BASE64 text. */
export function fromBase64(text: string): Uint8Array<ArrayBuffer> {
  const direct = (Uint8Array as { fromBase64?: (text: string) => Uint8Array<ArrayBuffer> }).fromBase64;
  if (direct) return direct.call(Uint8Array, text);
  const decoded = atob(text);
  const bytes = new Uint8Array(decoded.length);
  for (let i = 0; i < bytes.length; ++i) bytes[i] = decoded.charCodeAt(i);
  return bytes;
}

export async function unzipped(bytes: Uint8Array<ArrayBuffer>): Promise<Uint8Array> {
  const stream = new Blob([bytes]).stream().pipeThrough(new DecompressionStream("gzip"));
  return new Uint8Array(await new Response(stream).arrayBuffer());
}

/** Reads columns one after the other: little-endian elements, all of whose first bytes stand first, then all second. */
export class ColumnReader {
  private position = 0;

  constructor(private readonly bytes: Uint8Array) {}

  floats(count: number): Float64Array {
    return new Float64Array(this.unshuffled(count, 8));
  }
  indices(count: number): Uint32Array {
    return new Uint32Array(this.unshuffled(count, 4));
  }
  integers(count: number): BigInt64Array {
    return new BigInt64Array(this.unshuffled(count, 8));
  }
  raw(count: number): Uint8Array {
    this.position += count;
    if (this.position > this.bytes.length) throw new Error("values are missing: the file was cut");
    return this.bytes.subarray(this.position - count, this.position);
  }
  rest(): Uint8Array {
    return this.raw(this.bytes.length - this.position);
  }

  private unshuffled(count: number, size: number): ArrayBuffer {
    const shuffled = this.raw(count * size);
    const plain = new Uint8Array(count * size);
    for (let byte = 0; byte < size; ++byte) {
      const begin = byte * count;
      for (let i = 0, at = byte; i < count; ++i, at += size) plain[at] = shuffled[begin + i];
    }
    return plain.buffer;
  }
}

/** The columns of a series, as its chunk has them. */
export function seriesColumns(
  bytes: Uint8Array,
  count: number,
  isDense: boolean,
  encoding: Encoding,
  components: number,
): SeriesColumns {
  const reader = new ColumnReader(bytes);
  const batches = isDense ? undefined : reader.indices(count);
  switch (encoding) {
    case "float":
      return { count, batches, numbers: Array.from({ length: components }, () => reader.floats(count)) };
    case "integer": {
      const integers = reader.integers(count);
      return { count, batches, integers, numbers: [Float64Array.from(integers, Number)] };
    }
    case "boolean":
      return { count, batches, numbers: [reader.raw(count).slice()] };
    case "text": {
      const lengths = reader.indices(count);
      return { count, batches, texts: new TextColumn(lengths, reader.rest()) };
    }
  }
}
