// A report of made-up data, as `kelvane report` would write it: node test/sample.mjs OUTPUT [BATCHES [WIDTH]], where
// WIDTH is how often the chain of functions stands side by side.
import { readFileSync, writeFileSync } from "node:fs";
import { gzipSync } from "node:zlib";

// Names, light and dark colours.
const colours = `surface ffffff 14171c,box f7f8fa 20252d,frame eef1f5 1a1e25,line aeb6c2 4b5563,text 1b2430 e7ebf1,
  faint 5c6675 9aa5b5,grid e3e7ec 2b313a,accent 0b62d6 6cb0ff,error c01c28 ff7b7b,warning 8f5b00 f0b84a,
  float 1f5fd0 74aaff,integer 00796b 3fd0bd,boolean b3206a ff86b8,vector b04a00 ffa45c,orientation 6d3fc4 bd9cff,
  sequence 3d7a1a 93d168,string 7a6400 e2c54a,any 5c6675 9aa5b5`.split(/,\s*/).map((row) => row.split(" "));
const theme = (column) => colours.map((row) => `--${row[0]}:#${row[column]}`).join(";");
const styles = ["float", "integer", "boolean", "vector", "orientation", "sequence", "string", "any"];
const styleOf = (type) => (styles.includes(type.toLowerCase()) ? type.toLowerCase() : "any");

/** The bytes of elements of one size: all first ones, then all second ones. */
function shuffled(array) {
  const bytes = new Uint8Array(array.buffer, array.byteOffset, array.byteLength);
  const size = array.BYTES_PER_ELEMENT;
  const result = new Uint8Array(bytes.length);
  for (let byte = 0; byte < size; ++byte)
    for (let i = 0; i < array.length; ++i) result[byte * array.length + i] = bytes[i * size + byte];
  return result;
}
export const chunkText = (columns) => gzipSync(Buffer.concat(columns), { level: 1 }).toString("base64");

export const columnsOf = {
  indices: (values) => [shuffled(Uint32Array.from(values))],
  float: (values) => [shuffled(Float64Array.from(values))],
  vector: (values) => [0, 1, 2].map((i) => shuffled(Float64Array.from(values, (value) => value[i]))),
  integer: (values) => [shuffled(BigInt64Array.from(values, BigInt))],
  boolean: (values) => [Uint8Array.from(values, Number)],
  text: (values) => {
    const texts = values.map((value) => Buffer.from(value));
    return [shuffled(Uint32Array.from(texts, (text) => text.length)), ...texts];
  },
};

