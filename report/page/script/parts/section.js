// What all parts of the page share: heading, cautions, and a line where a part is missing.
import { html } from "../elements.js";
import { has, say, sayOrKeep } from "../texts.js";

export function section(id, ...children) {
  return html("section", { id: `part-${id}`, "aria-labelledby": `head-${id}` },
    html("h2", { id: `head-${id}` }, say(`section.${id}`)), children);
}

export const sentence = (...parts) => html("p", { class: "sentence" }, parts.filter(Boolean).join(" "));

export function cautionsOf(report, ...parts) {
  return (report.cautions || []).filter((one) => parts.includes(one.part)).map((one) =>
    html("p", { class: "caution" }, html("strong", {}, `${say("caution")}: `), sayOrKeep(has(`caution.${one.part}.${one.key}`) ? `caution.${one.part}.${one.key}` : `caution.${one.key}`, one.text, one.numbers || [])));
}

// Why a part is not there, and how to get it.
export function missingPart(report, part) {
  const found = (report.missing || []).filter((one) => one.part === part);
  const sentenceOf = (text) => (/[.!?]$/.test(text) ? text : `${text}.`);
  const texts = found.map((one) => [sentenceOf(sayOrKeep(`missing.${one.key}`, one.text)), has(`remedy.${one.key}`) ? say(`remedy.${one.key}`) : ""].join(" "));
  return html("p", { class: "missing" }, html("strong", {}, `${say("not.here")}. `),
    texts.length > 0 ? texts.join(" ") : say("missing.plain"));
}

export const failureText = (failure) =>
  failure && typeof failure === "object" ? failure.message || failure.text || "" : String(failure || "");
