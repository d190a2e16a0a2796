// All maps of a page: the strip by station and the plan, each in the layers that there are.
import { say, number, withUnit } from "../texts.js";
import { paperWidth } from "../printing.js";
import { axisOf, stationOf } from "./geometry.js";
import { gridOf } from "./grid.js";
import { mapFigure, placeText } from "./mapfigure.js";
import { drawPlan, planLayout, planMargin, planPlace, planRim } from "./plan.js";
import { drawStrip, ringAlong, stripLayout, stripPixel, stripPlace } from "./strip.js";
import { zoomGroup } from "./viewer.js";

// What is drawn over the pictures.
function shapesOf(report, segments) {
  const rings = (report.outlines || []).flatMap((outline) => outline.rings || [])
    .map((ring) => ring.filter((place) => place.length === 2 && place.every((number_) => typeof number_ === "number")))
    .filter((ring) => ring.length > 2);
  const tests = ((report.spots && report.spots.tests) || []).filter((test) => typeof test.x === "number" && typeof test.y === "number")
    .slice(0, 2000).map((test) => ({
      x: test.x, y: test.y, ...(segments.length ? stationOf(segments, test.x, test.y) : {}),
      label: say("spots.test", { test: test.test }),
    }));
  return { rings, tests };
}

export function mapsOf(report, maps, value, unit) {
  const road = report.road;
  const segments = maps.strip ? axisOf(road.frame) : [];
  const { rings, tests } = shapesOf(report, segments);
  const grid = gridOf(maps);
  const layers = Object.keys(maps.layers);
  const titles = {
    value: withUnit(value.name, value.unit ? `(${value.unit})` : ""), verdict: say("map.verdict"), passes: say("map.passes"),
  };
  const figure = (kind, group, layer, own) => mapFigure({
    id: `${kind}-${layer}`, title: titles[layer], alt: say(`map.alt.${kind}`, { what: titles[layer] }),
    layer, classes: maps.layers[layer], png: maps[kind].pictures[layer], group, value, ...own,
  });
  const coordinates = (x, y) => `${number(x, 9)} / ${number(y, 9)}`;

  const stripFigures = () => {
    const frame = maps.strip.frame, group = zoomGroup();
    const end = Math.min(road.frame.length, frame.first_station + frame.columns * frame.folds * frame.station_step);
    const shapes = {
      tests, end, weak: road.weak || [],
      outlines: rings.map((ring) => ringAlong(ring, segments, 4 * frame.station_step)),
    };
    return layers.map((layer) => figure("strip", group, layer, {
      paperWidth,
      size: (width) => {
        const layout = stripLayout(frame, width);
        return { width, height: layout.height, inner: width, innerHeight: layout.height, x: 0, y: 0, layout };
      },
      draw: (size, url) => drawStrip(`picture-${layer}`, frame, size.layout, url, shapes, unit),
      read: (size, x, y) => {
        const at = stripPlace(frame, size.layout, x, y);
        if (!at) return null;
        const where = say("map.where", { station: withUnit(number(at.station, 6), unit), offset: withUnit(number(at.offset, 3), unit) });
        return { where, text: placeText(grid.at(at.pixel), value) };
      },
    }));
  };
  const planFigures = () => {
    const frame = maps.plan.frame, group = zoomGroup();
    const axis = segments.length ? [...road.frame.axis] : [];
    const first = axis[0], last = axis[axis.length - 1];
    const rises = axis.length < 2 || (last[0] - first[0]) * (last[1] - first[1]) > 0;
    return layers.map((layer) => figure("plan", group, layer, {
      paperWidth: 331, // two stand side by side
      size: (width) => {
        const layout = planLayout(frame, width, Math.min(560, Math.max(300, innerHeight * 0.75)));
        return { ...layout, x: planMargin.left, y: planMargin.top, layout };
      },
      draw: (size, url) => drawPlan(frame, size.layout, url, { rings, tests, axis }),
      rim: (size, zoom) => planRim(frame, size.layout, zoom, unit, rises),
      read: (size, x, y) => {
        const [east, north] = planPlace(frame, size.layout, x, y);
        let pixel = -1;
        if (grid.frame === "strip") pixel = stripPixel(maps.strip.frame, segments, east, north);
        else {
          const column = Math.floor((east - frame.left) / frame.step), row = Math.floor((frame.top - north) / frame.step);
          if (column >= 0 && row >= 0 && column < frame.columns && row < frame.rows) pixel = row * frame.columns + column;
        }
        return { where: coordinates(east, north), text: placeText(grid.at(pixel), value) };
      },
    }));
  };
  return { strip: maps.strip ? stripFigures() : [], plan: planFigures(), ready: grid.ready };
}
