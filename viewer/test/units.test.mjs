import assert from "node:assert/strict";
import { test } from "node:test";
import { gunzipSync } from "node:zlib";
import { fromBase64, seriesColumns, unzipped } from "../src/data/Decoding.ts";
import { Pyramid } from "../src/data/Pyramid.ts";
import { Series } from "../src/data/Series.ts";
import { TimeAxis } from "../src/data/TimeAxis.ts";
import { Model } from "../src/Model.ts";
import { sampled } from "../src/plots/Sampling.ts";
import { cutTo, duration, fullValue, grouped, percent, searchRank, shortValue, typeStyle } from "../src/Text.ts";
import { chunkText, columnsOf } from "./sample.mjs";

globalThis.requestAnimationFrame ??= () => {};
const table = (name, check, rows) =>
  test(name, () => rows.forEach(([input, expected]) => assert.deepEqual(check(input), expected, String(input))));

const values = {
  float: [1.5, -0, NaN, 1e300, 5e-324],
  vector: [
    [1, 2, 3],
    [4, 5, 6],
    [0.1, -0.2, 0.3],
    [7, 8, 9],
    [Infinity, 0, -1],
  ],
  integer: [0n, -1n, 9007199254740993n, -9223372036854775808n, 42n],
  boolean: [true, false, false, true, true],
  text: ["", "stance", "Größe – ✓", "[1, 2, 3]", "</script>"],
};
const decoded = (encoding, list, indices) => {
  const bytes = new Uint8Array(
    gunzipSync(fromBase64(chunkText([...(indices ? columnsOf.indices(indices) : []), ...columnsOf[encoding](list)]))),
  );
  const isVector = encoding === "vector";
  const kind = isVector ? "float" : encoding;
  return new Series(1, "", kind, [], seriesColumns(bytes, list.length, !indices, kind, isVector ? 3 : 1));
};

for (const [encoding, list] of Object.entries(values)) {
  test(`a chunk of ${encoding} comes back as it was written, dense or not`, () => {
    for (const indices of [undefined, [0, 3, 3, 7, 70000]]) {
      const series = decoded(encoding, list, indices);
      assert.deepEqual(
        list.map((_, i) => series.value(i)),
        list,
      );
      assert.deepEqual(
        list.map((_, i) => series.batchOf(i)),
        indices ?? [0, 1, 2, 3, 4],
      );
    }
  });
}

test("a chunk that was cut is refused", () => {
  assert.throws(() => seriesColumns(new Uint8Array(20), 3, true, "float", 1), /file was cut/);
});

test("BASE64 and gzip are undone as the browser does it", async () => {
  assert.equal(Buffer.from(await unzipped(fromBase64(chunkText([Buffer.from("a stitch")])))).toString(), "a stitch");
});

test("the value at a batch is the last one until then", () => {
  const series = decoded("float", [10, 20, 30, 40, 50], [2, 4, 4, 4, 9]);
  const cases = [
    [0, -1],
    [1, -1],
    [2, 0],
    [3, 0],
    [4, 3],
    [8, 3],
    [9, 4],
    [100, 4],
  ];
  for (const [batch, index] of cases) assert.equal(series.lastUntil(batch), index, `batch ${batch}`);
});

test("the last change is where a run of equal values began, also after more came", () => {
  for (const [encoding, list] of Object.entries({
    float: [NaN, NaN, 0, -0, 2, 2],
    integer: [1n, 1n, 2n, 3n, 4n, 4n],
    boolean: [true, true, false, true, false, false],
    text: ["a", "a", "b", "ba", "c", "c"],
    vector: [
      [1, 2, 3],
      [1, 2, 3],
      [1, 2, 4],
      [1, 2, 5],
      [0, 2, 5],
      [0, 2, 5],
    ],
  })) {
    const series = decoded(encoding, list);
    assert.deepEqual(
      list.map((_, i) => series.lastChange(i)),
      [0, 0, 2, 3, 4, 4],
      encoding,
    );
    series.append(6, list[5]);
    series.append(9, list[0]);
    assert.deepEqual(
      [6, 7].map((i) => series.lastChange(i)),
      [4, 7],
      encoding,
    );
    assert.deepEqual([series.value(7), series.batchOf(7), series.batchOf(6)], [list[0], 9, 6], encoding);
  }
});

test("the pyramid finds what looking at every value finds, while values are added", () => {
  const all = Float64Array.from({ length: 5000 }, (_, i) => (i % 97 === 0 ? NaN : Math.sin(i * i)));
  const pyramid = new Pyramid();
  for (const count of [7, 16, 300, 4999, 5000]) {
    pyramid.extend(all, count);
    for (const [from, to] of [
      [0, count],
      [3, Math.min(count, 40)],
      [count >> 1, count],
      [count - 1, count],
      [5, 5],
      [97, 98],
    ]) {
      if (to > count) continue;
      pyramid.look(from, to);
      const looked = [...all.subarray(from, to)].filter((value) => !Number.isNaN(value));
      assert.deepEqual(
        [pyramid.least, pyramid.largest],
        [Math.min(...looked), Math.max(...looked)],
        `${from} to ${to} of ${count}`,
      );
    }
  }
});

