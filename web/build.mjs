// Makes the page that computes: one HTML file with the module, its worker, style and script inside.
//
//   node build.mjs --packages FOLDER --module MODULE.wasm --report-template FILE.cpp --tools FOLDER
//                  --version VERSION --output PAGE.html
//
// PACKAGES is the folder with node_modules, TOOLS what tools/wasm-tools.sh made. The same files in give the
// same bytes out.
import { createHash } from "node:crypto";
import { existsSync, readFileSync, readdirSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";
import { parseArgs } from "node:util";
import { constants, deflateSync } from "node:zlib";

const names = ["packages", "module", "report-template", "tools", "version", "output"];
const { values: given } = parseArgs({ options: Object.fromEntries(names.map((name) => [name, { type: "string" }])) });
for (const name of names) if (!given[name]) throw new Error(`--${name} is wanted`);
const here = dirname(fileURLToPath(import.meta.url));
const packages = resolve(given.packages);
const { build } = createRequire(join(packages, "package.json"))("esbuild");
const mostBytes = 3_000_000;

// Every text has both languages, and the same places in both; those of the report's page are its own.
function wordsOfReport() {
  const all = { ...JSON.parse(readFileSync(join(here, "../report/texts.json"), "utf8")) };
  const taken = Object.fromEntries(Object.entries(all).filter(([key]) => /^(verdict\.name|outcome)\./.test(key)));
  const own = JSON.parse(readFileSync(join(here, "texts.json"), "utf8"));
  const places = (text) => [...text.matchAll(/\{(\w+)\}/g)].map((found) => found[1]).sort().join();
  for (const [key, text] of Object.entries(own)) {
    if (!text.de || !text.en) throw new Error(`texts.json: ${key} lacks a language`);
    if (places(text.en) !== places(text.de)) throw new Error(`texts.json: ${key} differs in its places`);
    if (key in taken) throw new Error(`texts.json: ${key} is the report's`);
  }
  return taken;
}

const bundled = new Set();
async function textOf(entry, options = {}) {
  const made = await build({
    bundle: true, minify: true, write: false, metafile: true, charset: "utf8", legalComments: "none", logLevel: "warning",
    target: ["chrome103", "firefox113", "safari16.4"], nodePaths: [join(packages, "node_modules")],
    entryPoints: [join(here, entry)], define: { WORDS_OF_REPORT: JSON.stringify(wordsOfReport()) }, ...options,
  });
  for (const name of Object.keys(made.metafile.inputs)) {
    const found = /^.*node_modules\/((?:@[^/]+\/)?[^/]+)\//.exec(name);
    if (found) bundled.add(found[1]);
  }
  return made.outputFiles[0].text.trim();
}

// The text of the report's template, out of the C++ file that holds it.
function reportTemplate(file) {
  const pieces = [...readFileSync(file, "latin1").matchAll(/std::string_view\("((?:[^"\\]|\\.)*)", \d+\)/gs)];
  const escaped = pieces.map((piece) => piece[1]).join("");
  return Buffer.from(escaped.replace(/\\([0-7]{3}|.)/g, (_, code) => (code.length === 3 ? String.fromCharCode(parseInt(code, 8)) : code)), "latin1").toString("utf8");
}

const hashOf = (script) => `'sha256-${createHash("sha256").update(script, "utf8").digest("base64")}'`;

// The policy of this page holds for the frame of the report too.
function hashOfReport() {
  const found = /script-src ('sha256-[^']+')/.exec(reportTemplate(given["report-template"]));
  if (!found) throw new Error("the template of the report's page tells no hash of its script");
  return found[1];
}

// What stands in the module and in the scripts, with its licences.
function notices() {
  const parts = [];
  const read = (path) => readFileSync(path, "utf8").replaceAll("\r", "").trim();
  const debian = (name, package_) => {
    const path = `/usr/share/doc/${package_}/copyright`;
    if (!existsSync(path)) throw new Error(`${path} is missing: the page may not be given away without it`);
    parts.push([name, read(path)]);
  };
  for (const name of [...bundled].sort()) {
    const folder = join(packages, "node_modules", name);
    const { version, license } = JSON.parse(readFileSync(join(folder, "package.json"), "utf8"));
    const files = readdirSync(folder).filter((file) => /^(licen[cs]e|notice|copying)/i.test(file)).sort();
    if (files.length === 0) throw new Error(`${name}: the package comes without its licence`);
    parts.push([`${name} ${version} (${license})`, files.map((file) => read(join(folder, file))).join("\n\n")]);
  }
  for (const name of ["libcxx", "libcxxabi", "libunwind"]) parts.push([`${name}, of LLVM`, read(join(given.tools, "zig/lib", name, "LICENSE.TXT"))]);
  parts.push(["wasi-libc", read(join(given.tools, "zig/lib/libc/wasi/LICENSE"))], ["the C library's Zig parts and compiler-rt", read(join(given.tools, "zig/LICENSE"))]);
  parts.push(["musl, in wasi-libc", read(join(given.tools, "zig/lib/libc/musl/COPYRIGHT"))]);
  for (const name of ["zlib", "lodepng", "libmd"]) parts.push([name, read(join(given.tools, "source", name, "debian-copyright"))]);
  parts.push(["Packages in the page of a report", read(given["report-template"].replace(/page_template\.cpp$/, "page_notices.txt"))]);
  debian("fmt", "libfmt-dev");
  debian("JSON for Modern C++", "nlohmann-json3-dev");
  debian("toml++", "libtomlplusplus-dev");
  debian("Eigen", "libeigen3-dev");
  debian("CLI11", "libcli11-dev");
  const byText = new Map();
  for (const [name, text] of parts) byText.set(text, [...(byText.get(text) ?? []), name]);
  return [...byText].map(([text, users]) => `${users.join(", ")}:\n\n${text}\n`).join(`\n${"=".repeat(90)}\n\n`);
}

const worker = JSON.stringify(await textOf("host/worker.js", { format: "iife" })).replaceAll("<", "\\u003c");
const script = await textOf("page/script/main.js", { format: "iife" });
const style = await textOf("page/style.css");
if (/<\/script|<!--/i.test(script) || /<\//.test(style)) throw new Error("a part would end its own element");
const module = deflateSync(readFileSync(given.module), { level: constants.Z_BEST_COMPRESSION }).toString("base64");

let page = readFileSync(join(here, "page/template.html"), "utf8");
const fill = (mark, text) => {
  const parts = page.split(mark);
  if (parts.length !== 2) throw new Error(`template.html: ${mark} must stand in it once`);
  page = parts.join(text);
};
// A comment ends with the first "-->" or "--!>", and a mark in it would be replaced.
fill("{{NOTICES}}", notices().replace(/-{2,}/g, "").replaceAll("{{", "{ {"));
fill("{{HASHES}}", `${hashOf(script)} ${hashOfReport()}`);
fill("{{STYLE}}", style);
fill("{{VERSION}}", `qmx-ic ${given.version}`);
fill("{{WORKER}}", worker);
fill("{{SCRIPT}}", script);
fill("{{MODULE}}", module);
const size = Buffer.byteLength(page, "utf8");
if (size > mostBytes) throw new Error(`the page has ${size} bytes; ${mostBytes} are allowed`);
writeFileSync(given.output, page);
console.log(`qmx-ic.html: ${size} bytes, module ${readFileSync(given.module).length} bytes`);
