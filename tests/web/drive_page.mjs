// Drives the page that computes, opened from disk, as a person would:
//
//   node drive_page.mjs PACKAGES PAGE.html FOLDER [--shots FOLDER] [--modules FOLDER] [--slowdown NUMBER]
//                       [--only day,wrongFiles,telephone,million,numbers]
//
// FOLDER has the files that check_page.py makes; what is saved goes to FOLDER/saved for it to compare. MODULES
// has random_lots and stored_calls. Ends with 77 where a browser or a package is not there.
import { createServer } from "node:http";
import { existsSync, mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join, resolve } from "node:path";
import { parseArgs } from "node:util";
import { scriptOf } from "./host.mjs";

const { values: options, positionals } = parseArgs({
  allowPositionals: true, options: Object.fromEntries(["shots", "modules", "slowdown", "only"].map((name) => [name, { type: "string" }])),
});
const [packages, pageFile, folder] = positionals.map((name) => resolve(name));
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
const slowdown = Math.max(1, Number(options.slowdown ?? 1));
const patience = 120000 * slowdown;
const saved = join(folder, "saved");
mkdirSync(saved, { recursive: true });
if (options.shots) mkdirSync(options.shots, { recursive: true });

const failures = [];
let checks = 0;
const check = (what, isTrue, found = "") => {
  ++checks;
  if (!isTrue) failures.push(`${what}${found === "" ? "" : `: ${found}`}`);
};

const browser = await chromium.launch({
  executablePath: browserFile,
  args: ["--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking", "--disable-component-update", "--disable-sync"],
});

// A page that keeps account of what it must not do. Violations of its policy are told on the console.
async function opened(viewport = { width: 1366, height: 900 }, locale = "en-GB") {
  const context = await browser.newContext({ viewport, locale, acceptDownloads: true });
  context.setDefaultTimeout(patience);
  context.on("request", (request) => check("a request", request.url() === `file://${pageFile}` || /^(data|blob):/.test(request.url()), request.url().slice(0, 100)));
  const page = await context.newPage();
  page.on("console", (message) => page.isProbed || check("console", !["error", "warning"].includes(message.type()), message.text()));
  page.on("pageerror", (error) => check("error", false, error.message));
  await page.goto(`file://${pageFile}`);
  return page;
}
const shot = async (page, name) => options.shots && page.screenshot({ path: join(options.shots, `${name}.png`), fullPage: true });

async function accessible(page, name) {
  await page.evaluate(axe);
  const found = await page.evaluate(() => window.axe.run({ exclude: ["iframe"] }, { resultTypes: ["violations"], iframes: false }));
  for (const one of found.violations)
    check(`${name}: axe ${one.id}`, one.impact === "minor", `${one.impact}: ${one.help}: ${one.nodes.slice(0, 3).map((node) => node.target.join(" ")).join(" | ")}`);
}

async function fits(page, name) {
  const beyond = await page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth);
  check(`${name}: does not scroll sideways`, beyond <= 0, beyond);
}

// Files fall on the page.
async function drop(page, ...names) {
  const files = names.map((name) => ({ name, bytes: readFileSync(join(folder, name)).toString("base64") }));
  await page.evaluate((list) => {
    const data = new DataTransfer();
    for (const { name, bytes } of list) data.items.add(new File([Uint8Array.from(atob(bytes), (sign) => sign.charCodeAt(0))], name));
    for (const type of ["dragover", "drop"]) document.body.dispatchEvent(new DragEvent(type, { bubbles: true, cancelable: true, dataTransfer: data }));
  }, files);
}
const choose = (page, ...names) => page.locator("#files").setInputFiles(names.map((name) => join(folder, name)));
const recognised = (page) => page.waitForFunction(() => document.getElementById("progress").hidden && /recognised: |erkannt: /.test(document.querySelector("#columns-value").textContent));
const open = async (page, part) => (await page.locator(`#part-${part}`).getAttribute("open")) === null && page.locator(`#part-${part} summary`).click();
const fill = async (page, id, text) => {
  await page.locator(`#${id}`).fill(text);
  await page.locator(`#${id}`).press("Tab");
};
async function make(page) {
  await page.locator("#make").click();
  await page.waitForFunction(() => document.getElementById("progress").hidden && document.getElementById("part-result"));
}
async function keep(page, locator, name) {
  const [download] = await Promise.all([page.waitForEvent("download"), locator.click()]);
  await download.saveAs(join(saved, name ?? download.suggestedFilename()));
  return download.suggestedFilename();
}

