// A chart with its legend, its numbers as a table, and buttons that save it.
import { parse, View } from "vega";
import { expressionInterpreter } from "vega-interpreter";
import { html, table, unfolding } from "./elements.js";
import { redrawForPaper } from "./printing.js";
import { savePng, saveSvg } from "./saving.js";
import { chartLocale, say } from "./texts.js";
import { showTip } from "./tip.js";

export const ink = {
  main: "#1f5f99", pale: "#a9c8e4", accent: "#b4500a", dark: "#2a2a2a", grey: "#777777", weak: "#f0c9a8",
};

const font = "system-ui, 'Segoe UI', Roboto, 'Helvetica Neue', Arial, sans-serif";

export const axis = (scale, orient, title, more = {}) => ({
  scale, orient, title, labelFlush: false, labelOverlap: true, ...more,
});

function whole(spec, width) {
  return {
    width, height: spec.height || 260, padding: 4,
    autosize: { type: "fit", contains: "padding" },
    ...spec,
    config: {
      background: "#ffffff", aria: false, locale: chartLocale(),
      axis: {
        labelFont: font, titleFont: font, labelFontSize: 11.5, titleFontSize: 12, titleFontWeight: 500,
        grid: true, gridColor: "#e6e6e6", domainColor: "#888", tickColor: "#888", labelColor: "#333",
        titleColor: "#222", titlePadding: 8,
      },
      text: { font, fontSize: 11.5, fill: "#222" },
      legend: { labelFont: font, labelFontSize: 11.5 },
      title: { font, fontSize: 14, fontWeight: 600, anchor: "start" },
    },
  };
}

function viewOf(spec, width) {
  const view = new View(parse(whole(spec, width), null, { ast: true }), {
    expr: expressionInterpreter, renderer: "svg", hover: false, logLevel: 1,
  });
  view.tooltip((handler, event, item, value) => showTip(event, value ? String(value) : ""));
  return view;
}

// For a file the legend is part of the picture.
function withLegend(chart, spec) {
  const shown = chart.series.filter((one) => !chart.hidden.has(one.key));
  return {
    ...spec,
    title: chart.title,
    scales: [...spec.scales, {
      name: "series", type: "ordinal", domain: shown.map((one) => one.label), range: shown.map((one) => one.colour),
    }],
    legends: [{ fill: "series", orient: "bottom", direction: "horizontal", symbolType: "square" }],
  };
}

function legendOf(chart, redraw) {
  return html("div", { class: "legend", role: "group", "aria-label": say("legend") },
    chart.series.map((one) => {
      const swatch = html("span", { class: `swatch ${one.shape || "square"}` });
      swatch.style.setProperty("--colour", one.colour);
      return html("button", {
        type: "button", "aria-pressed": "true", title: say("legend.toggle"),
        onclick(event) {
          const hide = !chart.hidden.has(one.key);
          if (hide) chart.hidden.add(one.key);
          else chart.hidden.delete(one.key);
          event.currentTarget.setAttribute("aria-pressed", String(!hide));
          redraw();
        },
      }, swatch, one.label);
    }));
}

// chart: {id, title, alt, series, spec(shown), head, rows()}; shown(key) tells whether a series is.
export function chartFigure(chart) {
  chart.hidden = new Set();
  const shown = (key) => !chart.hidden.has(key);
  const place = html("div", { class: "chart", role: "img", "aria-label": chart.alt });
  let view = null, width = 0;
  const redraw = (wide = width) => {
    if (view) view.finalize();
    view = viewOf(chart.spec(shown), wide);
    view.initialize(place).run();
    place.firstElementChild.setAttribute("aria-hidden", "true"); // the figure has its text
  };
  redrawForPaper(place, redraw, () => width);
  new ResizeObserver(() => {
    const now = Math.floor(place.clientWidth);
    if (now < 50 || Math.abs(now - width) < 4) return;
    width = now;
    redraw();
  }).observe(place);

  const fileView = () => viewOf(withLegend(chart, chart.spec(shown)), Math.max(560, Math.min(width, 900)));
  const saveAs = async (kind) => {
    const file = fileView();
    const text = await file.toSVG();
    const size = /width="([\d.]+)" height="([\d.]+)"/.exec(text);
    if (kind === "svg") saveSvg(chart.id, text);
    else await savePng(chart.id, text, Number(size[1]), Number(size[2]));
    file.finalize();
  };
  return html("figure", { class: "chartfigure", id: `figure-${chart.id}` },
    html("figcaption", {}, chart.title),
    chart.series.length > 1 ? legendOf(chart, redraw) : null,
    place,
    html("div", { class: "tools" },
      unfolding(say("numbers"), () => table(chart.title, chart.head, chart.rows())),
      saveButtons(saveAs, chart.title)));
}

export function saveButtons(saveAs, title) {
  const button = (kind, label) => html("button", {
    type: "button", class: "save", "aria-label": `${label}: ${title}`, onclick: () => saveAs(kind),
  }, label);
  return html("span", { class: "savers" }, button("svg", say("save.svg")), button("png", say("save.png")));
}
