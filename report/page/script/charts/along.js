// Along the road: running mean and share by station, with the weak stretches.
import { axis, ink } from "../chart.js";
import { columnOf, count, fixed, number, percent, say, withUnit } from "../texts.js";
import { targetRule } from "./histogram.js";

export function along(road, value, what, unit, target) {
  const isShare = what === "share";
  const field = isShare ? "share_percent" : "running_mean";
  const stations = (road.stations || []).filter((row) => typeof row.from === "number" && typeof row.to === "number");
  const text = (x) => (isShare ? percent(x) : withUnit(number(x), value.unit));
  const points = stations.map((row) => ({
    x: (row.from + row.to) / 2, y: row[field], mean: row.mean,
    valid: typeof row[field] === "number", hasMean: !isShare && typeof row.mean === "number",
    tip: [`${say("station")} ${say("chart.from.to", { from: number(row.from, 6), to: number(row.to, 6) })}${unit ? ` ${unit}` : ""}`,
          `${say(isShare ? "road.share" : "road.running.mean")} ${text(row[field])}`,
          `${say("mean")} ${withUnit(number(row.mean), value.unit)}`, say("cells.number", { number: count(row.cells) })].join("\n"),
  }));
  const given = points.filter((point) => point.valid);
  if (given.length < 2) return null;
  const place = columnOf(stations.map((row) => row.to), 5), mean = columnOf(stations.map((row) => row.mean));
  const weak = (road.weak || []).map((row) => ({
    ...row, tip: `${say("road.weak.one")}\n${say("chart.from.to", { from: number(row.from, 6), to: number(row.to, 6) })}${unit ? ` ${unit}` : ""}`,
  }));
  const isLimit = road.weak_by === what && typeof road.weak_below === "number";
  const limit = isLimit ? road.weak_below : !isShare && typeof target === "number" ? target : null;
  const series = [
    { key: "line", label: say(isShare ? "road.share" : "road.running.mean"), colour: ink.main, shape: "line" },
    !isShare && { key: "means", label: say("road.means"), colour: ink.pale, shape: "dot" },
    weak.length > 0 && { key: "weak", label: say("road.weak"), colour: ink.weak },
    limit !== null && { key: "limit", label: isLimit ? say("road.weak.below") : say("target"), colour: ink.accent, shape: "dashed" },
  ].filter(Boolean);
  const values = [...given.map((point) => point.y), ...points.filter((p) => p.hasMean).map((p) => p.mean)];
  const low = Math.min(...values), high = Math.max(...values);
  const near = limit !== null && limit > low - (high - low || 1) * 2 && limit < high + (high - low || 1) * 2;
  const spec = (shown) => ({
    height: 220,
    data: [{ name: "line", values: shown("line") ? points : [] },
           { name: "means", values: shown("means") ? points.filter((point) => point.hasMean) : [] },
           { name: "weak", values: shown("weak") ? weak : [] },
           { name: "limit", values: limit !== null && shown("limit") ? [{ value: limit }] : [] }],
    scales: [
      { name: "x", type: "linear", range: "width", domain: [stations[0].from, stations[stations.length - 1].to] },
      { name: "y", type: "linear", range: "height", zero: false, nice: !isShare,
        domain: isShare ? [Math.min(low, limit ?? 100, 50), 100] : [near ? Math.min(low, limit) : low, near ? Math.max(high, limit) : high] },
    ],
    axes: [axis("x", "bottom", withUnit(say("station"), unit ? `(${unit})` : ""), { grid: false }),
           axis("y", "left", isShare ? say("road.share.axis") : withUnit(value.name, value.unit ? `(${value.unit})` : ""), { tickCount: 5 })],
    marks: [
      { type: "rect", clip: true, from: { data: "weak" }, encode: { enter: {
        x: { scale: "x", field: "from" }, x2: { scale: "x", field: "to" }, y: { value: 0 }, y2: { signal: "height" },
        fill: { value: ink.weak }, fillOpacity: { value: 0.7 }, tooltip: { field: "tip" } } } },
      ...targetRule("y", "limit"),
      { type: "symbol", clip: true, from: { data: "means" }, encode: { enter: {
        x: { scale: "x", field: "x" }, y: { scale: "y", field: "mean" }, size: { value: 18 }, fill: { value: ink.pale } } } },
      { type: "line", clip: true, from: { data: "line" }, encode: { enter: {
        x: { scale: "x", field: "x" }, y: { scale: "y", field: "y" }, defined: { field: "valid" },
        stroke: { value: ink.main }, strokeWidth: { value: 2 } } } },
      { type: "symbol", clip: true, from: { data: "line" }, encode: { enter: {
        x: { scale: "x", field: "x" }, y: { scale: "y", field: "y" }, size: { value: 60 }, opacity: { value: 0 },
        fill: { value: ink.main }, tooltip: { field: "tip" } } } },
    ],
  });
  return {
    id: isShare ? "road-share" : "road-mean", title: say(isShare ? "road.title.share" : "road.title.mean", { name: value.name }), series, spec,
    alt: say("road.alt", { number: count(given.length), low: text(low), high: text(Math.max(...given.map((p) => p.y))) }),
    head: [say("chart.from"), say("chart.to"), say("cells"), say("mean"), say(isShare ? "road.share" : "road.running.mean"), say("road.passes")],
    rows: () => stations.map((row) => [{ number: place(row.from) }, { number: place(row.to) }, { number: count(row.cells) },
      { number: mean(row.mean) }, { number: isShare ? fixed(row[field], 1) : mean(row[field]) }, { number: fixed(row.passes, 1) }]),
  };
}