export function sample({ batches = 2000, width = 1, begin = 0 } = {}) {
  const nodes = [];
  const series = [];
  const times = Float64Array.from({ length: batches }, (_, i) => begin + i / 100);
  const add = (kind, className, name, type, inputs, values) => {
    const id = nodes.length + 1;
    const count = values ? values.list.length : 0;
    nodes.push({
      id, kind, class: className, name, type, inputs,
      ...(kind === "constant" ? { constant: values.constant } : {}),
      runs: kind === "constant" ? 0 : values?.runs ?? count,
      emissions: kind === "constant" ? 0 : count,
      nanoseconds: kind === "function" ? count * (40 + 17 * id) : 0,
    });
    if (kind !== "constant" && count > 0) series.push({ node: id, type, ...values });
    return id;
  };
  const every = (encoding, value) => ({ encoding, list: Array.from({ length: batches }, (_, i) => value(i)), dense: true });
  const some = (encoding, step, value) => {
    const indices = Array.from({ length: Math.floor(batches / step) }, (_, i) => (i + 1) * step - 1);
    return { encoding, list: indices.map(value), indices };
  };
  const slot = (name, type, ...from) => ({ name, type, from });
  const wave = (i) => Math.sin(i / 60) * 20 + Math.sin(i * 1.7) * (i % 400 < 80 ? 9 : 1);

  const stream = (name, type, values) => add("stream", "InputStream", name, type, [], values);
  const calls = (className, name, type, inputs, values) => add("function", className, name, type, inputs, values);
  const output = (name, type, from, values) => add("output", "VariableOutput", name, type, [slot("value", type, from)], values);
  const sway = (i) => Math.sin(i / 60) * 20;
  const norms = every("float", (i) => 9.8 + Math.sin(i / 9) * 0.2);
  const highs = every("boolean", (i) => sway(i) > 12.5);
  const counts = some("integer", 380, (_, i) => i + 1);
  const phases = some("text", 250, (_, i) => ["stance", "swing", "flight – <high>"][i % 3]);

  const force = stream("force", "Float", every("float", wave));
  const turn = (i) => [Math.sin(i / 30), Math.cos(i / 45), 9.81 + Math.sin(i / 9) * 0.3];
  const motion = stream("acceleration", "Vector", every("vector", turn));
  const limit = add("constant", "Float", "limit", "Float", [], { constant: "12.5", list: [] });
  const none = stream("magnetometer", "Vector");
  for (let at = 0; at < width; ++at) {
    const tail = width > 1 ? ` ${at + 1}` : "";
    const averaged = [slot("value", "Float", force), slot("length", "Integer")];
    const smooth = calls("Moving averager", `smoothed${tail}`, "Float", averaged, every("float", (i) => sway(i) + at));
    const compared = [slot("a", "Float", smooth), slot("b", "Float", limit)];
    const above = calls("Larger", `above the limit${tail}`, "Boolean", compared, highs);
    const counted = calls("Counter", `steps${tail}`, "Integer", [slot("count", "Boolean", above)], counts);
    if (at > 0) continue;
    const norm = calls("Norm", "Norm", "Float", [slot("vector", "Vector", motion)], norms);
    const phase = calls("Name", "phase", "String", [slot("of", "Boolean", above)], phases);
    const felt = [slot("field", "Vector", none), slot("motion", "Vector", motion)];
    const heading = calls("Heading", "heading", "Float", felt);
    output("step count", "Integer", counted, counts);
    output("strength", "Float", norm, norms);
    output("is above", "Boolean", above, highs);
    output("phase now", "String", phase, phases);
    output("north", "Float", heading);
  }
  const cause = (node, code, text, remedy) => ({ node, code, text, remedy });
  const absent = cause(none, "stream-absent", 'the recording has no stream "magnetometer"', "record it, or rename the stream");
  const once = cause(7, "silent", "it counts only what begins", "");
  const quiet = nodes
    .filter((node) => ["heading", "north", "steps"].includes(node.name))
    .map((node) => ({ node: node.id, causes: [node.name === "steps" ? once : absent] }));
  const findings = [
    {
      severity: "warning", code: "unconnected-input", node: 5, place: "sample.kelvane:4:1",
      text: 'input "length" of "smoothed" is not connected', hint: "connect a constant",
    },
  ];
  return { nodes, series, times, quiet, findings };
}

function columnsOfDepth(nodes) {
  const depths = new Map();
  for (const node of nodes)
    depths.set(node.id, Math.max(0, ...node.inputs.flatMap((input) => input.from.map((from) => depths.get(from) + 1))));
  return depths;
}

