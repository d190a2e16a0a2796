// Opens pages from disk in a browser and tries them:
//
//   node run.mjs PACKAGES [PAGE.html DOCUMENT.json]... [--shots FOLDER] [--thorough PAGE,...]
//
// Pages that are not among the thorough ones are opened once; without that option all are tried in full.
//
// PACKAGES is a folder with node_modules that hold playwright-core and axe-core. Ends with 77 where
// these or a browser are not there.
import { existsSync, mkdirSync, readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join, resolve } from "node:path";
import { controls } from "./controls.mjs";
import { german } from "./german.mjs";
import { numbers } from "./numbers.mjs";
import { layout, paper } from "./layout.mjs";

const words = process.argv.slice(2);
const option = (name) => {
  const at = words.indexOf(name);
  return at < 0 ? null : words.splice(at, 2)[1];
};
const shotsFolder = option("--shots");
const shots = shotsFolder && resolve(shotsFolder);
const thorough = (option("--thorough") ?? "").split(",").filter(Boolean);
if (shots) mkdirSync(shots, { recursive: true });
const [packages, ...files] = words.map((name) => resolve(name));

const skip = (why) => {
  console.log(`skipped: ${why}`);
  process.exit(77);
};
const browserFile = ["/usr/bin/chromium", "/usr/bin/chromium-browser", "/usr/bin/google-chrome"].find(existsSync);
if (!browserFile) skip("no Chromium");
let chromium, axe;
try {
  const require = createRequire(join(packages, "package.json"));
  ({ chromium } = require("playwright-core"));
  axe = readFileSync(require.resolve("axe-core/axe.min.js"), "utf8");
} catch {
  skip("playwright-core or axe-core is not installed");
}

const failures = [];
let checks = 0;
const check = (what, isTrue, found = "") => {
  ++checks;
  if (!isTrue) failures.push(`${what}${found === "" ? "" : `: ${found}`}`);
};

const browser = await chromium.launch({
  executablePath: browserFile,
  args: ["--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
         "--disable-component-update", "--disable-sync"],
});

// A page that keeps account of what it must not do.
async function opened(file, viewport, options = {}) {
  const context = await browser.newContext({ viewport, acceptDownloads: true, ...options });
  const page = await context.newPage();
  page.on("console", (message) => check(`${file} console`, !["error", "warning"].includes(message.type()), message.text()));
  page.on("pageerror", (error) => check(`${file} error`, false, error.message));
  page.on("request", (request) => check(`${file} request`, request.url() === `file://${file}` || /^(data|blob):/.test(request.url()), request.url().slice(0, 100)));
  await page.goto(`file://${file}`);
  await page.waitForFunction(() => performance.getEntriesByName("figures-drawn").length > 0);
  return page;
}

async function accessible(page, name) {
  // The page forbids scripts but its own; the checker comes by the browser's own way in.
  await page.evaluate(axe);
  const found = await page.evaluate(() => window.axe.run(document, { resultTypes: ["violations"] }));
  for (const one of found.violations)
    check(`${name} axe ${one.id}`, ["minor", null].includes(one.impact),
          `${one.impact}: ${one.help}: ${one.nodes.slice(0, 3).map((node) => node.target.join(" ")).join(" | ")}`);
}

const checking = (name) => (what, isTrue, found) => check(`${name} ${what}`, isTrue, found);

// Everything that a page can do, at all widths and on paper.
async function tryAll(file, name, report) {
  const begin = Date.now();
  const page = await opened(file, { width: 1366, height: 900 });
  console.log(`${name}: open after ${Date.now() - begin} ms`);
  await numbers(page, report, checking(name));
  await accessible(page, name);
  await controls(page, report, checking(name));
  await page.context().close();
  for (const width of [360, 1366, 2560]) {
    const sized = await opened(file, { width, height: 900 });
    await layout(sized, checking(`${name} at ${width}`));
    if (width === 360) await accessible(sized, `${name} at 360`);
    if (shots) await sized.screenshot({ path: join(shots, `${name}-${width}.png`), fullPage: true });
    if (width === 1366) await paper(sized, shots && join(shots, name), checking(name));
    await sized.context().close();
  }
}

// Whether a page says what the document says, on a telephone.
async function tryOnce(file, name, report) {
  const page = await opened(file, { width: 360, height: 900 });
  await numbers(page, report, checking(name));
  await german(page, report, checking(name));
  await layout(page, checking(`${name} at 360`));
  await accessible(page, name);
  if (shots) await page.screenshot({ path: join(shots, `${name}-360.png`), fullPage: true });
  await page.context().close();
}

for (let k = 0; k + 1 < files.length; k += 2) {
  const name = files[k].split("/").pop();
  const report = JSON.parse(readFileSync(files[k + 1], "utf8"));
  await (thorough.length === 0 || thorough.includes(name) ? tryAll : tryOnce)(files[k], name, report);
}
await browser.close();
for (const line of failures) console.log(`FAILED ${line}`);
console.log(`${checks} checks, ${failures.length} failed`);
process.exit(failures.length > 0 ? 1 : 0);
