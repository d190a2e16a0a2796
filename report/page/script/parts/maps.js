// The parts with maps.
import { html } from "../elements.js";
import { mapsOf } from "../maps/maps.js";
import { told } from "../said.js";
import { count, number, percent, say, withUnit } from "../texts.js";
import { cautionsOf, section, sentence } from "./section.js";

const thinned = (frame) => (frame.thinning > 1.01 ? say("map.thinned", { times: number(frame.thinning, 2) }) : "");

export function maps(report, drawings, value, unit) {
  if (!drawings) return [section("map-plan", html("p", { class: "missing" }, say("map.none")))];
  const made = mapsOf(report, drawings, value, unit);
  const judged = drawings.layers.verdict;
  const share = () => {
    const missed = judged[0].cells, all = missed + judged[1].cells;
    const limit = (report.settings || {}).cell_limit;
    const side = limit && say(limit.side === "at_or_below" ? "map.limit.below" : "map.limit.above", {
      value: withUnit(number(limit.value, 6), value.unit) });
    return [say("map.verdict.sentence", { missed: count(missed), all: count(all), share: percent((100 * missed) / all) }), side].filter(Boolean).join(" ");
  };
  const about = judged && judged[0].cells + judged[1].cells > 0 ? share() : say("map.no.verdict");
  const strip = drawings.strip && drawings.strip.frame;
  const enlarged = drawings.point_size ? say("map.enlarged", { size: withUnit(number(drawings.point_size, 2), unit) }) : "";
  const parts = [];
  if (strip) {
    const road = report.road.frame;
    parts.push(section("map-strip",
      sentence(
        about,
        say("map.strip.sentence", { from: number(0), to: withUnit(number(road.length), unit), axis: told(road.axis_from) || "–" }),
        strip.folds > 1 ? say("map.folded", { folds: count(strip.folds) }) : "",
        strip.exaggeration > 1 ? say("map.exaggerated", { times: count(strip.exaggeration) }) : "",
        say("map.over"), thinned(strip), enlarged),
      cautionsOf(report, "map", "maps"), html("div", { class: "maps" }, made.strip)));
  }
  parts.push(section("map-plan",
    sentence(strip ? "" : about, say("map.plan.sentence", { unit: unit ? say("map.unit", { unit }) : say("map.no.unit") }),
      strip ? "" : say("map.no.strip"), thinned(drawings.plan.frame), enlarged),
    html("div", { class: "maps plans" }, made.plan)));
  return parts;
}
