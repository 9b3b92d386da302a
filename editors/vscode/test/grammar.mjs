// Tokenises texts as an editor does and compares what it would colour with what it should: node grammar.mjs [FILE...]
// The files are diagrams, in which every character must have a meaning.

import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { fileURLToPath } from "node:url";

// From NODE_PATH, or from beside package.json.
const require = createRequire(import.meta.url);
const textmate = require("vscode-textmate");
const oniguruma = require("vscode-oniguruma");

// A line, and its words with what they are; what is not listed is not looked at.
const rows = [
    ["heart rate: Float [not forwarded]", { "heart rate": "entity.name.variable", Float: "support.type", "not forwarded": "keyword.other.attribute" }],
    ["a b #7 = Moving averager(3, x)", { "a b": "entity.name.variable", "#7": "constant.other.id", "Moving averager": "entity.name.function", 3: "constant.numeric", x: "variable.other" }],
    ["y: Float array = a | Buffer(length = -1.5e3, value = _)", { "Float array": "support.type", a: "variable.other", "|": "keyword.operator", length: "variable.parameter", "-1.5e3": "constant.numeric", _: "constant.language" }],
    ["c = Add(1, x): Integer // note, 5", { Add: "entity.name.function", Integer: "support.type", "// note, 5": "comment.line" }],
    ['t = "a\\n\\q(" [red, Speed = "7", at (1, -2)]', { "\\n": "constant.character.escape", "\\q": "invalid.illegal.escape", red: "support.constant.color", Speed: "entity.other.attribute-name", at: "keyword.other.attribute", "-2": "constant.numeric" }],
    ["x: Float [pink]", { pink: "invalid.illegal.attribute" }],
    ["`1 / 2`: Vector", { "`1 / 2`": "entity.name.variable", Vector: "support.type" }],
    ["Floats = `true`", { Floats: "entity.name.variable", true: "variable.other.quoted" }],
    ["Größe 2 = x-coordinate", { "Größe 2": "entity.name.variable", "x-coordinate": "variable.other" }],
    ["v = (1, (2, true)): Vector array", { 2: "constant.numeric", true: "constant.language", "Vector array": "support.type" }],
    ["a = Switch(\nb = 1,\nred: Float)\nc = d", { b: "variable.parameter", red: "variable.other", c: "entity.name.variable", d: "variable.other" }],
    ["box In it [cyan] { a b, box C { #7 }\nx }\ny = z", { box: "keyword.control.group", "In it": "entity.name.section", cyan: "support.constant.color", "a b": "variable.other", C: "entity.name.section", "#7": "constant.other.id", x: "variable.other", y: "entity.name.variable" }],
    ["box = 1", { box: "entity.name.variable" }],
    ["subdiagram `[0]` { * }", { subdiagram: "keyword.control.group", "`[0]`": "entity.name.section", "*": "keyword.operator.everything" }],
    ["order { beat.b, #9.1 }", { order: "keyword.control.order", beat: "variable.other", b: "variable.parameter", 1: "variable.parameter" }],
    ["order by source", { "order by source": "keyword.control.order" }],
    ['raw node(5, "Function")', { "raw node": "keyword.other.raw", 5: "constant.numeric", Function: "string.quoted" }],
    ['a = "open\nb = 1', { open: "string.quoted", b: "entity.name.variable" }],
];

async function loadGrammar() {
    const wasm = readFileSync(require.resolve("vscode-oniguruma/release/onig.wasm"));
    await oniguruma.loadWASM(wasm.buffer.slice(wasm.byteOffset, wasm.byteOffset + wasm.byteLength));
    const path = fileURLToPath(new URL("../syntaxes/kelvane.tmLanguage.json", import.meta.url));
    const registry = new textmate.Registry({
        onigLib: Promise.resolve({
            createOnigScanner: (patterns) => new oniguruma.OnigScanner(patterns),
            createOnigString: (text) => new oniguruma.OnigString(text),
        }),
        loadGrammar: async () => textmate.parseRawGrammar(readFileSync(path, "utf8"), path),
    });
    return registry.loadGrammar("source.kelvane");
}

/** The tokens of a text in order, each with its words and its innermost scopes. */
function tokensOf(grammar, text) {
    let state = textmate.INITIAL;
    return text.split("\n").flatMap((line) => {
        const { tokens, ruleStack } = grammar.tokenizeLine(line, state);
        state = ruleStack;
        return tokens.map(({ startIndex, endIndex, scopes }) => ({ word: line.slice(startIndex, endIndex), scopes: scopes.slice(1) }));
    });
}

const grammar = await loadGrammar();
let passed = 0, failed = 0;
function expect(holds, message) {
    if (holds) return ++passed;
    ++failed;
    console.error(message);
}

for (const [text, words] of rows) {
    const tokens = tokensOf(grammar, text);
    for (const [word, scope] of Object.entries(words)) {
        const matches = tokens.filter((token) => token.word.trim() === word);
        const isRight = matches.some(({ scopes }) => scopes.some((name) => name.startsWith(scope)));
        expect(isRight, `${text}: ${word} is ${JSON.stringify(matches.map(({ scopes }) => scopes))}, not ${scope}`);
    }
}
for (const file of process.argv.slice(2)) {
    for (const { word, scopes } of tokensOf(grammar, readFileSync(file, "utf8"))) {
        const isRight = word.trim() === "" || (scopes.length > 0 && !scopes.some((name) => name.startsWith("invalid")));
        expect(isRight, `${file}: "${word}" has ${scopes.length > 0 ? scopes : "no meaning"}`);
    }
}
console.log(`${passed} passed, ${failed} failed`);
process.exitCode = failed > 0 ? 1 : 0;
