// A road by station: the strip cut into folds that stand one below the other.
import { svg } from "../elements.js";
import { number, say, withUnit } from "../texts.js";
import { roundStep, stationOf } from "./geometry.js";

const labelHeight = 20, gap = 12;

// Pieces of the strip as they stand in a picture so wide. Where it is narrow a fold is cut again.
export function stripLayout(frame, width) {
  const foldLength = frame.columns * frame.station_step;
  const stripWidth = frame.rows * frame.offset_step * frame.exaggeration;
  let cuts = 1;
  while (cuts < 8 && (width / (foldLength / cuts)) * stripWidth < 26 && frame.columns / (cuts * 2) > 20) cuts *= 2;
  const columns = Math.ceil(frame.columns / cuts);
  const perMetre = Math.min(width / (columns * frame.station_step), 560 / stripWidth);
  const height = stripWidth * perMetre;
  const pieces = [];
  for (let fold = 0; fold < frame.folds; ++fold)
    for (let cut = 0; cut < cuts; ++cut) {
      const first = cut * columns;
      const number_ = Math.min(columns, frame.columns - first);
      if (number_ <= 0) continue;
      const station = frame.first_station + (fold * frame.columns + first) * frame.station_step;
      pieces.push({ fold, first, columns: number_, station, length: number_ * frame.station_step,
                    y: pieces.length * (height + labelHeight + gap) + 2 });
    }
  return { width, pieces, pieceHeight: height, perColumn: perMetre * frame.station_step, perRow: height / frame.rows,
           perMetre, perOffset: height / (frame.rows * frame.offset_step),
           height: pieces.length * (height + labelHeight + gap) - gap + 4 };
}

const weakMark = "#b4500a";

// shapes: {axis, outlines, tests, weak, end}; returns the drawing and a function that changes its picture.
export function drawStrip(id, frame, layout, url, shapes, unit) {
  const image = svg("image", {
    id, class: layout.perColumn >= 1 ? "coarse" : "fine", width: frame.columns, height: frame.rows * frame.folds, href: url, preserveAspectRatio: "none",
  });
  const drawing = svg("g", {}, svg("defs", {}, image));
  const across = (offset) => (offset - frame.first_offset) * layout.perOffset;
  for (const piece of layout.pieces) {
    if (piece.station > shapes.end) continue;
    const along = (station) => (station - piece.station) * layout.perMetre;
    const right = piece.station + piece.length;
    const inside = svg("svg", { x: 0, y: piece.y, width: piece.columns * layout.perColumn, height: layout.pieceHeight, overflow: "hidden" },
      svg("use", { href: `#${id}`, transform:
        `translate(${-piece.first * layout.perColumn} ${-piece.fold * frame.rows * layout.perRow}) scale(${layout.perColumn} ${layout.perRow})` }),
      shapes.outlines.map((ring) => svg("path", {
        d: pathOf(ring, (place) => [along(place.station), across(place.offset)]), class: "outline" })),
      shapes.tests.filter((test) => test.station >= piece.station && test.station <= right).map((test) =>
        svg("circle", { cx: along(test.station), cy: across(test.offset), class: "spot" }, svg("title", {}, test.label))));
    drawing.append(inside);
    for (const weak of shapes.weak)
      if (weak.to > piece.station && weak.from < right)
        drawing.append(svg("rect", {
          x: Math.max(0, along(weak.from)), y: piece.y + layout.pieceHeight + 1,
          width: along(Math.min(right, weak.to)) - Math.max(0, along(weak.from)), height: 4, fill: weakMark,
        }, svg("title", {}, say("road.weak.one"))));
    drawing.append(ticksOf(piece, layout, Math.min(right, shapes.end), unit));
  }
  return { drawing, show: (next) => image.setAttribute("href", next) };
}

function ticksOf(piece, layout, end, unit) {
  const y = piece.y + layout.pieceHeight;
  const step = roundStep(piece.length, Math.max(2, Math.floor((piece.length * layout.perMetre) / 90)));
  const ticks = svg("g", { class: "ticks" });
  ticks.append(svg("line", { x1: 0, x2: (end - piece.station) * layout.perMetre, y1: y + 6, y2: y + 6 }));
  for (let k = Math.ceil(piece.station / step - 1e-9); k * step <= end + 1e-9; ++k) {
    const x = (k * step - piece.station) * layout.perMetre;
    const anchor = x < 12 ? "start" : x > layout.width - 30 ? "end" : "middle";
    ticks.append(svg("line", { x1: x, x2: x, y1: y + 6, y2: y + 10 }),
      svg("text", { x, y: y + 20, "text-anchor": anchor }, withUnit(number(k * step || 0, 7), unit)));
  }
  return ticks;
}

export function pathOf(points, place) {
  return points.map((point, index) => {
    const [x, y] = place(point);
    return `${index === 0 ? "M" : "L"}${x.toFixed(2)} ${y.toFixed(2)}`;
  }).join("") + "Z";
}

// A ring in stations and offsets; long edges get places between, for a bent axis.
export function ringAlong(ring, segments, step) {
  const places = [];
  ring.forEach(([x, y], index) => {
    const [nx, ny] = ring[(index + 1) % ring.length];
    const parts = segments.length > 1 ? Math.min(200, Math.ceil(Math.hypot(nx - x, ny - y) / step)) : 1;
    for (let part = 0; part < Math.max(1, parts); ++part)
      places.push(stationOf(segments, x + ((nx - x) * part) / parts, y + ((ny - y) * part) / parts));
  });
  return places;
}

// What the pointer is on: pixel of the grid, station and offset; x, y in the drawing.
export function stripPlace(frame, layout, x, y) {
  const piece = layout.pieces.find((one) => y >= one.y && y < one.y + layout.pieceHeight);
  if (!piece || x < 0) return null;
  const column = piece.first + Math.floor(x / layout.perColumn);
  const row = Math.floor((y - piece.y) / layout.perRow);
  if (column >= piece.first + piece.columns || row < 0 || row >= frame.rows) return null;
  return { pixel: (piece.fold * frame.rows + row) * frame.columns + column,
           station: piece.station + x / layout.perMetre, offset: frame.first_offset + (y - piece.y) / layout.perOffset };
}

// The pixel of the strip's grid at a place of the plan.
export function stripPixel(frame, segments, x, y) {
  const at = stationOf(segments, x, y);
  if (!at) return -1;
  const column = Math.floor((at.station - frame.first_station) / frame.station_step);
  const row = Math.floor((at.offset - frame.first_offset) / frame.offset_step);
  if (column < 0 || row < 0 || row >= frame.rows || column >= frame.columns * frame.folds) return -1;
  const fold = Math.floor(column / frame.columns);
  return (fold * frame.rows + row) * frame.columns + (column - fold * frame.columns);
}

