// Bundles the page into one file: node bundle.mjs OUTPUT, with esbuild on NODE_PATH.
import { mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const esbuild = createRequire(import.meta.url)("esbuild");
const here = dirname(fileURLToPath(import.meta.url));
const output = process.argv[2];

function bundled(entry, options) {
  const result = esbuild.buildSync({
    absWorkingDir: here,
    entryPoints: [entry],
    bundle: true,
    minify: true,
    write: false,
    charset: "utf8",
    target: ["chrome111", "firefox113", "safari16.4"],
    legalComments: "none",
    ...options,
  });
  return result.outputFiles[0].text.trim();
}

const licence = readFileSync(join(here, "vendor/uplot/LICENSE"), "utf8").trim();
const script = `/*! Contains uPlot 1.6.32:\n${licence}\n*/\n` + bundled("src/main.ts", { format: "iife" });
const styles = bundled("vendor/uplot/uPlot.min.css", {}) + bundled("src/styles.css", {});
if (/<\/script|<!--/i.test(script)) throw new Error("the script contains what ends a script element");

const parts = { styles, script };
const page = readFileSync(join(here, "src/page.html"), "utf8").replace(
  /\/\*(styles|script)\*\//g,
  (_, part) => parts[part],
);
for (const placeholder of ["title", "picture", "data"]) {
  const count = page.split(`<!--kelvane-${placeholder}-->`).length - 1;
  if (count !== 1) throw new Error(`the page has ${count} placeholders for its ${placeholder}`);
}
if (Buffer.byteLength(page) >= 150_000)
  throw new Error(`the page has ${Buffer.byteLength(page)} bytes; 150 000 are the limit`);
mkdirSync(dirname(output), { recursive: true });
writeFileSync(output, page);
