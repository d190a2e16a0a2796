// The page has a field, or a place elsewhere, for every key of the job file and for no other:
//
//   node fields.mjs PACKAGES MODULE.wasm
//
// What settings become is read back alike, whatever they hold.
import { readFileSync } from "node:fs";
import { resolve } from "node:path";
import { isDeepStrictEqual } from "node:util";
import { partsOf } from "./host.mjs";

const [packages, moduleFile] = process.argv.slice(2).map((name) => resolve(name));
const { GrowingFile, runProgram, groups, elsewhere, presets, jobText, readJob } =
  await partsOf(packages, "host/files.js", "host/program.js", "page/script/fields.js", "page/script/job.js");
let faults = 0;
const check = (what, is, seen) => {
  if (is) return;
  ++faults;
  console.log(`${what}: ${seen}`);
};

const lot = "x,y,PassCount,CMV\n" + Array.from({ length: 60 }, (_, i) => `${i % 10},${Math.floor(i / 10)},${1 + (i % 3)},${20 + i}\n`).join("");
const module = new WebAssembly.Module(readFileSync(moduleFile));
const run = (args, files = {}) => runProgram(module, args, new Map(Object.entries({ "lot.csv": lot, ...files }).map(([name, text]) => [name, new GrowingFile(new TextEncoder().encode(text))])));

const known = new Set();
let table = "";
for (const line of run(["init", "lot.csv", "-o", "-"]).output.split("\n")) {
  const head = /^\[(\w+)\]$/.exec(line);
  if (head) table = head[1];
  const key = /^#?(\w+) = /.exec(line);
  if (key && table) known.add(`${table}.${key[1]}`);
}
check("keys of the program", known.size > 50, known.size);
const fields = groups.flatMap((group) => group.fields.map((field) => [group.table, field.key]));
const placed = new Set([...fields, ...elsewhere].map((path) => path.join(".")));
for (const path of known) check("a key without a field", placed.has(path), path);
for (const path of placed) check("a field without a key", known.has(path), path);
for (const name of presets) {
  const done = run(["report", "lot.csv", "--preset", name, "--json"]);
  check(`preset ${name}`, done.code === 0, done.errors);
}

// Texts with every sign, numbers, ranges that are open: to text, and read by the program's parser and by ours.
const nasty = "a \"b\" \\ 'c' # = [x]\u0001\t Größe 堤防 \u{1F6A7}";
const settings = {
  input: { files: ["lot.csv"], missing: ["-9999", "n/a \"x\""] }, analysis: { target: 31.25, below: true, lags: 12 },
  filter: { value: [-Infinity, 70.5], machines: ["A; B", "1"] }, thresholds: { preset: "none", growth_percent: "off" },
  texts: { title: nasty.replace(/[\u0001\t]/g, ""), remarks: nasty }, output: { time_stamp: "2026-03-04T05:06:07Z" },
};
const back = readJob(jobText(settings));
check("read back", isDeepStrictEqual(back, settings), JSON.stringify(back));
delete settings.filter.machines;
const done = run(["report", "--job", "job.toml", "--json"], { "job.toml": jobText(settings) });
check("the program reads it", done.code === 0, done.errors);
if (done.code === 0) {
  const document = JSON.parse(done.output);
  check("title", document.texts.title === settings.texts.title, document.texts.title);
  check("target", document.settings.target === 31.25 && document.settings.below === true, JSON.stringify(document.settings));
}
console.log(faults === 0 ? `${known.size} keys: all in their places` : `${faults} faults`);
process.exit(faults === 0 ? 0 : 1);
