// One map: drawing, legend that hides classes, zoom, the value under the pointer, saving.
import { html, svg } from "../elements.js";
import { saveButtons } from "../chart.js";
import { redrawForPaper } from "../printing.js";
import { savePng, saveSvg } from "../saving.js";
import { count, fixed, number, percent, say, withUnit } from "../texts.js";
import { showTip } from "../tip.js";
import { pictureOf } from "./picture.js";
import { listen, resetZoom, zoomBy } from "./viewer.js";

const ownStyle = `.coarse{image-rendering:pixelated}
text{font:11px system-ui,'Segoe UI',Roboto,Arial,sans-serif;fill:#333}
.haloed{paint-order:stroke;stroke:#fff;stroke-width:3px;stroke-linejoin:round}
.ticks line{stroke:#777;stroke-width:1px}
.outline{fill:none;stroke:#111;stroke-width:1.3px;vector-effect:non-scaling-stroke}
.axisline{fill:none;stroke:#555;stroke-width:1px;stroke-dasharray:5 4;vector-effect:non-scaling-stroke}
.zoomed text{font-size:calc(11px/var(--zoom,1))}
.spot{fill:#fff;stroke:#111;stroke-width:1.6px;vector-effect:non-scaling-stroke;r:calc(3.6px/var(--zoom,1))}`;

export const classLabel = (layer, one) => {
  if (layer === "verdict") return say(["verdict.missed", "verdict.met", "verdict.open"][one.from]);
  if (layer === "passes") {
    const last = one.to - 1;
    return one.from >= last ? count(one.from) : `${count(one.from)}–${count(last)}`;
  }
  if (one.from === null && one.to === null) return say("all.values");
  if (one.from === null) return `< ${number(one.to, 6)}`;
  return one.to === null ? `≥ ${number(one.from, 6)}` : `${number(one.from, 6)}–${number(one.to, 6)}`;
};

// What a place on the map holds, in words.
export function placeText(found, value) {
  if (!found) return "";
  const shown = found.value === null ? say("no.value")
    : withUnit(found.decimals === null ? number(found.value) : fixed(found.value, found.decimals), value.unit);
  return [`${value.name}: ${shown}`, found.passes > 0 ? say("passes.number", { number: count(found.passes) }) : null,
          found.verdict < 2 ? say(["verdict.missed", "verdict.met"][found.verdict]) : null].filter(Boolean).join("\n");
}

const hint = () => say(matchMedia("(pointer: coarse)").matches ? "map.hint.touch" : "map.hint");

