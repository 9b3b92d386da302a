// A report of made-up data, as `kelvane report` would write it: node test/sample.mjs OUTPUT [BATCHES [WIDTH]], where WIDTH is how
// often the chain of functions stands side by side.
import { readFileSync, writeFileSync } from "node:fs";
import { gzipSync } from "node:zlib";

const themes = {
  light:
    "--surface:#ffffff;--box:#f7f8fa;--frame:#eef1f5;--line:#aeb6c2;--text:#1b2430;--faint:#5c6675;--grid:#e3e7ec;--accent:#0b62d6;--error:#c01c28;--warning:#8f5b00;--float:#1f5fd0;--integer:#00796b;--boolean:#b3206a;--vector:#b04a00;--orientation:#6d3fc4;--sequence:#3d7a1a;--string:#7a6400;--any:#5c6675",
  dark: "--surface:#14171c;--box:#20252d;--frame:#1a1e25;--line:#4b5563;--text:#e7ebf1;--faint:#9aa5b5;--grid:#2b313a;--accent:#6cb0ff;--error:#ff7b7b;--warning:#f0b84a;--float:#74aaff;--integer:#3fd0bd;--boolean:#ff86b8;--vector:#ffa45c;--orientation:#bd9cff;--sequence:#93d168;--string:#e2c54a;--any:#9aa5b5",
};
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

  const force = add("stream", "InputStream", "force", "Float", [], every("float", wave));
  const motion = add("stream", "InputStream", "acceleration", "Vector", [], every("vector", (i) => [Math.sin(i / 30), Math.cos(i / 45), 9.81 + Math.sin(i / 9) * 0.3]));
  const limit = add("constant", "Float", "limit", "Float", [], { constant: "12.5", list: [] });
  const none = add("stream", "InputStream", "magnetometer", "Vector", []);
  for (let at = 0; at < width; ++at) {
    const tail = width > 1 ? ` ${at + 1}` : "";
    const smooth = add("function", "Moving averager", `smoothed${tail}`, "Float", [slot("value", "Float", force), slot("length", "Integer")], every("float", (i) => Math.sin(i / 60) * 20 + at));
    const above = add("function", "Larger", `above the limit${tail}`, "Boolean", [slot("a", "Float", smooth), slot("b", "Float", limit)], every("boolean", (i) => Math.sin(i / 60) * 20 > 12.5));
    const counted = add("function", "Counter", `steps${tail}`, "Integer", [slot("count", "Boolean", above)], some("integer", 380, (_, i) => i + 1));
    if (at > 0) continue;
    const longest = add("function", "Norm", "Norm", "Float", [slot("vector", "Vector", motion)], every("float", (i) => 9.8 + Math.sin(i / 9) * 0.2));
    const phase = add("function", "Name", "phase", "String", [slot("of", "Boolean", above)], some("text", 250, (_, i) => ["stance", "swing", "flight – <high>"][i % 3]));
    const heading = add("function", "Heading", "heading", "Float", [slot("field", "Vector", none), slot("motion", "Vector", motion)]);
    add("output", "VariableOutput", "step count", "Integer", [slot("value", "Integer", counted)], some("integer", 380, (_, i) => i + 1));
    add("output", "VariableOutput", "strength", "Float", [slot("value", "Float", longest)], every("float", (i) => 9.8 + Math.sin(i / 9) * 0.2));
    add("output", "VariableOutput", "is above", "Boolean", [slot("value", "Boolean", above)], every("boolean", (i) => Math.sin(i / 60) * 20 > 12.5));
    add("output", "VariableOutput", "phase now", "String", [slot("value", "String", phase)], some("text", 250, (_, i) => ["stance", "swing", "flight – <high>"][i % 3]));
    add("output", "VariableOutput", "north", "Float", [slot("value", "Float", heading)]);
  }
  const quiet = nodes
    .filter((node) => ["heading", "north"].includes(node.name))
    .map((node) => ({
      node: node.id,
      causes: [{ node: none, code: "stream-absent", text: "the recording has no stream \"magnetometer\"", remedy: "record it, or give the input its values under the label that the recording has" }],
    }));
  const steps = nodes.find((node) => node.class === "Counter");
  quiet.push({ node: steps.id, causes: [{ node: steps.id, code: "silent", text: "it counts only what begins", remedy: "" }] });
  return { nodes, series, times, quiet, findings: [
    { severity: "warning", code: "unconnected-input", node: 5, place: "sample.kelvane:4:1", text: "input \"length\" of \"smoothed\" is not connected", hint: "connect a constant" },
  ] };
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
        const path = `d="M${a.x} ${a.y}C${a.x + 60} ${a.y} ${b.x - 60} ${b.y} ${b.x} ${b.y}" data-from="${from}" data-to="${node.id}" data-input="${i}"`;
        return `<path class="wire ${styleOf(nodes[from - 1].type)}" ${path}/><path class="hit" ${path}/>`;
      }),
    ),
  );
  const boxes = nodes.map((node) => {
    const { x, y } = places.get(node.id);
    const inputs = node.inputs.map((input, i) => `<circle class="port in ${styleOf(input.type)}" data-input="${i}" cx="${x}" cy="${y + 22 + i * 18}" r="4"/>`).join("");
    const value = node.kind === "output" ? `<text class="value ${styleOf(node.type)}" data-node="${node.id}" x="${x + 158}" y="${y + 26}"></text>` : `<circle class="port out ${styleOf(node.type)}" cx="${x + 150}" cy="${y + 22}" r="4"/><text class="value ${styleOf(node.type)}" data-node="${node.id}" x="${x + 158}" y="${y + 16}"></text>`;
    return `<g class="node ${node.kind}" data-node="${node.id}"><rect class="body" x="${x}" y="${y}" width="150" height="58" rx="6"/><text class="label" x="${x + 12}" y="${y + 26}">${escaped(node.name)}</text><text class="class" x="${x + 12}" y="${y + 44}">${escaped(node.class)}</text>${inputs}</g>${value}`;
  });
  const box = `0 0 ${depths.size ? filled.length * 260 + 40 : 100} ${Math.max(...filled) * 96 + 40}`;
  const css = `.kelvane{font-family:Helvetica,Arial,"Liberation Sans",sans-serif;${themes.light}}
@media (prefers-color-scheme:dark){.kelvane{${themes.dark}}}
[data-theme=light] .kelvane{${themes.light}}
[data-theme=dark] .kelvane{${themes.dark}}
${styles.map((style) => `.kelvane .${style}{--type:var(--${style})}`).join("\n")}
.diagram text{font-size:12px;fill:var(--text)}.diagram .class{fill:var(--faint);font-size:10px}.diagram text.value{fill:var(--type);font-size:10px}
.diagram .body{fill:var(--box);stroke:var(--line)}.diagram .port{fill:var(--type)}.diagram .wire{fill:none;stroke:var(--type);stroke-width:1.6}
.diagram .hit{fill:none;stroke:transparent;stroke-width:12}`;
  return `<svg class="kelvane diagram" xmlns="http://www.w3.org/2000/svg" viewBox="${box}" role="img" aria-labelledby="kelvane-title"><title id="kelvane-title">sample.kelvane</title><desc>made up</desc><style>${css}</style>${wires.join("")}${boxes.join("")}</svg>`;
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
