// The plan: north is up, with scale bar and coordinates.
import { svg } from "../elements.js";
import { number, withUnit } from "../texts.js";
import { roundStep } from "./geometry.js";
import { pathOf } from "./strip.js";

export const planMargin = { left: 4, top: 4, right: 4, bottom: 22 };

// The size of the picture in a figure so wide.
export function planLayout(frame, width, greatestHeight) {
  const inner = width - planMargin.left - planMargin.right;
  const perPixel = Math.min(inner / frame.columns, greatestHeight / frame.rows);
  const high = Math.max(60, Math.min(greatestHeight, frame.rows * perPixel + 24));
  return { width, inner, innerHeight: high, perPixel,
           left: (inner - frame.columns * perPixel) / 2, top: (high - frame.rows * perPixel) / 2,
           height: high + planMargin.top + planMargin.bottom };
}

const toX = (frame, layout, x) => layout.left + ((x - frame.left) / frame.step) * layout.perPixel;
const toY = (frame, layout, y) => layout.top + ((frame.top - y) / frame.step) * layout.perPixel;

export function drawPlan(frame, layout, url, shapes) {
  const image = svg("image", {
    class: layout.perPixel >= 1 ? "coarse" : "fine",
    x: layout.left, y: layout.top, width: frame.columns * layout.perPixel, height: frame.rows * layout.perPixel,
    href: url, preserveAspectRatio: "none",
  });
  const place = ([x, y]) => [toX(frame, layout, x), toY(frame, layout, y)];
  const drawing = svg("g", {}, image,
    shapes.axis.length > 1 && svg("path", { class: "axisline", d: pathOf(shapes.axis, place).slice(0, -1) }),
    shapes.rings.map((ring) => svg("path", { class: "outline", d: pathOf(ring, place) })),
    shapes.tests.map((test) => svg("circle", { cx: place([test.x, 0])[0], cy: place([0, test.y])[1], class: "spot" }, svg("title", {}, test.label))));
  return { drawing, show: (next) => image.setAttribute("href", next) };
}

export function planPlace(frame, layout, x, y) {
  return [frame.left + ((x - layout.left) / layout.perPixel) * frame.step,
          frame.top - ((y - layout.top) / layout.perPixel) * frame.step];
}

// North arrow, scale bar and coordinates of what is in view; they keep their size when the map is zoomed.
// They stand where a road that rises to the east, or falls, leaves room.
export function planRim(frame, layout, zoom, unit, rises) {
  const rim = svg("g", { class: "ticks" });
  const [left, top] = planPlace(frame, layout, zoom.x * layout.inner, zoom.y * layout.innerHeight);
  const perLength = (layout.perPixel / frame.step) * zoom.scale;
  const right = left + layout.inner / perLength, bottom = top - layout.innerHeight / perLength;
  const step = roundStep(Math.max(right - left, 1e-9), Math.max(2, Math.floor(layout.inner / 56)));
  for (let k = Math.ceil(left / step); k * step <= right; ++k) {
    const x = (k * step - left) * perLength;
    rim.append(svg("line", { x1: x, x2: x, y1: layout.innerHeight - 5, y2: layout.innerHeight }));
    if (x > 26 && x < layout.inner - 26)
      rim.append(svg("text", { x, y: layout.innerHeight + 13, "text-anchor": "middle" }, number(k * step, 9)));
  }
  for (let k = Math.ceil(bottom / step); k * step <= top; ++k) {
    const y = (top - k * step) * perLength;
    rim.append(svg("line", { x1: 0, x2: 5, y1: y, y2: y }));
    if (y > 16 && y < layout.innerHeight - 16)
      rim.append(svg("text", { x: 8, y: y + 4, class: "haloed" }, number(k * step, 9)));
  }
  rim.append(scaleBar(layout, perLength, unit, rises), northArrow(layout, rises));
  return rim;
}

function scaleBar(layout, perLength, unit, rises) {
  const length = roundStep(layout.inner / perLength, 5);
  const wide = Math.min(layout.inner * 0.45, length * perLength);
  const x = rises ? layout.inner - wide - 8 : 70, y = layout.innerHeight - 14;
  return svg("g", { class: "scalebar" },
    svg("rect", { x, y, width: wide / 2, height: 5, fill: "#222" }),
    svg("rect", { x: x + wide / 2, y, width: wide / 2, height: 5, fill: "#fff", stroke: "#222" }),
    svg("text", { x: x + wide, y: y - 4, "text-anchor": "end", class: "haloed" }, withUnit(number(wide / perLength), unit)));
}

function northArrow(layout, rises) {
  const x = rises ? 84 : layout.inner - 18;
  return svg("g", { class: "north" },
    svg("rect", { x: x - 13, y: 3, width: 26, height: 44, fill: "#fff", "fill-opacity": 0.8 }),
    svg("path", { d: `M${x} 8l6 20l-6 -5l-6 5z`, fill: "#222" }),
    svg("text", { x, y: 42, "text-anchor": "middle", class: "haloed" }, "N"));
}
