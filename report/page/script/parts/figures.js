// The parts with charts: each says in a sentence what its figure says of this lot.
import { chartFigure } from "../chart.js";
import { along } from "../charts/along.js";
import { coverageBins, passCounts } from "../charts/bars.js";
import { growth } from "../charts/growth.js";
import { histogram } from "../charts/histogram.js";
import { variogram } from "../charts/variogram.js";
import { html, table } from "../elements.js";
import { told } from "../said.js";
import { beside, count, fixed, has, number, percent, say, withUnit } from "../texts.js";
import { cautionsOf, failureText, missingPart, section, sentence } from "./section.js";

const drawn = (chart) => (chart ? chartFigure(chart) : null);
const isNumber = (value) => typeof value === "number";

export function coverage(report) {
  const part = report.coverage;
  if (!part) return section("coverage", missingPart(report, "coverage"), cautionsOf(report, "coverage"));
  const unit = part.units && part.units.area, target = part.target;
  const area = withUnit(number(part.plan_area), unit);
  const rest = part.not_covered;
  const all = part.all_bins;
  return section("coverage",
    sentence(
      target && isNumber(target.achieved_percent) ? say("coverage.sentence", {
        share: withUnit(beside(target.achieved_percent, target.required_percent), "%"), area, passes: count(target.passes), required: withUnit(number(target.required_percent), "%") })
        : all && isNumber(all.coverage_percent) ? say("coverage.sentence.plain", { share: percent(all.coverage_percent), area }) : "",
      rest && rest.percent > 0.05 ? say("coverage.rest", { area: withUnit(number(rest.area), unit), share: percent(rest.percent) }) : ""),
    cautionsOf(report, "coverage"), drawn(coverageBins(part)));
}

export function passes(report) {
  const counts = report.pass_counts || [];
  if (counts.length === 0) return section("pass_counts", missingPart(report, "pass_counts"), cautionsOf(report, "pass_counts"));
  const target = report.settings && report.settings.target_passes;
  const enough = counts.filter((row) => row.passes >= target).reduce((sum, row) => sum + row.percent, 0);
  return section("pass_counts",
    sentence(isNumber(target) ? say("passes.sentence", { share: percent(enough), passes: count(target) })
      : counts.length === 1 ? say("passes.sentence.one", { passes: count(counts[0].passes) })
        : say("passes.sentence.plain", { least: count(counts[0].passes), most: count(counts[counts.length - 1].passes) })),
    cautionsOf(report, "pass_counts"), drawn(passCounts(counts, target)));
}

function statisticsTable(stats, value) {
  const order = ["count", "mean", "standard_deviation", "coefficient_of_variation", "variance", "skewness", "excess_kurtosis", "minimum", "maximum", "range",
                 "mean_lower_95", "mean_upper_95", "variance_lower_95", "variance_upper_95"];
  const all = stats.statistics || {};
  const units = stats.units || {};
  const rows = order.filter((key) => isNumber(all[key])).map((key) => [
    say(has(`stats.${key}`) ? `stats.${key}` : key),
    { number: key === "count" ? count(all[key]) : key === "coefficient_of_variation" ? percent(100 * all[key], 2) : withUnit(number(all[key], 5), units[key]) }]);
  const shares = (stats.quantiles || []).map((one) => [
    say("stats.quantile", { percent: number(one.percent) }), { number: withUnit(number(one.value, 5), value.unit) }]);
  const tableOf = (key, list) => (list.length > 0 ? table(say(key), [say("stats.quantity"), value.name], list, { showCaption: true }) : null);
  const half = Math.ceil((rows.length + shares.length) / 2);
  return html("div", { class: "pair" }, tableOf("stats.table", rows.slice(0, half)),
    html("div", {}, tableOf("stats.table.limits", rows.slice(half)), tableOf("stats.table.quantiles", shares)));
}

export function statistics(report, value) {
  const stats = report.stats;
  if (!stats || !stats.statistics) return section("stats", missingPart(report, "stats"), cautionsOf(report, "stats"));
  const all = stats.statistics, target = stats.target;
  const quantile = (share) => (stats.quantiles || []).find((one) => one.percent === share);
  const low = quantile(10), high = quantile(90);
  const inUnit = (text) => withUnit(text, value.unit);
  const side = target && /below/.test(target.side || "") ? "stats.at_or_below" : "stats.at_or_above";
  const constant = isNumber(all.minimum) && all.minimum === all.maximum;
  return section("stats",
    sentence(
      low && high ? say("stats.sentence", { count: count(all.count), mean: inUnit(number(all.mean)), low: number(low.value), high: inUnit(number(high.value)) })
        : say("stats.sentence.plain", { count: count(all.count), mean: inUnit(number(all.mean)) }),
      target && isNumber(target.counted_percent) ? say(side, {
        counted: count(target.counted), count: count(all.count), share: withUnit(beside(target.counted_percent, target.required_percent), "%"), target: inUnit(number(target.value)) })
        : say("stats.no.target"),
      constant ? say("stats.constant", { value: inUnit(number(all.minimum)) }) : ""),
    cautionsOf(report, "stats"), drawn(histogram(stats, value)), statisticsTable(stats, value));
}