// A day's work: drop, correct a column, change the target, read the verdict, save everything.
async function day() {
  const page = await opened();
  await shot(page, "empty");
  await accessible(page, "empty");
  await drop(page, "day.csv", "day-spots.csv", "day-alignment.csv");
  await recognised(page);
  const roles = await page.$$eval(".files select", (all) => all.map((one) => one.value));
  check("roles are guessed", roles.join() === "points,tests,area", roles.join());
  check("value is recognised", (await page.locator("#columns-value option").first().innerText()).includes("LastCMV"));
  check("a trait is recognised", (await page.locator("#columns-machine option").first().innerText()).includes("Machine"));
  await page.locator("#columns-value").selectOption("LastRMV");
  check("an example is shown", /\d/.test(await page.locator("#columns-value-hint").innerText()));
  await page.locator("#columns-value").selectOption("");
  await open(page, "output");
  await fill(page, "output-time_stamp", "2026-03-04T05:06:07Z");
  await open(page, "texts");
  await fill(page, "texts-title", "Größe \"1\" \\ <b>&amp;");
  await fill(page, "analysis-target", "40");
  await make(page);
  const summary = await page.locator("#part-result .summary").innerText();
  check("verdicts are told", /\d+ met, \d+ missed/.test(summary), summary);
  check("they are announced", (await page.locator("#status").innerText()).includes(summary));
  check("the title has the focus", await page.evaluate(() => document.activeElement.matches("#part-result h2")));
  const frame = page.frameLocator("iframe.report");
  await frame.locator("#part-verdicts").waitFor();
  check("the report stands in its frame", (await frame.locator("h1").innerText()).includes("Größe"));
  await frame.locator("figure svg").first().waitFor();
  const target = () => page.locator(".verdicts li", { hasText: "reach the target" }).getAttribute("class");
  check("the target is met", (await target()) === "met", await target());
  await shot(page, "report");
  await accessible(page, "report");
  await fits(page, "report");
  await fill(page, "analysis-target", "90");
  check("an old report is told", await page.locator("#old").isVisible());
  await make(page);
  check("the target is missed", (await target()) === "missed", await target());
  await page.locator("#columns-value").selectOption("LastRMV");
  await fill(page, "analysis-target", "4,5");
  await make(page);
  check("the corrected column is used", (await page.frameLocator("iframe.report").locator("#part-data").innerText()).includes("LastRMV"));
  check("job file", (await keep(page, page.locator("#save-job"))) === "job.toml");
  await keep(page, page.getByRole("button", { name: "Save report" }));
  await keep(page, page.getByRole("button", { name: "Save document" }));
  await page.locator(".tables summary").click();
  for (const button of await page.locator(".tables li button").all()) await keep(page, button, `table-${await button.innerText()}`);

  // The settings come back from the file; the report is the same then.
  const before = readFileSync(join(saved, "report.html"));
  const again = await opened();
  writeFileSync(join(folder, "job.toml"), readFileSync(join(saved, "job.toml")));
  await choose(again, "job.toml");
  await again.locator("#missing").waitFor();
  await choose(again, "day-alignment.csv", "day-spots.csv", "day.csv");
  await recognised(again);
  check("settings are loaded", (await again.locator("#analysis-target").inputValue()) === "4.5" && (await again.locator("#columns-value").inputValue()) === "LastRMV");
  await make(again);
  await keep(again, again.getByRole("button", { name: "Save report" }), "again.html");
  check("the same report", before.equals(readFileSync(join(saved, "again.html"))));
  await again.context().close();
  await probe(page);
  await page.context().close();
}

