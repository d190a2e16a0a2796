// Semivariance by distance, with the model.
import { axis, ink } from "../chart.js";
import { columnOf, count, number, say, withUnit } from "../texts.js";
import { targetRule } from "./histogram.js";

export function variogram(semivariogram) {
  const lags = (semivariogram.lags || []).filter((lag) =>
    !lag.empty && lag.class !== 0 && typeof lag.semivariance === "number" && typeof lag.mean_distance === "number");
  if (lags.length === 0) return null;
  const unit = (semivariogram.units || {}).distance;
  const distance = columnOf(lags.map((lag) => lag.mean_distance)), height = columnOf(lags.map((lag) => lag.semivariance));
  const most = Math.max(...lags.map((lag) => lag.pairs || 1));
  const points = lags.map((lag) => ({
    x: lag.mean_distance, y: lag.semivariance, size: 30 + 150 * Math.sqrt((lag.pairs || 1) / most),
    tip: [withUnit(number(lag.mean_distance), unit), `${say("variogram.semivariance")} ${number(lag.semivariance)}`,
          say("variogram.pairs.number", { number: count(lag.pairs) })].join("\n"),
  }));
  const curve = semivariogram.curve && Array.isArray(semivariogram.curve.distance)
    ? semivariogram.curve.distance.map((x, index) => ({ x, y: semivariogram.curve.semivariance[index] })).filter((row) => typeof row.y === "number")
    : [];
  const reading = semivariogram.reading || {};
  const series = [
    { key: "lags", label: say("variogram.lags"), colour: ink.main, shape: "dot" },
    curve.length > 0 && { key: "model", label: say("variogram.model"), colour: ink.dark, shape: "line" },
    typeof reading.sill === "number" && { key: "sill", label: say("variogram.sill"), colour: ink.accent, shape: "dashed" },
    typeof reading.range === "number" && { key: "range", label: say("variogram.range"), colour: ink.grey, shape: "dashed" },
  ].filter(Boolean);
  const top = Math.max(...points.map((point) => point.y), reading.sill || 0);
  const end = Math.max(...points.map((point) => point.x));
  const spec = (shown) => ({
    height: 280,
    data: [{ name: "lags", values: shown("lags") ? points : [] },
           { name: "model", values: shown("model") ? curve : [] },
           { name: "sill", values: shown("sill") && typeof reading.sill === "number" ? [{ value: reading.sill }] : [] },
           { name: "range", values: shown("range") && typeof reading.range === "number" ? [{ value: reading.range }] : [] }],
    scales: [{ name: "x", type: "linear", range: "width", domain: [0, end * 1.02] },
             { name: "y", type: "linear", range: "height", nice: true, domain: [0, top * 1.05 || 1] }],
    axes: [axis("x", "bottom", withUnit(say("variogram.distance"), unit ? `(${unit})` : "")),
           axis("y", "left", say("variogram.semivariance"), { tickCount: 6 })],
    marks: [
      ...targetRule("y", "sill"), ...targetRule("x", "range", ink.grey),
      { type: "line", clip: true, from: { data: "model" }, encode: { enter: {
        x: { scale: "x", field: "x" }, y: { scale: "y", field: "y" }, stroke: { value: ink.dark }, strokeWidth: { value: 1.8 } } } },
      { type: "symbol", from: { data: "lags" }, encode: { enter: {
        x: { scale: "x", field: "x" }, y: { scale: "y", field: "y" }, size: { field: "size" },
        fill: { value: ink.main }, fillOpacity: { value: 0.85 }, tooltip: { field: "tip" } } } },
    ],
  });
  return {
    id: "semivariogram", title: say("variogram.title"), series, spec,
    alt: say("variogram.alt", { number: count(points.length), distance: withUnit(number(end), unit) }),
    head: [withUnit(say("variogram.distance"), unit ? `(${unit})` : ""), say("variogram.pairs"), say("variogram.semivariance"), say("variogram.model")],
    rows: () => lags.map((lag) => [{ number: distance(lag.mean_distance) }, { number: count(lag.pairs) }, { number: height(lag.semivariance) }, { number: height(lag.model) }]),
  };
}
