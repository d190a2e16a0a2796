// The compaction curve: mean by pass, the fitted curve, and where growth ends.
import { axis, ink } from "../chart.js";
import { columnOf, count, fixed, number, percent, say, withUnit } from "../texts.js";
import { targetRule } from "./histogram.js";

export function growth(curve, value) {
  const passes = (curve.passes || []).filter((row) => typeof row.mean === "number");
  if (passes.length === 0) return null;
  const name = withUnit(value.name, value.unit ? `(${value.unit})` : "");
  const points = passes.map((row) => ({
    pass: row.pass, mean: row.mean, used: row.in_curve !== false,
    low: row.mean - (row.standard_deviation || 0), high: row.mean + (row.standard_deviation || 0),
    tip: [say("growth.pass", { pass: count(row.pass) }), `${say("mean")} ${number(row.mean)}`,
          `${say("standard_deviation")} ${number(row.standard_deviation)}`,
          say("cells.number", { number: count(row.points) }),
          row.growth_percent === null || row.growth_percent === undefined ? "" : `${say("growth.growth")} ${percent(row.growth_percent)}`,
         ].filter(Boolean).join("\n"),
  }));
  const fitted = curve.curve && Array.isArray(curve.curve.pass)
    ? curve.curve.pass.map((pass, index) => ({ pass, value: curve.curve.value[index] })).filter((row) => typeof row.value === "number")
    : [];
  const end = curve.growth && curve.growth.pass;
  const mean = columnOf(passes.map((row) => row.mean));
  const series = [
    { key: "points", label: say("growth.points"), colour: ink.main, shape: "dot" },
    { key: "spread", label: say("growth.spread"), colour: ink.pale },
    fitted.length > 0 && { key: "fitted", label: say("growth.fitted"), colour: ink.dark, shape: "line" },
    end && { key: "end", label: say("growth.end"), colour: ink.accent, shape: "dashed" },
  ].filter(Boolean);
  const spec = (shown) => ({
    height: 280,
    data: [{ name: "points", values: shown("points") ? points : [] },
           { name: "spread", values: shown("spread") ? points : [] },
           { name: "fitted", values: shown("fitted") ? fitted : [] },
           { name: "target", values: end && shown("end") ? [{ value: end }] : [] }],
    scales: [
      { name: "x", type: "linear", range: "width", zero: false, nice: false,
        domain: [points[0].pass - 0.5, points[points.length - 1].pass + 0.5] },
      { name: "y", type: "linear", range: "height", zero: false, nice: true,
        domain: [Math.min(...points.map((p) => p.low)), Math.max(...points.map((p) => p.high))] },
    ],
    axes: [axis("x", "bottom", say("growth.axis"), { tickMinStep: 1, format: "d", grid: false }), axis("y", "left", name, { tickCount: 6 })],
    marks: [
      { type: "rule", from: { data: "spread" }, encode: { enter: {
        x: { scale: "x", field: "pass" }, y: { scale: "y", field: "low" }, y2: { scale: "y", field: "high" },
        stroke: { value: ink.pale }, strokeWidth: { value: 5 } } } },
      { type: "line", clip: true, from: { data: "fitted" }, encode: { enter: {
        x: { scale: "x", field: "pass" }, y: { scale: "y", field: "value" }, stroke: { value: ink.dark }, strokeWidth: { value: 1.6 } } } },
      ...targetRule("x"),
      { type: "symbol", from: { data: "points" }, encode: { enter: {
        x: { scale: "x", field: "pass" }, y: { scale: "y", field: "mean" }, size: { value: 70 },
        stroke: { value: ink.main }, strokeWidth: { value: 1.8 },
        fill: { signal: `datum.used ? '${ink.main}' : '#ffffff'` }, tooltip: { field: "tip" } } } },
    ],
  });
  return {
    id: "growth", title: say("growth.title", { name }), series, spec,
    alt: say("growth.alt", { number: count(points.length), first: number(points[0].mean), last: number(points[points.length - 1].mean) }),
    head: [say("growth.axis"), say("cells"), say("mean"), say("standard_deviation"), say("growth.growth"), say("growth.fitted"), say("growth.used")],
    rows: () => passes.map((row) => [
      { number: count(row.pass) }, { number: count(row.points) }, { number: mean(row.mean) }, { number: mean(row.standard_deviation) },
      { number: row.growth_percent === null ? "–" : fixed(row.growth_percent, 2) }, { number: mean(row.fitted) },
      row.in_curve === false ? `${say("no")}${row.left_out_for ? `: ${row.left_out_for}` : ""}` : say("yes")]),
  };
}