/** The picture, as `kelvane draw` makes it for the viewer. */
export function picture(nodes) {
  const depths = columnsOfDepth(nodes);
  const filled = [];
  const places = new Map();
  for (const node of nodes) {
    const column = depths.get(node.id);
    filled[column] ??= 0;
    places.set(node.id, { x: 20 + column * 260, y: 20 + filled[column]++ * 96 });
  }
  const port = (node) => ({ x: places.get(node).x + 150, y: places.get(node).y + 22 });
  const inPort = (node, i) => ({ x: places.get(node).x, y: places.get(node).y + 22 + i * 18 });
  const escaped = (text) => text.replace(/&/g, "&amp;").replace(/</g, "&lt;");
  const wires = nodes.flatMap((node) =>
    node.inputs.flatMap((input, i) =>
      input.from.map((from) => {
        const a = port(from);
        const b = inPort(node.id, i);
        const ends = `data-from="${from}" data-to="${node.id}" data-input="${i}"`;
        const path = `${ends} d="M${a.x} ${a.y}C${a.x + 60} ${a.y} ${b.x - 60} ${b.y} ${b.x} ${b.y}"`;
        return `<path class="wire ${styleOf(nodes[from - 1].type)}" ${path}/><path class="hit" ${path}/>`;
      }),
    ),
  );
  const boxes = nodes.map((node) => {
    const { x, y } = places.get(node.id);
    const style = styleOf(node.type);
    const circle = (classes, cx, cy, more = "") => `<circle class="port ${classes}" ${more} cx="${cx}" cy="${cy}" r="4"/>`;
    const text = (name, dy, words) => `<text class="${name}" x="${x + 12}" y="${y + dy}">${escaped(words)}</text>`;
    const inputs = node.inputs.map((input, i) => circle(`in ${styleOf(input.type)}`, x, y + 22 + i * 18, `data-input="${i}"`));
    if (node.kind !== "output") inputs.push(circle(`out ${style}`, x + 150, y + 22));
    const body = `<rect class="body" x="${x}" y="${y}" width="150" height="58" rx="6"/>`;
    const value = `<text class="value ${style}" data-node="${node.id}" x="${x + 158}" y="${y + 16}"></text>`;
    const group = `<g class="node ${node.kind}" data-node="${node.id}">`;
    return group + body + text("label", 26, node.name) + text("class", 44, node.class) + inputs.join("") + "</g>" + value;
  });
  const box = `0 0 ${depths.size ? filled.length * 260 + 40 : 100} ${Math.max(...filled) * 96 + 40}`;
  const css = `.kelvane{font-family:Helvetica,Arial,"Liberation Sans",sans-serif;${theme(1)}}
@media (prefers-color-scheme:dark){.kelvane{${theme(2)}}}
[data-theme=light] .kelvane{${theme(1)}}
[data-theme=dark] .kelvane{${theme(2)}}
${styles.map((style) => `.kelvane .${style}{--type:var(--${style})}`).join("\n")}
.diagram text{font-size:12px;fill:var(--text)}.diagram .class{fill:var(--faint);font-size:10px}
.diagram text.value{fill:var(--type);font-size:10px}.diagram .body{fill:var(--box);stroke:var(--line)}
.diagram .port{fill:var(--type)}.diagram .wire{fill:none;stroke:var(--type);stroke-width:1.6}
.diagram .hit{fill:none;stroke:transparent;stroke-width:12}`;
  const head = `<svg class="kelvane diagram" xmlns="http://www.w3.org/2000/svg" viewBox="${box}" role="img" aria-label="Sample">`;
  return `${head}<style>${css}</style>${wires.join("")}${boxes.join("")}</svg>`;
}

export function reportPage(page, { nodes, series, times, quiet = [], findings = [], warnings = [], stopped }) {
  const chunk = (id, text) => `<script type="application/octet-stream" id="${id}">${text}</script>`;
  // Nodes with the same values share a chunk.
  const texts = series.map(({ encoding, list, indices }) =>
    chunkText([...(indices ? columnsOf.indices(indices) : []), ...columnsOf[encoding](list)]),
  );
  const chunks = [...new Set(texts)];
  const entries = series.map(({ node, type, encoding, list, dense }, i) => ({
    node, type, count: list.length, chunk: `kelvane-values-${chunks.indexOf(texts[i])}`,
    ...(dense ? { dense: true } : {}),
    encoding: encoding === "vector" ? "float" : encoding,
    components: encoding === "vector" ? 3 : 1,
    ...(encoding === "vector" ? { names: ["x", "y", "z"] } : {}),
  }));
  const report = {
    version: 1, tool: "kelvane 0.1.0", diagram: "sample.kelvane", recording: "sample.jsonl", batches: times.length,
    begin: times.length ? times[0] : null, end: times.length ? times.at(-1) : null,
    ...(stopped ? { stopped } : {}),
    nodes, quiet, findings, warnings, times: "kelvane-times", series: entries,
  };
  const data = [
    `<script type="application/json" id="kelvane-report">${JSON.stringify(report).replace(/</g, "\\u003c")}</script>`,
    chunk("kelvane-times", chunkText([shuffled(times)])),
    ...chunks.map((text, i) => chunk(`kelvane-values-${i}`, text)),
  ];
  return page
    .replace("<!--kelvane-title-->", "sample.kelvane over sample.jsonl")
    .replace("<!--kelvane-picture-->", () => picture(nodes))
    .replace("<!--kelvane-data-->", () => data.join("\n"));
}

if (process.argv[1].endsWith("sample.mjs")) {
  const page = readFileSync(new URL("../dist/viewer.html", import.meta.url), "utf8");
  const [output, batches = "2000", width = "1"] = process.argv.slice(2);
  writeFileSync(output, reportPage(page, sample({ batches: Number(batches), width: Number(width) })));
}
