// The page that computes: files in, a report out, by the program itself.
import { html } from "../../../report/page/script/elements.js";
import { filesSection, takeDrops } from "./files.js";
import { jobText } from "./job.js";
import { messageBox, resultSection, save } from "./result.js";
import { cancel, run } from "./runs.js";
import { settingsSection } from "./settings.js";
import { memoryOf, mostRows, rowsOf } from "./sizes.js";
import { addFile, filesOfRole, loadJob, missingFiles, state, valueOf, wholeSettings } from "./state.js";
import { bytes, count, currentLanguage, languages, progressText, say, setLanguage } from "./texts.js";

const jobName = "job.toml";
let busy = null; // "columns" or "report" while the program runs
let answer = null, isOld = false; // the last report, and whether settings have changed since
let notice = null, rows = 0; // what is wrong before a run; about so many rows
let recognition = 0; // the last looking at columns that was begun

const isTooBig = () => rows > mostRows;
const hasPoints = () => filesOfRole("points").length > 0;

// --- what stands on the page --------------------------------------------------------------------------

function head() {
  return html("header", {},
    html("div", { class: "titlerow" },
      html("div", { class: "titles" }, html("h1", {}, say("page.title")), html("p", { class: "quiet" }, say("page.about"))),
      html("div", { class: "chooser", role: "group", "aria-label": say("language") }, Object.entries(languages).map(([name, label]) =>
        html("button", { type: "button", lang: name, "aria-pressed": String(name === currentLanguage()), onclick: () => chooseLanguage(name) }, label)))));
}

function runRow() {
  const isReport = busy === "report";
  return html("div", { class: "run", id: "part-run" },
    html("div", { class: "row" },
      html("button", { type: "button", id: "make", class: "main", disabled: !hasPoints() || busy === "report" || isTooBig(), onclick: makeReport }, say("run.make")),
      html("button", { type: "button", id: "cancel", hidden: !isReport, onclick: callOff }, say("run.cancel")),
      html("button", { type: "button", id: "save-job", disabled: !hasPoints(), onclick: () => save(jobName, jobText(wholeSettings()), "application/toml") }, say("job.save")),
      hasPoints() && rows > 0 && html("span", { class: "quiet", id: "size" }, say("size.about", { rows: count(Number(rows.toPrecision(2))), memory: bytes(memoryOf(rows)) }))),
    html("div", { class: "progress", id: "progress", hidden: busy === null }, html("progress", { max: "1", "aria-label": say("run.progress") }), html("span", { id: "progress-text" }, "")));
}

function warnings() {
  const list = [];
  if (isTooBig()) list.push(html("p", { class: "caution", role: "alert", id: "too-big" }, say("size.too.big", { rows: count(Number(rows.toPrecision(2))), most: count(mostRows) }), " ", html("code", {}, `qmx-ic report --job ${jobName}`)));
  const missing = missingFiles();
  if (missing.length > 0) list.push(html("p", { class: "caution", id: "missing" }, say("files.missing", { names: missing.join(", ") })));
  if (notice) list.push(messageBox(say("program.says"), notice));
  return list;
}

const parts = {
  head, warnings, run: runRow,
  files: () => filesSection(take, () => filesChanged()),
  settings: () => settingsSection(settingChanged),
  result: () => resultSection(answer, isOld),
};

// What had the focus keeps it: everything that can have it is known by its name or its words.
function draw(...names) {
  const active = document.activeElement;
  const before = active && active !== document.body ? active.id || active.getAttribute("aria-label") : null;
  for (const name of names) document.getElementById(`place-${name}`).replaceChildren(...[parts[name]()].flat().filter(Boolean));
  if (before && document.activeElement === document.body)
    (document.getElementById(before) ?? document.querySelector(`[aria-label="${CSS.escape(before)}"]`))?.focus();
}

const announce = (text) => { document.getElementById("status").textContent = text; };

function chooseLanguage(name) {
  setLanguage(name);
  document.documentElement.lang = currentLanguage();
  document.title = say("page.title");
  draw("head", "files", "warnings", "settings", "run");
  if (answer) draw("result");
}

// --- what the user does -------------------------------------------------------------------------------

async function take(files) {
  notice = null;
  for (const file of files) {
    if (/\.toml$/i.test(file.name)) {
      try {
        loadJob(await file.text());
        announce(say("job.loaded", { name: file.name }));
      } catch (error) {
        notice = `${file.name}: ${error.message}`;
      }
    } else {
      addFile(file);
    }
  }
  await filesChanged();
}

