// Two charts of bars: cells by number of passes, and covered area by bin of passes.
import { axis, ink } from "../chart.js";
import { columnOf, count, fixed, percent, say, withUnit, number } from "../texts.js";

function barSpec(rows, xTitle, shown) {
  return {
    height: 230,
    data: [{ name: "bars", values: rows.filter((row) => shown(row.good ? "enough" : "few")) }],
    scales: [
      { name: "x", type: "band", range: "width", domain: rows.map((row) => row.label), padding: 0.25 },
      { name: "y", type: "linear", range: "height", zero: true, nice: true, domain: [0, Math.max(1, ...rows.map((row) => row.percent * 1.08))] },
    ],
    axes: [axis("x", "bottom", xTitle, { grid: false }), axis("y", "left", "%", { tickCount: 5 })],
    marks: [
      { type: "rect", from: { data: "bars" }, encode: { enter: {
        x: { scale: "x", field: "label" }, width: { scale: "x", band: 1 },
        y: { scale: "y", field: "percent" }, y2: { scale: "y", value: 0 },
        fill: { signal: `datum.good ? '${ink.main}' : '${ink.weak}'` },
        stroke: { signal: `datum.good ? '${ink.main}' : '${ink.accent}'` }, tooltip: { field: "tip" } } } },
      { type: "text", interactive: false, from: { data: "bars" }, encode: { enter: {
        x: { scale: "x", field: "label", band: 0.5 }, y: { scale: "y", field: "percent", offset: -5 },
        align: { value: "center" }, text: { signal: "bandwidth('x') > 24 ? datum.text : ''" } } } },
    ],
  };
}

const seriesFor = (rows) => [
  rows.some((row) => row.good) && { key: "enough", label: say("passes.enough"), colour: ink.main },
  rows.some((row) => !row.good) && { key: "few", label: say("passes.few"), colour: ink.weak },
].filter(Boolean);

export function passCounts(counts, target) {
  const rows = (counts || []).map((row) => ({
    label: String(row.passes), percent: row.percent || 0, good: !target || row.passes >= target,
    text: fixed(row.percent, 1),
    tip: `${say("passes.number", { number: count(row.passes) })}\n${say("cells.number", { number: count(row.cells) })}\n${percent(row.percent, 2)}`,
  }));
  if (rows.length === 0) return null;
  return {
    id: "passes", title: say("passes.title"), series: seriesFor(rows),
    alt: say("passes.alt", { least: count(counts[0].passes), most: count(counts[counts.length - 1].passes) }),
    spec: (shown) => barSpec(rows, say("passes.axis"), shown),
    head: [say("passes.axis"), say("cells"), "%"],
    rows: () => counts.map((row) => [{ number: count(row.passes) }, { number: count(row.cells) }, { number: fixed(row.percent, 2) }]),
  };
}

export function coverageBins(coverage) {
  const bins = coverage.bins || [];
  if (bins.length === 0) return null;
  const unit = coverage.units && coverage.units.area;
  const size = columnOf(bins.map((bin) => bin.area), 5);
  const target = coverage.target && coverage.target.passes;
  const rows = bins.map((bin) => ({
    label: bin.upper === null || bin.upper === undefined ? `≥ ${bin.lower}` : bin.upper === bin.lower ? String(bin.lower) : `${bin.lower}–${bin.upper}`,
    percent: bin.coverage_percent || 0, good: !target || bin.lower >= target, text: fixed(bin.coverage_percent, 1), bin,
  }));
  for (const row of rows)
    row.tip = `${say("coverage.bin", { passes: row.label })}\n${withUnit(number(row.bin.area), unit)}\n${percent(row.percent, 2)}`;
  return {
    id: "coverage", title: say("coverage.title"), series: seriesFor(rows),
    alt: say("coverage.alt", { number: count(bins.length) }),
    spec: (shown) => barSpec(rows, say("passes.axis"), shown),
    head: [say("passes.axis"), say("cells"), withUnit(say("area"), unit ? `(${unit})` : ""), "%"],
    rows: () => rows.map((row) => [row.label, { number: count(row.bin.points) }, { number: size(row.bin.area) }, { number: fixed(row.percent, 2) }]),
  };
}