test("a live source adds batches and values, and a cursor at the end follows", () => {
  const series = new Series(1, "Float", "float", [], { count: 0 });
  const axis = new TimeAxis(new Float64Array(0));
  let notice;
  const node = {
    id: 1,
    kind: "stream",
    class: "Float",
    name: "x",
    type: "Float",
    runs: 0,
    emissions: 0,
    nanoseconds: 0,
    inputs: [],
  };
  const model = new Model({
    nodes: [node],
    quiet: [],
    findings: [],
    warnings: [],
    axis,
    series: () => series,
    hasSeries: () => true,
    onData: (listener) => (notice = listener),
  });
  const seen = (batches) => {
    for (let i = 0; i < batches; ++i) {
      axis.append(axis.count / 10);
      if (axis.count % 2 === 0) series.append(axis.count - 1, axis.count);
    }
    notice();
    const found = model.valueAtCursor(1);
    return [model.batch, found && series.value(found.index)];
  };
  assert.deepEqual(
    [seen(1), seen(2), seen(98)],
    [
      [0, undefined],
      [2, 2],
      [100, 100],
    ],
  );
  model.moveTo(7);
  assert.deepEqual([seen(50), model.ageOf(5).toFixed(3)], [[7, 8], "0.200"]);
});

table("batches are found by time", ([times, place]) => new TimeAxis(Float64Array.from(times)).batchUntil(place), [
  [[[0, 1, 1, 2], -5], 0],
  [[[0, 1, 1, 2], 0.99], 0],
  [[[0, 1, 1, 2], 1], 2],
  [[[0, 1, 1, 2], 99], 3],
  // Where times fall or are no numbers, places are batches.
  [[[5, 3, 4], 1], 1],
  [[[0, NaN, 4], 2], 2],
]);

test("a plot keeps the extremes of every stretch, and few points", () => {
  const count = 100_000;
  const list = Array.from({ length: count }, (_, i) => (i === 77_777 ? 1000 : i === 12_345 ? -1000 : Math.sin(i)));
  const axis = new TimeAxis(Float64Array.from(list, (_, i) => i / 100));
  const { places, numbers } = sampled(decoded("float", list), axis, { from: axis.begin, to: axis.end }, 500, 1);
  assert.ok(places.length <= 1010, `${places.length} points`);
  assert.ok(numbers[0].includes(1000) && numbers[0].includes(-1000));
  assert.ok(places.every((place, i) => i === 0 || place >= places[i - 1]));
  const near = sampled(decoded("float", list), axis, { from: 777.7, to: 777.8 }, 500, 1);
  assert.deepEqual([near.places[0], near.places.at(-1), near.places.length], [777.69, 777.81, 13]);
});

table("values at wires", shortValue, [
  [0.1 + 0.2, "0.3"],
  [1234567.8, "1234568"],
  [-1.5e-7, "-1.5e-7"],
  [1e21, "1e+21"],
  [NaN, "NaN"],
  [-Infinity, "−∞"],
  [-0.00012345678, "-0.000123457"],
  [true, "true"],
  [9007199254740993n, "9007199254740…"],
  ["two\nlines of text", "two lines of…"],
  [[1.23456, -2, -1e-9], "1.23, -2, 0"],
  [[0.709176, 0.0100968, 0.00036, -1], "0.71, 0.01, 0, -1"],
  [[0.000468, -0.000489, NaN], "0.000468, -0.000489, NaN"],
  [[1e-9, 2e-12, 0], "1e-9, 2e-12, 0"],
  [[0, 0, 0], "0, 0, 0"],
  [[12345.6, 1, 0], "12346, 1, 0"],
]);
table("values with all digits", (value) => fullValue(value, ["x", "y"]), [
  [0.1 + 0.2, "0.30000000000000004"],
  [[1.5, NaN], "x 1.5, y NaN"],
  [9007199254740993n, "9007199254740993"],
]);
table("durations", duration, [
  [0, "0 s"],
  [0.0000025, "2.5 µs"],
  [0.02, "20 ms"],
  [3.14159, "3.14 s"],
  [119.9, "120 s"],
  [754, "12 min 34 s"],
  [7199.7, "120 min 0 s"],
  [12000, "3 h 20 min"],
  [200000, "2.31 days"],
  [-0.5, "−500 ms"],
  [NaN, "?"],
]);
table("counts", grouped, [
  [0, "0"],
  [999, "999"],
  [1000, "1\u202f000"],
  [1234567, "1\u202f234\u202f567"],
]);
table("shares", ([part, whole]) => percent(part, whole), [
  [[1, 0], "–"],
  [[0, 5], "0 %"],
  [[1, 3], "33.3 %"],
  [[1, 100000], "< 0.1 %"],
]);
table("cut texts", ([text, length]) => cutTo(text, length), [
  [["four", 4], "four"],
  [["fives", 4], "fiv…"],
  [["👣👣👣", 2], "👣…"],
]);
table("styles of types", typeStyle, [
  ["Float", "float"],
  ["Vector array", "vector array"],
  ["Sample array", "sequence array"],
  ["", "any"],
  ["Thing", "any"],
]);
table("search", ([query, node]) => searchRank(query, { id: 12, name: "Steps taken", class: "Counter", ...node }), [
  [["", {}], undefined],
  [["steps taken", {}], 0],
  [["STEP", {}], 1],
  [["counter", {}], 2],
  [["taken", {}], 3],
  [["ount", {}], 4],
  [["12", {}], 5],
  [["#12", {}], 0],
  [["#1", {}], 3],
  [["#2", {}], undefined],
  [["walk", {}], undefined],
]);