async function filesChanged() {
  old();
  const sizes = await Promise.all(filesOfRole("points").map((file) => rowsOf(file.blob)));
  rows = sizes.reduce((sum, one) => sum + one, 0);
  state.columns = state.proposal = null;
  draw("files", "warnings", "settings", "run");
  await lookAtColumns();
}

const readingKeys = new Set(["input", "columns"]);

function settingChanged(table) {
  old();
  if (table === "input") lookAtColumns();
  else if (readingKeys.has(table)) draw("settings");
}

function old() {
  isOld = answer !== null;
  const mark = document.getElementById("old");
  if (mark) mark.hidden = !isOld;
}

// --- runs of the program ------------------------------------------------------------------------------

function begin(what) {
  busy = what;
  draw("run");
}

function shown(words) {
  const { text, share } = progressText(words);
  if (text === "") return;
  document.getElementById("progress-text").textContent = text;
  const bar = document.querySelector("#progress progress");
  if (share === null) bar.removeAttribute("value");
  else bar.value = share;
}

const given = () => state.files.filter((file) => file.role !== "unused").map(({ name, blob }) => ({ name, blob }));

// Only the start of a text is looked at, cut behind a line: enough to know its columns.
const enough = 4e6;
async function startOf(file) {
  if (file.blob.size <= enough || /\.gz$/i.test(file.name)) return file.blob;
  const piece = new Uint8Array(await file.blob.slice(0, enough).arrayBuffer());
  return file.blob.slice(0, Math.max(piece.lastIndexOf(0x0a), piece.lastIndexOf(0x0d)) + 1 || enough);
}

function readingOptions() {
  const options = [];
  const add = (name, value) => value !== undefined && options.push(name, String(value));
  add("--decimal", valueOf("input", "decimal"));
  add("--header-line", valueOf("input", "header_line"));
  add("--comment", valueOf("input", "comment"));
  for (const text of [valueOf("input", "missing") ?? []].flat()) add("--missing", text);
  return options;
}

async function lookAtColumns() {
  const mine = ++recognition;
  if (!hasPoints() || busy === "report") return;
  const files = await Promise.all(filesOfRole("points").map(async (file) => ({ name: file.name, blob: await startOf(file) })));
  if (mine !== recognition) return;
  begin("columns");
  const names = files.map((file) => file.name);
  const ask = (args) => run({ args: [...args, ...readingOptions(), "--", ...names], files, texts: [] }, shown);
  const columns = await ask(["columns", "--json"]);
  const proposal = columns && columns.code === 0 ? await ask(["init", "--output", "-"]) : null;
  if (mine !== recognition || columns === null) return;
  busy = null;
  notice = columns.code === 0 ? null : columns.errors.replace(/^qmx-ic: /gm, "");
  state.columns = columns.code === 0 ? JSON.parse(columns.output) : null;
  state.proposal = proposal && proposal.code === 0 ? proposalOf(proposal.output) : null;
  draw("warnings", "settings", "run");
  if (columns.code === 0) announce(say("columns.done"));
}

// The program proposes a job file. Of it the columns are taken: all else the user says.
function proposalOf(text) {
  const columns = {};
  const [, table = ""] = /\n\[columns\]\n([^]*?)\n\[/.exec(text) ?? [];
  for (const [, key, name] of table.matchAll(/^(\w+) = (".*")$/gm)) {
    try {
      columns[key] = JSON.parse(name);
    } catch {
      // a name that is written otherwise is not shown
    }
  }
  return { columns };
}

async function makeReport() {
  ++recognition;
  notice = null;
  const settings = wholeSettings();
  (settings.output ??= {}).language ??= currentLanguage();
  begin("report");
  draw("warnings");
  document.getElementById("cancel").focus();
  announce(say("run.begun"));
  const start = performance.now();
  const done = await run({
    args: ["report", "--job", jobName, "-o", "report.html", "--document", "report.json", "--tables", "tables"],
    files: given(), texts: [{ name: jobName, text: jobText(settings) }],
  }, shown);
  busy = null;
  if (done === null) {
    draw("run");
    announce(say("run.cancelled"));
    document.getElementById("make").focus();
    return;
  }
  answer = { ...done, seconds: (performance.now() - start) / 1000 };
  isOld = false;
  draw("run", "result");
  const title = document.querySelector("#part-result h2");
  title.focus();
  title.scrollIntoView({ block: "start" });
  announce(done.code === 0 ? `${say("section.result")}. ${document.querySelector("#part-result .summary").textContent}` : say("section.failed"));
  if (state.columns === null) lookAtColumns();
}

function callOff() {
  cancel();
}

setLanguage((navigator.language || "en").slice(0, 2));
document.documentElement.lang = currentLanguage();
document.title = say("page.title");
takeDrops(take);
draw("head", "files", "warnings", "settings", "run");
