// Title, fields, and the choice of the language.
import { html } from "../elements.js";
import { currentLanguage, languages, say } from "../texts.js";

export const titleOf = (report) => report.title || (report.texts && report.texts.title) || say("page.title");

export function head(report, logo, contents, changeLanguage) {
  const texts = report.texts || {};
  const field = (key, value) => html("div", {}, html("dt", {}, say(`field.${key}`)), html("dd", { class: value ? null : "blank" }, value || "\u00a0"));
  return html("header", {},
    html("div", { class: "titlerow" },
      logo ? html("img", { class: "logo", src: logo, alt: say("logo") }) : null,
      html("div", { class: "titles" },
        html("p", { class: "kind" }, titleOf(report) === say("page.title") ? "" : say("page.title")),
        html("h1", {}, titleOf(report))),
      html("div", { class: "chooser", role: "group", "aria-label": say("language") },
        Object.entries(languages).map(([code, name]) => html("button", {
          type: "button", lang: code, "aria-pressed": String(code === currentLanguage()), onclick: () => changeLanguage(code),
        }, name)),
        html("button", { type: "button", onclick: () => window.print() }, say("print")))),
    html("dl", { class: "fields" },
      ["project", "lot", "contractor", "inspector"].map((key) => field(key, texts[key])),
      field("time", timeText(report.time_stamp)), texts.remarks ? field("remarks", texts.remarks) : null),
    html("nav", { "aria-label": say("contents") }, html("ul", {}, contents.map((id) =>
      html("li", {}, html("a", { href: `#part-${id}` }, say(`section.${id}`)))))));
}

// As it was written, only easier to read.
export const timeText = (stamp) => (stamp ? String(stamp).replace("T", " ").replace(/Z$/, " UTC") : "");
