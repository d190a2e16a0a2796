// What a run gave: the verdicts in words, the report itself, and files to save.
import { html } from "../../../report/page/script/elements.js";
import { bytes, say } from "./texts.js";

const signs = { met: "✓", missed: "✗", not_given: "○" };
let shownPage = null;

export function save(name, content, type) {
  const link = html("a", { href: URL.createObjectURL(new Blob([content], { type })), download: name });
  document.body.append(link);
  link.click();
  link.remove();
  setTimeout(() => URL.revokeObjectURL(link.href), 60000);
}

const textOf = (buffer) => new TextDecoder().decode(buffer);

function verdictsOf(report) {
  const all = report.verdicts ?? [];
  const number = (outcome) => all.filter((one) => one.outcome === outcome).length;
  const outcome = number("missed") > 0 ? "missed" : all.length > 0 && number("met") === all.length ? "met" : "not_given";
  return {
    summary: all.length === 0 ? say("verdicts.none") : say("verdicts.summary", { met: number("met"), missed: number("missed"), open: number("not_given") }),
    outcome,
    list: html("ul", { class: "verdicts" }, all.map((one) => html("li", { class: one.outcome },
      html("span", { class: "sign", "aria-hidden": "true" }, signs[one.outcome]), " ", say(`outcome.${one.outcome}`), ": ", say(`verdict.name.${one.key}`)))),
  };
}

const button = (label, onclick, main) => html("button", { type: "button", class: main ? "main" : null, onclick }, label);

function savings(files) {
  const tables = [...files].filter(([name]) => name.startsWith("tables/")).sort();
  return html("div", { class: "row", role: "group", "aria-label": say("save.label") },
    button(say("save.page"), () => save("report.html", files.get("report.html"), "text/html"), true),
    button(say("save.document"), () => save("report.json", files.get("report.json"), "application/json")),
    html("details", { class: "tables" }, html("summary", {}, say("save.tables")),
      html("ul", {}, tables.map(([name, content]) => {
        const file = name.slice("tables/".length);
        return html("li", {}, button(file, () => save(file, content, "text/csv")));
      }))));
}

// The report stands in a frame that may run its own script and save its figures, and nothing else.
function frameOf(page) {
  if (shownPage) URL.revokeObjectURL(shownPage);
  shownPage = URL.createObjectURL(new Blob([page], { type: "text/html" }));
  return html("iframe", { src: shownPage, title: say("report.title"), sandbox: "allow-scripts allow-downloads allow-modals", class: "report" });
}

export function messageBox(title, text) {
  return html("div", { class: "message", role: "alert" }, html("h3", {}, title), html("pre", { tabindex: "0" }, text));
}

export function resultSection(answer, isOld) {
  if (!answer) return null;
  if (answer.code !== 0)
    return html("section", { id: "part-result" }, html("h2", { tabindex: "-1" }, say("section.failed")), messageBox(say("program.says"), answer.errors.replace(/^qmx-ic: /gm, "")));
  const { summary, outcome, list } = verdictsOf(JSON.parse(textOf(answer.files.get("report.json"))));
  return html("section", { id: "part-result" },
    html("h2", { tabindex: "-1" }, say("section.result")),
    html("p", { class: "old", id: "old", hidden: !isOld }, say("result.old")),
    html("p", { class: `summary ${outcome}` }, summary), list,
    html("p", { class: "quiet", id: "took" }, say("result.took", { seconds: answer.seconds.toFixed(1), memory: bytes(answer.memory) })),
    answer.errors && messageBox(say("program.notes"), answer.errors),
    savings(answer.files), frameOf(answer.files.get("report.html")));
}
