// Spot tests: scatter, line, and the table.
import { chartFigure } from "../chart.js";
import { scatter } from "../charts/scatter.js";
import { table, unfolding } from "../elements.js";
import { told } from "../said.js";
import { columnOf, count, fixed, has, number, percent, say, withUnit } from "../texts.js";
import { cautionsOf, failureText, missingPart, section, sentence } from "./section.js";

function testsTable(part) {
  const columns = Object.fromEntries(["value", "ic_mean", "predicted_ic_mean"].map((key) => [key, columnOf((part.tests || []).map((test) => test[key]))]));
  const rows = (part.tests || []).map((test) => ({
    class: test.state === "in_line" ? null : "aside",
    cells: [
      String(test.test), { number: count(test.pass) }, { number: columns.value(test.value) }, { number: count(test.ic_values) },
      { number: columns.ic_mean(test.ic_mean) }, { number: fixed(test.ic_cv_percent, 1) }, { number: columns.predicted_ic_mean(test.predicted_ic_mean) },
      told(test.remark) || (has(`spots.state.${test.state}`) ? say(`spots.state.${test.state}`) : test.state || ""),
    ],
  }));
  const head = ["test", "pass", "value", "ic_values", "ic_mean", "ic_cv_percent", "predicted_ic_mean", "state"].map((key) => say(`spots.column.${key}`));
  const unit = part.units && part.units.value;
  if (unit) head[2] = `${head[2]} (${unit})`;
  const radius = withUnit(number(part.radius), part.units && part.units.radius);
  const make = () => table(say("spots.table", { radius }), head, rows, { showCaption: true });
  if (rows.length > 100) return unfolding(say("spots.table", { radius }), make);
  return rows.length > 0 ? make() : null;
}

export function spots(report, value) {
  const part = report.spots;
  if (!part) return section("spots", missingPart(report, "spots"), cautionsOf(report, "spots"));
  const line = part.regression;
  const hasLine = line && typeof line.slope === "number";
  const chart = scatter(part, value);
  const drawsBand = chart && chart.series.some((one) => one.key === "band");
  const judged = hasLine && typeof line.supported === "boolean";
  return section("spots",
    sentence(
      hasLine ? say("spots.sentence", {
        r: fixed(line.r, 3), r2: percent(line.r_squared_percent), n: count(line.n), intercept: number(line.intercept), slope: number(line.slope) }) : "",
      judged ? say(line.supported ? "spots.supported" : "spots.unsupported", { r: number(line.least_r), n: count(line.least_n) }) : "",
      failureText(part.failure) ? say("spots.failed", { why: failureText(part.failure) }) : "",
      hasLine && !drawsBand ? say("spots.no.band") : ""),
    cautionsOf(report, "spots"), chart ? chartFigure(chart) : null, testsTable(part));
}
