// Verdicts first: each against its threshold, with the rule and where to change it.
import { html, table } from "../elements.js";
import { told } from "../said.js";
import { beside, has, number, say, withUnit } from "../texts.js";
import { cautionsOf, section, withRemedy } from "./section.js";

const marks = { met: "✓", missed: "✗", not_given: "○" };

const nameOf = (verdict) => (has(`verdict.name.${verdict.key}`) ? say(`verdict.name.${verdict.key}`) : verdict.key);

const basisOf = (verdict) =>
  (verdict.outcome === "not_given" ? withRemedy(verdict.reason, verdict.reason_key) : told(verdict.basis));

function rowOf(verdict) {
  const threshold = verdict.threshold || {};
  const unit = verdict.unit || "";
  const limit = withUnit(number(threshold.value, 6), unit);
  const measured = withUnit(beside(verdict.measured, threshold.value, unit === "%" ? 1 : 3), unit);
  const outcome = verdict.outcome in marks ? verdict.outcome : "not_given";
  return {
    class: `verdict ${outcome}`,
    cells: [
      html("span", { class: `mark ${outcome}` }, html("span", { class: "sign", "aria-hidden": "true" }, marks[outcome]), say(`outcome.${outcome}`)),
      nameOf(verdict),
      say(verdict.at_least === false ? "verdict.at.most" : "verdict.at.least", { value: limit }),
      html("span", { class: "measured" }, measured),
      basisOf(verdict),
      html("span", { class: "where" }, threshold.rule || say("verdict.by.user"), threshold.from ? ` (${told(threshold.from, "from")})` : "",
        html("br"), html("code", {}, threshold.key || "")),
    ],
  };
}

export function verdicts(report) {
  const all = report.verdicts || [];
  if (all.length === 0) return section("verdicts", html("p", { class: "missing" }, say("verdict.none")), cautionsOf(report, "verdicts"));
  const number_ = (outcome) => all.filter((one) => one.outcome === outcome).length;
  const met = number_("met"), missed = number_("missed");
  const summary = met === all.length ? say("verdict.summary.met", { number: met })
    : say("verdict.summary", { met, missed, open: all.length - met - missed });
  const head = ["result", "asked", "threshold", "measured", "basis", "rule"].map((key) => say(`verdict.${key}`));
  return section("verdicts",
    html("p", { class: `summary ${missed > 0 ? "missed" : met === all.length ? "met" : "not_given"}` }, summary),
    table(say("section.verdicts"), head, all.map(rowOf), { class: "verdicts" }),
    html("p", { class: "where" }, say("verdict.change"), " ", html("code", {}, "[thresholds]"), ", ", html("code", {}, "--threshold KEY=NUMBER")), cautionsOf(report, "verdicts"));
}