// Nothing gets out, even where somebody tries.
async function probe(page) {
  let reached = 0;
  const server = createServer((_, answer) => {
    ++reached;
    answer.end();
  });
  await new Promise((done) => server.listen(0, "127.0.0.1", done));
  const address = `127.0.0.1:${server.address().port}`;
  page.isProbed = true;
  const blocked = await page.evaluate(async (place) => {
    const tried = [
      () => fetch(`http://${place}/`), () => new Promise((done, fail) => { const one = new Image(); one.onload = done; one.onerror = fail; one.src = `http://${place}/a.png`; }),
      () => new Promise((done, fail) => { const one = new WebSocket(`ws://${place}/`); one.onopen = done; one.onerror = fail; }),
      () => new Promise((done, fail) => { const one = document.createElement("script"); one.onload = done; one.onerror = fail; one.src = `http://${place}/a.js`; document.body.append(one); }),
    ];
    let number = 0;
    for (const one of tried) {
      try {
        await one();
      } catch {
        ++number;
      }
    }
    navigator.sendBeacon(`http://${place}/beacon`, "x");
    return number;
  }, address).catch((error) => error.message);
  await new Promise((done) => setTimeout(done, 300));
  check("tries to get out are blocked", blocked === 4, blocked);
  check("nothing got out", reached === 0, reached);
  server.close();
}

// What is wrong with files is told in the program's words.
async function wrongFiles() {
  const page = await opened();
  for (const [name, words] of [["empty.csv", /empty|no line|holds no/i], ["picture.csv", /./], ["degrees.csv", /project/i]]) {
    await choose(page, name);
    await page.locator("#size").waitFor();
    await page.waitForFunction(() => document.getElementById("progress").hidden);
    if (name === "degrees.csv") {
      await open(page, "input");
      await fill(page, "input-project", "utm");
    }
    if ((await page.locator(".message").count()) === 0) await make(page);
    const told = await page.locator(".message pre").first().innerText();
    const native = readFileSync(join(folder, `${name}.says`), "utf8").trim();
    check(`${name} is refused`, words.test(told), told);
    check(`${name} in the program's words`, told.trim() === native, `${told} | ${native}`);
    await page.getByRole("button", { name: `Remove ${name}` }).click();
  }
  await choose(page, "broken.toml");
  check("a broken job file is told", /broken.toml/.test(await page.locator("#place-warnings .message pre").innerText()));
  await choose(page, "unknown.toml", "day.csv");
  await recognised(page);
  await make(page);
  const told = await page.locator("#part-result .message pre").innerText();
  check("a key that is not known is told with its line", /job\.toml, line \d+/.test(told) && /targget/.test(told), told);
  await shot(page, "message");
  await accessible(page, "message");
  await page.context().close();
}

// By keys alone, on a telephone, in German.
async function telephone() {
  const page = await opened({ width: 360, height: 740 }, "de-DE");
  check("German from the start", (await page.locator("h1").innerText()).includes("Verdichtungsbericht"));
  await fits(page, "telephone, empty");
  await choose(page, "day.csv");
  await recognised(page);
  const closed = page.locator("details[id]:not([open]) > summary");
  while ((await closed.count()) > 0) await closed.first().click();
  await fits(page, "telephone, all open");
  await shot(page, "telephone-settings");
  await page.locator("#analysis-target").focus();
  await page.keyboard.type("40");
  for (let i = 0; i < 200 && !(await page.evaluate(() => document.activeElement.id === "make")); ++i) await page.keyboard.press("Tab");
  await page.keyboard.press("Enter");
  await page.locator("#part-result .summary").waitFor();
  check("German verdicts", /erfüllt/.test(await page.locator("#part-result .summary").innerText()));
  check("German report", (await page.frameLocator("iframe.report").locator("html").getAttribute("lang")) === "de");
  await fits(page, "telephone, report");
  await accessible(page, "telephone");
  await shot(page, "telephone-report");
  await page.locator(".chooser button", { hasText: "English" }).click();
  const english = await page.locator("#make", { hasText: "Make the report" }).waitFor({ timeout: 10000 * slowdown }).then(() => true, () => false);
  check("English words", english, await page.locator("#make").innerText());
  await page.context().close();
}

