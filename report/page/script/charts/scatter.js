// Spot tests against the roller's values, with line and confidence band.
import { axis, ink } from "../chart.js";
import { columnOf, count, number, say, withUnit } from "../texts.js";

export function scatter(spots, value) {
  const tests = (spots.tests || []).filter((test) => typeof test.value === "number" && typeof test.ic_mean === "number");
  if (tests.length === 0) return null;
  const unit = spots.units || {};
  const testName = (spots.test_columns && spots.test_columns.value && spots.test_columns.value.name) || say("spots.value");
  const line = spots.regression;
  const hasLine = line && typeof line.slope === "number" && typeof line.intercept === "number";
  const values = tests.map((test) => test.value);
  const ends = [Math.min(...values), Math.max(...values)];
  const margin = (ends[1] - ends[0]) * 0.05 || Math.abs(ends[0]) * 0.05 || 1;
  const points = tests.map((test) => ({
    x: test.value, y: test.ic_mean, used: test.state === "in_line",
    tip: [say("spots.test", { test: test.test }), `${testName}: ${withUnit(number(test.value), unit.value)}`,
          `${value.name}: ${withUnit(number(test.ic_mean), unit.ic_mean)}`,
          say("spots.values.number", { number: count(test.ic_values) })].join("\n"),
  }));
  const band = bandOf(spots.band);
  const across = columnOf(values), up = columnOf(points.map((point) => point.y));
  const series = [
    { key: "used", label: say("spots.in.line"), colour: ink.main, shape: "dot" },
    points.some((point) => !point.used) && { key: "unused", label: say("spots.not.in.line"), colour: ink.grey, shape: "ring" },
    hasLine && { key: "line", label: say("spots.line"), colour: ink.dark, shape: "line" },
    band.length > 0 && { key: "band", label: say("spots.band"), colour: ink.pale },
  ].filter(Boolean);
  const ys = [...points.map((point) => point.y), ...band.flatMap((row) => [row.lower, row.upper])];
  const spec = (shown) => ({
    height: 320,
    data: [{ name: "points", values: points.filter((point) => shown(point.used ? "used" : "unused")) },
           { name: "line", values: hasLine && shown("line") ? ends.map((x) => ({ x, y: line.intercept + line.slope * x })) : [] },
           { name: "band", values: shown("band") ? band : [] }],
    scales: [
      { name: "x", type: "linear", range: "width", zero: false, nice: true, domain: [ends[0] - margin, ends[1] + margin] },
      { name: "y", type: "linear", range: "height", zero: false, nice: true, domain: [Math.min(...ys), Math.max(...ys)] },
    ],
    axes: [axis("x", "bottom", withUnit(testName, unit.value ? `(${unit.value})` : "")),
           axis("y", "left", withUnit(value.name, value.unit ? `(${value.unit})` : ""), { tickCount: 6 })],
    marks: [
      { type: "area", clip: true, from: { data: "band" }, encode: { enter: {
        x: { scale: "x", field: "x" }, y: { scale: "y", field: "lower" }, y2: { scale: "y", field: "upper" },
        fill: { value: ink.pale }, fillOpacity: { value: 0.6 } } } },
      { type: "line", clip: true, from: { data: "line" }, encode: { enter: {
        x: { scale: "x", field: "x" }, y: { scale: "y", field: "y" }, stroke: { value: ink.dark }, strokeWidth: { value: 1.8 } } } },
      { type: "symbol", from: { data: "points" }, encode: { enter: {
        x: { scale: "x", field: "x" }, y: { scale: "y", field: "y" }, size: { value: 60 },
        fill: { signal: `datum.used ? '${ink.main}' : '#ffffff'` }, stroke: { signal: `datum.used ? '${ink.main}' : '${ink.grey}'` },
        strokeWidth: { value: 1.6 }, tooltip: { field: "tip" } } } },
    ],
  });
  return {
    id: "spots", title: say("spots.title", { value: value.name, test: testName }), series, spec,
    alt: say("spots.alt", { number: count(points.length), r: number(line && line.r), n: count(line && line.n) }),
    head: [testName, value.name, say("spots.used")],
    rows: () => points.map((point) => [{ number: across(point.x) }, { number: up(point.y) }, point.used ? say("yes") : say("no")]),
  };
}

// The limits stand in the document; without them no band is drawn.
function bandOf(band) {
  return (band || []).map((row) => ({ x: row.value, lower: row.lower, upper: row.upper }))
    .filter((row) => [row.x, row.lower, row.upper].every((number) => typeof number === "number"));
}
