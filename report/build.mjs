// Makes the template of the page: one HTML text with style and script inside, as a C++ file.
//
//   node build.mjs PACKAGES OUTPUT.cpp NOTICES.txt
//
// PACKAGES is the folder with node_modules. The notices of the packages whose code the page holds go to a
// file of their own and into the page.
import { createHash } from "node:crypto";
import { readFileSync, readdirSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const [packages, output, noticesFile] = process.argv.slice(2).map((name) => resolve(name));
const here = dirname(fileURLToPath(import.meta.url));
const require = createRequire(join(packages, "package.json"));
const { build } = require("esbuild");

const common = {
  bundle: true,
  minify: true,
  write: false,
  metafile: true,
  charset: "utf8",
  target: ["chrome100", "firefox100", "safari15"],
  nodePaths: [join(packages, "node_modules")],
  legalComments: "none",
  logLevel: "warning",
};

const bundled = new Set();

// A package that is taken as it was bundled by its makers holds the code of what it depends on.
function takeIn(name, bundledByMakers) {
  if (bundled.has(name)) return;
  bundled.add(name);
  const { dependencies } = JSON.parse(readFileSync(join(packages, "node_modules", name, "package.json"), "utf8"));
  if (bundledByMakers) for (const each of Object.keys(dependencies || {})) takeIn(each, true);
}

async function textOf(entry, options = {}) {
  const made = await build({ ...common, entryPoints: [join(here, "page", entry)], ...options });
  for (const name of Object.keys(made.metafile.inputs)) {
    const found = /^.*node_modules\/((?:@[^/]+\/)?[^/]+)\/(dist\/)?/.exec(name);
    if (found) takeIn(found[1], Boolean(found[2]));
  }
  return made.outputFiles[0].text.trim();
}

// The licences of the packages that are in the page; packages with the same text share it.
function noticesOf(names) {
  const byText = new Map();
  for (const name of [...names].sort()) {
    const folder = join(packages, "node_modules", name);
    const { version, license } = JSON.parse(readFileSync(join(folder, "package.json"), "utf8"));
    const files = readdirSync(folder).filter((file) => /^(licen[cs]e|notice|copying)/i.test(file)).sort();
    if (files.length === 0) throw new Error(`${name}: the package comes without its licence`);
    const text = files.map((file) => readFileSync(join(folder, file), "utf8").replaceAll("\r", "").trim()).join("\n\n");
    byText.set(text, [...(byText.get(text) || []), `${name} ${version} (${license})`]);
  }
  return [...byText].map(([text, users]) => `${users.join(", ")}:\n\n${text}\n`).join(`\n${"-".repeat(90)}\n\n`);
}

// Every text has both languages, and the same places for numbers in both.
function checkTexts() {
  const texts = JSON.parse(readFileSync(join(here, "texts.json"), "utf8"));
  const places = (text) => [...text.matchAll(/\{(\w+)\}/g)].map((found) => found[1]).sort().join();
  for (const [key, text] of Object.entries(texts)) {
    if (!text.de || !text.en) throw new Error(`texts.json: ${key} lacks a language`);
    if (places(text.en) !== places(text.de)) throw new Error(`texts.json: ${key} differs in its places`);
  }
}

// Each template of a text of the document is found by that text, and said with all of its pieces.
async function checkSaid() {
  const made = await build({
    ...common, format: "esm",
    stdin: { contents: 'export * from "./said.js"; export { setLanguage, templatesOf } from "./texts.js";', resolveDir: join(here, "page/script") },
  });
  const { setLanguage, told, templatesOf } = await import(`data:text/javascript;base64,${Buffer.from(made.outputFiles[0].contents).toString("base64")}`);
  const samples = {
    number: ["-1234.50", "−1\u202f234,50"], quantity: ["4.95e+03 US survey ft", "4\u202f950 US survey ft"], line: ["12", "12"],
    places: ["line 5 (1.5, 2), b.csv, line 7 (0, 0), …", "Zeile 5 (1,5; 2), b.csv, Zeile 7 (0; 0), …"],
    said: ["no row has a value", "Keine Zeile hat einen Wert"],
  };
  const filled = (text, form) => text.replace(/\{(\w+)\}/g, (_, place) => (samples[place.replace(/\d+$/, "")] || ["a b.csv", "a b.csv"])[form]);
  setLanguage("de");
  for (const family of ["said", "dropped", "example", "filter.what", "range", "from"]) {
    const all = templatesOf(family);
    if (all.length === 0) throw new Error(`texts.json: no ${family}`);
    for (const [key, text] of all) {
      const found = told(filled(text.en, 0), family);
      if (found !== filled(text.de, 1)) throw new Error(`texts.json: ${key} is said as "${found}"`);
    }
  }
}

function sourceOf(page) {
  const bytes = Buffer.from(page, "utf8");
  const pieces = [];
  const size = 4000; // compilers limit the length of a literal
  for (let at = 0; at < bytes.length; at += size) {
    const piece = bytes.subarray(at, at + size);
    let literal = "";
    for (const byte of piece) {
      if (byte === 0x22 || byte === 0x5c) literal += "\\" + String.fromCharCode(byte);
      else if (byte === 0x3f) literal += "\\?"; // no trigraphs
      else if (byte >= 0x20 && byte < 0x7f) literal += String.fromCharCode(byte);
      else literal += "\\" + byte.toString(8).padStart(3, "0");
    }
    pieces.push(`    std::string_view("${literal}", ${piece.length}),`);
  }
  return [
    "// Made by report/build.mjs.",
    '#include "report/page_template.hpp"',
    "",
    "namespace qmx_report {",
    "",
    "std::span<const std::string_view> page_template() {",
    "  static constexpr std::string_view pieces[] = {",
    ...pieces,
    "  };",
    "  return pieces;",
    "}",
    "",
    "} // namespace qmx_report",
    "",
  ].join("\n");
}

checkTexts();
await checkSaid();
const script = await textOf("script/main.js", { format: "iife" });
const style = await textOf("style.css");
if (/<\/script|<!--|\{\{DATA\}\}/i.test(script) || /<\//.test(style)) throw new Error("a part would end its own element");
const hash = createHash("sha256").update(script, "utf8").digest("base64");
let page = readFileSync(join(here, "page", "template.html"), "utf8");
if (bundled.size === 0) throw new Error("no package is found in what was bundled");
const notices = noticesOf(bundled);
// A comment ends with the first "-->" or "--!>", and a mark in it would be replaced.
const comment = notices.replace(/-{2,}/g, "").replaceAll("{{", "{ {");
for (const [mark, text] of [["{{NOTICES}}", comment], ["{{STYLE}}", style], ["{{HASH}}", `sha256-${hash}`], ["{{SCRIPT}}", script]]) {
  const parts = page.split(mark);
  if (parts.length !== 2) throw new Error(`template.html: ${mark} must stand in it once`);
  page = parts.join(text);
}
if (page.split("{{DATA}}").length !== 2) throw new Error("template.html: {{DATA}} must stand in it once");
writeFileSync(noticesFile, notices);
writeFileSync(output, sourceOf(page));
