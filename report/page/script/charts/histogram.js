// Values by class, with the cumulative curve and the target.
import { axis, ink } from "../chart.js";
import { columnOf, count, fixed, number, percent, say, withUnit } from "../texts.js";

export function histogram(stats, value) {
  const classes = (stats.histogram || []).map((row, index, all) => ({
    from: index === 0 ? row.upper_limit : all[index - 1].upper_limit,
    to: row.upper_limit, percent: row.percent, cumulative: row.cumulative_percent,
  })).filter((row) => typeof row.to === "number");
  if (classes.length < 2 || classes[0].to === classes[classes.length - 1].to) return null;
  const target = stats.target && typeof stats.target.value === "number" ? stats.target : null;
  const below = Boolean(target && /below/.test(target.side || ""));
  const edge = columnOf(classes.map((row) => row.to), 5);
  const name = withUnit(value.name, value.unit ? `(${value.unit})` : "");
  const bars = classes.flatMap((row) => {
    const tip = `${say("chart.from.to", { from: number(row.from), to: number(row.to) })}\n${percent(row.percent, 2)}`;
    const cut = target ? Math.min(Math.max(target.value, row.from), row.to) : row.from;
    const parts = [{ from: row.from, to: cut, good: below }, { from: cut, to: row.to, good: !below }];
    return parts.filter((part) => part.to > part.from).map((part) => ({ ...part, percent: row.percent, tip }));
  });
  const line = classes.map((row) => ({
    value: row.to, cumulative: row.cumulative,
    tip: `${say("chart.up.to", { to: number(row.to) })}\n${percent(row.cumulative, 2)}`,
  }));
  const series = [
    { key: "bars", label: target ? say("histogram.satisfied") : say("histogram.share"), colour: ink.main },
    target && { key: "missed", label: say("histogram.missed"), colour: ink.weak },
    { key: "line", label: say("histogram.cumulative"), colour: ink.dark, shape: "line" },
    target && { key: "target", label: say("target"), colour: ink.accent, shape: "dashed" },
  ].filter(Boolean);

  const spec = (shown) => ({
    height: 280,
    data: [{ name: "bars", values: bars.filter((bar) => shown(bar.good || !target ? "bars" : "missed")) },
           { name: "line", values: shown("line") ? line : [] },
           { name: "target", values: target && shown("target") ? [{ value: target.value }] : [] }],
    scales: [
      { name: "x", type: "linear", range: "width", nice: false, zero: false,
        domain: domainWith([classes[0].from, classes[classes.length - 1].to], target) },
      { name: "y", type: "linear", range: "height", nice: true, zero: true,
        domain: [0, Math.max(...classes.map((row) => row.percent)) * 1.05] },
      { name: "c", type: "linear", range: "height", domain: [0, 100] },
    ],
    axes: [
      axis("x", "bottom", name, { grid: false }),
      axis("y", "left", say("histogram.share.axis"), { tickCount: 6 }),
      axis("c", "right", say("histogram.cumulative.axis"), { grid: false, tickCount: 6 }),
    ],
    marks: [
      { type: "rect", from: { data: "bars" }, encode: { enter: {
        x: { scale: "x", field: "from" }, x2: { scale: "x", field: "to" },
        y: { scale: "y", field: "percent" }, y2: { scale: "y", value: 0 },
        fill: target ? { signal: `datum.good ? '${ink.main}' : '${ink.weak}'` } : { value: ink.main },
        stroke: { value: "#fff" }, strokeWidth: { value: 0.7 }, tooltip: { field: "tip" } } } },
      { type: "line", from: { data: "line" }, encode: { enter: {
        x: { scale: "x", field: "value" }, y: { scale: "c", field: "cumulative" },
        stroke: { value: ink.dark }, strokeWidth: { value: 1.8 } } } },
      { type: "symbol", from: { data: "line" }, encode: { enter: {
        x: { scale: "x", field: "value" }, y: { scale: "c", field: "cumulative" }, size: { value: 22 },
        fill: { value: ink.dark }, tooltip: { field: "tip" } } } },
      ...targetRule("x"),
    ],
  });
  const stated = target && typeof target.counted_percent === "number";
  return {
    id: "histogram", title: say("histogram.title", { name }), series, spec,
    alt: say("histogram.alt", {
      number: count(classes.length - 1), from: number(classes[0].from), to: number(classes[classes.length - 1].to),
    }) + (stated ? ` ${say("histogram.alt.target", { target: number(target.value), share: percent(target.counted_percent) })}` : ""),
    head: [say("chart.from"), say("chart.to"), say("histogram.share.axis"), say("histogram.cumulative.axis")],
    rows: () => classes.map((row) => [
      { number: edge(row.from) }, { number: edge(row.to) },
      { number: fixed(row.percent, 2) }, { number: fixed(row.cumulative, 2) }]),
  };
}

function domainWith(ends, target) {
  const span = ends[1] - ends[0];
  if (target && target.value > ends[0] - span && target.value < ends[1] + span)
    return [Math.min(ends[0], target.value - 0.02 * span), Math.max(ends[1], target.value + 0.02 * span)];
  return ends;
}

// A dashed line across the chart, for data named "target".
export function targetRule(scale, data = "target", colour = ink.accent) {
  const across = scale === "x"
    ? { x: { scale: "x", field: "value" }, y: { value: 0 }, y2: { signal: "height" } }
    : { y: { scale, field: "value" }, x: { value: 0 }, x2: { signal: "width" } };
  return [{ type: "rule", clip: true, from: { data }, encode: { enter: {
    ...across, stroke: { value: colour }, strokeWidth: { value: 2 }, strokeDash: { value: [6, 4] } } } }];
}