export function curve(report, value) {
  const part = report.curve;
  if (!part) return section("curve", missingPart(report, "curve"), cautionsOf(report, "curve"));
  const end = part.growth, fit = part.curve;
  return section("curve",
    sentence(
      end && isNumber(end.pass) ? say("curve.sentence", { pass: count(end.pass), limit: percent(end.limit_percent, 0) })
        : end && isNumber(end.limit_percent) && (part.passes || []).length > 1 ? say("curve.growing", { limit: percent(end.limit_percent, 0) }) : "",
      fit && isNumber(fit.r_squared_percent) ? say("curve.fit", { degree: count(fit.degree), share: percent(fit.r_squared_percent) }) : "",
      failureText(part.failure) ? say("curve.failed", { why: failureText(part.failure) }) : ""),
    cautionsOf(report, "curve"), drawn(growth(part, value)));
}

export function semivariogram(report) {
  const part = report.semivariogram;
  if (!part) return section("semivariogram", missingPart(report, "semivariogram"), cautionsOf(report, "semivariogram"));
  const unit = part.units && part.units.distance, reading = part.reading, model = part.model;
  return section("semivariogram",
    sentence(
      model && (model.practical_range_on_bound || model.sill_on_bound) ? say("variogram.bound")
        : reading && reading.flattens !== false && isNumber(reading.range) ? say("variogram.sentence", { range: withUnit(number(reading.range), unit), sill: number(reading.sill) })
        : reading ? say("variogram.rising", { distance: withUnit(number(part.settings && part.settings.cut_off), unit) }) : "",
      model && model.kind ? say("variogram.kind", { kind: has(`model.${model.kind}`) ? say(`model.${model.kind}`) : model.kind }) : "",
      failureText(part.failure) ? say("variogram.failed", { why: failureText(part.failure) }) : ""),
    cautionsOf(report, "semivariogram"), drawn(variogram(part)));
}

export function uniformity(report) {
  const part = report.uniformity;
  if (!part) return section("uniformity", missingPart(report, "uniformity"), cautionsOf(report, "uniformity"));
  const unit = (report.data || {}).length_unit;
  const rows = [
    isNumber(part.coefficient_of_variation) && [say("stats.coefficient_of_variation"), { number: percent(100 * part.coefficient_of_variation, 2) }],
    isNumber(part.sill) && [say("uniformity.sill"), { number: number(part.sill) }],
    isNumber(part.range) && [say("uniformity.range"), { number: withUnit(number(part.range), unit) }],
    isNumber(part.nugget) && [say("uniformity.nugget"), { number: number(part.nugget) }],
    part.model && [say("uniformity.model"), { number: has(`model.${part.model}`) ? say(`model.${part.model}`) : part.model }],
  ].filter(Boolean);
  return section("uniformity",
    isNumber(part.coefficient_of_variation) ? sentence(say("uniformity.sentence", { cv: percent(100 * part.coefficient_of_variation) })) : null,
    cautionsOf(report, "uniformity"),
    rows.length > 0 ? table(say("uniformity.table"), [say("stats.quantity"), say("data.is")], rows, { class: "narrow" }) : missingPart(report, "uniformity"));
}

function weakSentence(road, value, unit) {
  const what = road.weak_by === "mean" ? "mean" : "share";
  const values = {
    what: say(`road.what.${what}`), window: withUnit(number(road.window), unit),
    below: what === "share" ? withUnit(number(road.weak_below), "%") : withUnit(number(road.weak_below), value.unit),
  };
  const weak = road.weak || [];
  if (weak.length === 0) return isNumber(road.weak_below) ? say("road.sentence.none", values) : "";
  const named = weak.slice(0, 8).map((row) => `${number(row.from, 6)}–${withUnit(number(row.to, 6), unit)}`);
  if (weak.length > 8) named.push(say("road.more", { number: count(weak.length - 8) }));
  return say(weak.length === 1 ? "road.sentence.one" : "road.sentence.weak", { ...values, number: count(weak.length), list: named.join(", ") });
}

export function road(report, value, unit) {
  const part = report.road;
  if (!part || !(part.stations || []).length) return section("road", missingPart(report, "road"), cautionsOf(report, "road"));
  const weak = part.weak || [];
  const target = report.settings && report.settings.target;
  const head = [say("chart.from"), say("chart.to"), say("cells"), say("mean"), say("road.share.axis"), say("road.lowest")];
  return section("road", sentence(weakSentence(part, value, unit)), cautionsOf(report, "road"),
    drawn(along(part, value, "mean", unit, target)), drawn(along(part, value, "share", unit, target)),
    weak.length > 0 ? table(say("road.weak.table"), head, weak.map((row) => [
      { number: withUnit(number(row.from, 6), unit) }, { number: withUnit(number(row.to, 6), unit) }, { number: count(row.cells) },
      { number: number(row.mean) }, { number: fixed(row.share_percent, 1) }, { number: number(row.lowest) }]), { showCaption: true }) : null);
}

export const notes = (report) => {
  const all = [...new Set(report.notes || [])];
  return section("notes", all.length === 0 ? html("p", {}, say("notes.none"))
    : html("ul", {}, all.map((text) => html("li", {}, told(text)))));
};
