// What the data are, and how they were read.
import { html, table, unfolding } from "../elements.js";
import { told } from "../said.js";
import { count, has, number, say, withUnit } from "../texts.js";
import { timeText } from "./head.js";
import { cautionsOf, section, sentence } from "./section.js";

const facts = (caption, rows) => table(caption, null, rows.filter(Boolean), { class: "facts" });

function inputs(report) {
  const rows = (report.inputs || []).map((one) => [
    has(`role.${one.role}`) ? say(`role.${one.role}`) : one.role, one.file, { number: count(one.bytes) }, html("code", {}, one.sha256 || "–")]);
  return rows.length === 0 ? null
    : table(say("data.inputs"), [say("data.role"), say("data.file"), say("data.bytes"), say("data.hash")], rows, { class: "inputs", showCaption: true });
}

function fates(input) {
  const keys = ["rows_read", "rows_used", "rows_of_earlier_passes", "rows_left_out_by_filter", "rows_without_position", "rows_left_without_position", "rows_dropped"];
  const rows = keys.filter((key) => typeof input[key] === "number" && (input[key] > 0 || /read|used|dropped/.test(key)))
    .map((key) => [say(`data.${key}`), { number: count(input[key]) }]);
  return table(say("data.rows"), [say("data.fate"), say("data.rows")], rows, { showCaption: true, class: "narrow" });
}

function dropped(input) {
  const rows = (input.dropped || []).map((one) => [told(one.text, "dropped") || one.reason, { number: count(one.count) }, { number: count(one.first_line) },
    [one.column, one.column ? one.value : told(one.value, "example")].filter((part) => part !== null && part !== undefined && part !== "").join(": ")]);
  return rows.length === 0 ? null
    : table(say("data.dropped"), [say("data.reason"), say("data.rows"), say("data.first.line"), say("data.example")], rows, { showCaption: true });
}

const named = (list) => (list && list.length > 0
  ? list.map((one) => `${one.name} (${say("rows.number", { number: count(one.rows) })})`).join(", ") : say("data.unknown"));

function aboutLot(report) {
  const data = report.data || {}, input = report.input || {}, cells = report.cells, time = data.time;
  const extent = data.extent;
  const columns = Object.entries(report.columns || {}).filter(([, one]) => one && one.name)
    .map(([key, one]) => `${has(`column.${key}`) ? say(`column.${key}`) : key}: ${withUnit(one.name, one.unit ? `(${one.unit})` : "")}`);
  return facts(say("data.is"), [
    [say("data.time"), time && time.first
      ? `${timeText(time.first)} – ${timeText(time.last)}${time.unreadable ? ` (${say("data.unreadable", { number: count(time.unreadable) })})` : ""}` : say("data.unknown")],
    [say("data.machines"), named(data.machines)],
    [say("data.lifts"), named(data.lifts)],
    [say("data.directions"), named(data.directions)],
    [say("data.vibration"), named(data.vibration)],
    cells && [say("cells"), say("data.cells", { count: count(cells.count), several: count(cells.with_several_records), most: count(cells.most_records) })
      + (cells.finished_layer ? `; ${say("data.finished")}` : `; ${say("data.all.records")}`)],
    [say("data.coordinate_system"), data.coordinate_system || input.coordinate_system || say("data.unknown.system")],
    [say("data.length_unit"), data.length_unit || say("data.unknown")],
    extent && typeof extent.x_least === "number" && [say("data.extent"),
      `${number(extent.x_least, 10)} – ${number(extent.x_most, 10)} / ${number(extent.y_least, 10)} – ${number(extent.y_most, 10)}`],
    columns.length > 0 && [say("data.columns"), columns.join("; ")],
    input.format && [say("data.format"), [input.format, input.decimal_mark && `"${input.decimal_mark}"`].filter(Boolean).join(", ")],
    [say("data.version"), report.program || "–"],
  ]);
}

function settings(report) {
  const given = report.settings || {};
  const plain = (key, text) => (text === null || text === undefined || text === "" ? null : [say(`setting.${key}`), text]);
  const numeric = (key, unit) => plain(key, typeof given[key] === "number" ? withUnit(number(given[key], 6), unit) : null);
  const data = report.data || {}, value = data.value || {};
  // Of these filters the text is ours, of the others it is made of names and expressions.
  const isOurs = (one) => ["time", "vibration", "direction", "speed", "value"].includes(one.what);
  const filters = (given.filters || []).map((one) =>
    `${told(one.what, "filter.what")}: ${isOurs(one) ? told(one.text, "range") : one.text}${typeof one.rows === "number" ? ` (${say("filter.rows", { number: count(one.rows + (one.lacking || 0)) })})` : ""}`);
  return facts(say("section.settings"), [
    plain("job_file", given.job_file), plain("preset", given.preset), numeric("target", value.unit),
    typeof given.target === "number" && given.below === true ? [say("setting.below"), say("yes")] : null,
    numeric("minimum", value.unit),
    typeof given.target_passes === "number" && [say("setting.target_passes"),
      `${count(given.target_passes)}${given.target_passes_from ? ` (${told(given.target_passes_from, "from")})` : ""}`],
    numeric("radius", data.length_unit), numeric("window", data.length_unit), numeric("lag", data.length_unit), numeric("lags"),
    [say("setting.filters"), filters.length > 0 ? filters.join("; ") : say("none")],
    [say("setting.thresholds"), (given.thresholds || []).map((one) => `${one.key} = ${number(one.value, 6)}`).join(", ") || say("none")],
  ]);
}

function ranges(report) {
  const rows = ((report.data || {}).ranges || []).map((one) => [withUnit(one.column || one.trait, one.unit ? `(${one.unit})` : ""),
    { number: number(one.least) }, { number: number(one.mean) }, { number: number(one.most) }, { number: count(one.count) }]);
  return rows.length === 0 ? null : unfolding(say("data.ranges.caption"), () =>
    table(say("data.ranges.caption"), [say("data.what"), say("data.least"), say("mean"), say("data.most"), say("data.count")], rows));
}

export function data(report) {
  const input = report.input || {};
  return section("data",
    typeof input.rows_read === "number" ? sentence(say("data.sentence", {
      read: count(input.rows_read), used: count(input.rows_used), dropped: count(input.rows_dropped) })) : null,
    cautionsOf(report, "data", "cells", "input"),
    inputs(report),
    html("div", { class: "pair" }, fates(input), dropped(input)),
    html("h3", {}, say("data.is")), aboutLot(report), ranges(report),
    html("h3", {}, say("section.settings")), settings(report));
}