// map: {id, title, alt, layer, classes, png, group, value, size(width), draw(size, url),
//       rim(size, zoom) or null, read(size, x, y), paperWidth}; draw gives {drawing, show}.
export function mapFigure(map) {
  const picture = pictureOf(map.png);
  const hidden = new Set();
  let url = picture.plain, size = null, drawn = null;
  const moved = svg("g", { class: "zoomed" });
  const window_ = svg("svg", { overflow: "hidden" }, svg("rect", { width: "100%", height: "100%", fill: "#fff" }), moved);
  const rim = svg("g", {});
  const whole = svg("svg", { class: "mapdrawing", "aria-hidden": "true" }, svg("style", {}, ownStyle), window_, rim);
  const frame = html("div", { class: "map", tabindex: "0", role: "application", "aria-label": `${map.alt} ${say("map.keys")}` }, whole);
  const readout = html("output", { class: "readout" }, hint());

  const box = () => window_.getBoundingClientRect();
  const place = (zoom) => {
    if (!size) return;
    const k = zoom.scale;
    moved.setAttribute("transform", `scale(${k}) translate(${-zoom.x * size.inner} ${-zoom.y * size.innerHeight})`);
    moved.style.setProperty("--zoom", k);
    frame.classList.toggle("closer", k > 1);
    if (map.rim) rim.replaceChildren(map.rim(size, zoom));
  };
  map.group.views.push(place);

  const redraw = (width) => {
    size = map.size(width);
    const attributes = { width: size.width, height: size.height, viewBox: `0 0 ${size.width} ${size.height}` };
    for (const [name, text] of Object.entries(attributes)) whole.setAttribute(name, text);
    window_.setAttribute("x", size.x);
    window_.setAttribute("y", size.y);
    window_.setAttribute("width", size.inner);
    window_.setAttribute("height", size.innerHeight);
    rim.setAttribute("transform", `translate(${size.x} ${size.y})`);
    drawn = map.draw(size, url);
    moved.replaceChildren(drawn.drawing);
    place(map.group);
  };
  let width = 0;
  redrawForPaper(frame, redraw, () => width, map.paperWidth);
  new ResizeObserver(() => {
    const now = Math.floor(frame.clientWidth);
    if (now < 50 || Math.abs(now - width) < 4) return;
    width = now;
    redraw(now);
  }).observe(frame);

  frame.addEventListener("pointermove", (event) => {
    if (!size) return;
    const at = box();
    const x = ((event.clientX - at.left) / at.width / map.group.scale + map.group.x) * size.inner;
    const y = ((event.clientY - at.top) / at.height / map.group.scale + map.group.y) * size.innerHeight;
    const found = map.read(size, x, y);
    showTip(event, found && found.text);
    readout.textContent = found && found.text ? `${found.where}: ${found.text.replace(/\n/g, ", ")}` : hint();
  });
  frame.addEventListener("pointerleave", () => showTip(null, ""));
  listen(map.group, frame, box);

  const saveAs = async (kind) => {
    const file = fileOf(map, whole, hidden);
    if (kind === "svg") saveSvg(map.id, file.text);
    else await savePng(map.id, file.text, file.width, file.height);
  };
  const button = (label, text, act) => html("button", { type: "button", class: "zoom", "aria-label": `${label}: ${map.title}`, title: label, onclick: act }, text);
  return html("figure", { class: "mapfigure", id: `figure-${map.id}` },
    html("figcaption", {}, map.title),
    legendOf(map, hidden, async (colours) => {
      url = await picture.without(colours);
      if (drawn) drawn.show(url);
    }),
    frame,
    html("div", { class: "tools" },
      html("span", { class: "zoomers" },
        button(say("zoom.in"), "+", () => zoomBy(map.group, 1.5)),
        button(say("zoom.out"), "−", () => zoomBy(map.group, 1 / 1.5)),
        button(say("zoom.reset"), "⟲", () => resetZoom(map.group))),
      readout, saveButtons(saveAs, map.title)));
}

function legendOf(map, hidden, recolour) {
  const total = map.classes.reduce((sum, one) => sum + one.cells, 0);
  return html("div", { class: "legend", role: "group", "aria-label": say("legend") },
    map.classes.map((one, index) => {
      if (one.cells === 0 && map.layer === "verdict") return null;
      const swatch = html("span", { class: "swatch square" });
      swatch.style.setProperty("--colour", `rgb(${one.colour.join(",")})`);
      return html("button", {
        type: "button", "aria-pressed": "true",
        title: `${say("cells.number", { number: count(one.cells) })}, ${percent((100 * one.cells) / total)}. ${say("legend.toggle")}`,
        onclick(event) {
          if (!hidden.delete(index)) hidden.add(index);
          event.currentTarget.setAttribute("aria-pressed", String(!hidden.has(index)));
          recolour([...hidden].map((at) => map.classes[at].colour));
        },
      }, swatch, classLabel(map.layer, one));
    }));
}

// The drawing as it is on the screen, with title and legend.
function fileOf(map, whole, hidden) {
  const width = Number(whole.getAttribute("width")), high = Number(whole.getAttribute("height"));
  const copy = whole.cloneNode(true);
  copy.setAttribute("y", 30);
  copy.removeAttribute("aria-hidden");
  let x = 4, y = high + 48;
  const legend = map.classes.filter((one, index) => !hidden.has(index)).map((one) => {
    const label = classLabel(map.layer, one);
    const wide = 30 + label.length * 7;
    if (x + wide > width) { x = 4; y += 20; }
    const entry = svg("g", { transform: `translate(${x} ${y})` },
      svg("rect", { width: 12, height: 12, y: -10, fill: `rgb(${one.colour.join(",")})`, stroke: "#666" }),
      svg("text", { x: 17, "font-family": "sans-serif", "font-size": 12 }, label));
    x += wide;
    return entry;
  });
  const height = y + 14;
  const file = svg("svg", { width, height, viewBox: `0 0 ${width} ${height}` },
    svg("rect", { width, height, fill: "#fff" }),
    svg("text", { x: 4, y: 19, "font-family": "sans-serif", "font-size": 14, "font-weight": 600 }, map.title), copy, legend);
  return { text: new XMLSerializer().serializeToString(file), width, height };
}
