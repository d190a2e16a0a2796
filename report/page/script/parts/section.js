// What all parts of the page share: heading, cautions, and a line where a part is missing.
import { html } from "../elements.js";
import { told } from "../said.js";
import { has, say } from "../texts.js";

export function section(id, ...children) {
  return html("section", { id: `part-${id}`, "aria-labelledby": `head-${id}` },
    html("h2", { id: `head-${id}` }, say(`section.${id}`)), children);
}

export const sentence = (...parts) => html("p", { class: "sentence" }, parts.filter(Boolean).join(" "));

export function cautionsOf(report, ...parts) {
  return (report.cautions || []).filter((one) => parts.includes(one.part)).map((one) =>
    html("p", { class: "caution" }, html("strong", {}, `${say("caution")}: `), told(one.text)));
}

// What is lacking, and how to get it.
export function withRemedy(text, key) {
  const why = told(text);
  return [why && !/[.!?]$/.test(why) ? `${why}.` : why, has(`remedy.${key}`) ? say(`remedy.${key}`) : ""].filter(Boolean).join(" ");
}

// Why a part is not there, and how to get it.
export function missingPart(report, part) {
  const found = (report.missing || []).filter((one) => one.part === part);
  const texts = found.map((one) => withRemedy(one.text, one.key));
  return html("p", { class: "missing" }, html("strong", {}, `${say("not.here")}. `),
    texts.length > 0 ? texts.join(" ") : say("missing.plain"));
}

// The library's own words, which it has in English alone; what they mean for the lot is a caution.
export const failureText = (failure) => (failure && failure.message) || "";