// A million rows: progress, cancel, time, memory; and more than the page can hold.
async function million() {
  const page = await opened();
  await choose(page, "million.csv");
  await recognised(page);
  await page.locator("#make").click();
  await page.waitForFunction(() => Number(document.querySelector("#progress progress").value) > 0.05 && /%/.test(document.getElementById("progress-text").textContent));
  await shot(page, "progress");
  await page.locator("#cancel").click();
  await page.waitForFunction(() => document.getElementById("progress").hidden);
  check("called off", (await page.locator("#part-result").count()) === 0 && /Called off/.test(await page.locator("#status").innerText()));
  await make(page);
  const took = await page.locator("#took").innerText();
  const [, seconds, memory, unit] = /in ([\d.]+) s with ([\d.]+) (\wB)/.exec(took) ?? [];
  console.log(`a million rows: ${took}`);
  check("a million rows in time", Number(seconds) < 10 * slowdown, `${took} slowdown ${slowdown}`);
  check("a million rows in memory", unit === "MB" && Number(memory) < 1000, took);
  const session = await browser.newBrowserCDPSession();
  const { processInfo } = await session.send("SystemInfo.getProcessInfo");
  const peaks = processInfo.filter((one) => one.type === "renderer").map((one) => {
    const file = `/proc/${one.id}/status`;
    return existsSync(file) ? Number(/VmHWM:\s+(\d+)/.exec(readFileSync(file, "utf8"))?.[1] ?? 0) / 1000 : 0;
  });
  console.log(`the browser's processes for pages took at most ${peaks.map((peak) => peak.toFixed(0)).join(", ")} MB`);
  check("under 1 GB in all", Math.max(...peaks) < 1000, peaks.join());
  check("the whole lot is used", /1.000.000/.test(await page.frameLocator("iframe.report").locator("#part-data").innerText()));
  // A file that says it is large: nothing of it is read but its first lines.
  await page.evaluate(() => {
    const line = new TextEncoder().encode("1234.5,5678.5,1,45.25\n".repeat(3000));
    const pieces = new Blob(Array.from({ length: 4000 }, () => line));
    const data = new DataTransfer();
    data.items.add(new File([pieces, pieces, pieces], "huge.csv"));
    document.body.dispatchEvent(new DragEvent("drop", { bubbles: true, cancelable: true, dataTransfer: data }));
  });
  await page.locator("#too-big").waitFor();
  check("too big is told", /qmx-ic report --job/.test(await page.locator("#too-big").innerText()));
  check("too big is not tried", await page.locator("#make").isDisabled());
  await page.context().close();
}

// The library's own numbers in this browser.
async function numbers() {
  const context = await browser.newContext();
  const page = await context.newPage();
  await page.evaluate(await scriptOf(packages, ["host/program.js"], { format: "iife", globalName: "host" }).then((text) => `${text}\nwindow.host = host;`));
  for (const [name, args] of [["stored_calls", []], ["random_lots", ["24000"]]]) {
    const bytes = readFileSync(join(options.modules, `${name}.wasm`)).toString("base64");
    const done = await page.evaluate(async ([text, words]) => {
      const module = await WebAssembly.compile(Uint8Array.from(atob(text), (sign) => sign.charCodeAt(0)));
      const { code, output, errors } = window.host.runProgram(module, words, new Map());
      return { code, output, errors };
    }, [bytes, args]);
    check(`${name} in the browser`, done.code === 0, done.errors + done.output.slice(0, 500));
    writeFileSync(join(saved, `${name}.txt`), done.output);
  }
  await context.close();
}

const runs = { day, wrongFiles, telephone, million, ...(options.modules ? { numbers } : {}) };
for (const [name, run] of Object.entries(runs)) {
  if (options.only && !options.only.split(",").includes(name)) continue;
  const begin = Date.now();
  try {
    await run();
  } catch (error) {
    check(name, false, error.message.split("\n").slice(0, 4).join(" "));
  }
  console.log(`${name}: ${((Date.now() - begin) / 1000).toFixed(1)} s`);
}
await browser.close();
for (const line of failures) console.log(`FAILED ${line}`);
console.log(`${checks} checks, ${failures.length} failed`);
process.exit(failures.length > 0 ? 1 : 0);
