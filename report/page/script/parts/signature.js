// Lines to sign on.
import { html } from "../elements.js";
import { say } from "../texts.js";
import { section } from "./section.js";

export function signature(report) {
  const texts = report.texts || {};
  const block = (who, name) => html("div", { class: "sign" }, html("h3", {}, say(`sign.${who}`)),
    html("dl", {}, [["name", name], ["date", ""], ["signature", ""]].map(([key, text]) =>
      html("div", {}, html("dt", {}, say(`sign.${key}`)), html("dd", { class: text ? null : "blank" }, text || "\u00a0")))));
  return section("signature", html("div", { class: "pair" }, block("contractor", texts.contractor), block("inspector", texts.inspector)));
}
