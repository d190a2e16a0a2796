// Builds the page from the data that stand in it.
import { html } from "./elements.js";
import { currentLanguage, say, setLanguage } from "./texts.js";
import { data } from "./parts/data.js";
import { coverage, curve, notes, passes, road, semivariogram, statistics, uniformity } from "./parts/figures.js";
import { head, titleOf } from "./parts/head.js";
import { maps } from "./parts/maps.js";
import { signature } from "./parts/signature.js";
import { spots } from "./parts/spots.js";
import { verdicts } from "./parts/verdicts.js";

const given = JSON.parse(document.getElementById("data").textContent);
const report = given.document;
const column = (report.columns && report.columns.value) || {};
const about = (report.data && report.data.value) || {};

function show(language) {
  setLanguage(language);
  document.documentElement.lang = currentLanguage();
  const name = about.name || column.name || say("value");
  const value = { name, unit: about.unit || column.unit || "" };
  const unit = (report.data && report.data.length_unit) || "";
  const parts = [
    verdicts(report), data(report), ...maps(report, given.maps, value, unit), coverage(report), passes(report),
    statistics(report, value), curve(report, value), spots(report, value), semivariogram(report), uniformity(report),
    road(report, value, unit), notes(report), signature(report),
  ];
  const contents = parts.map((part) => part.id.replace("part-", ""));
  const texts = report.texts || {};
  document.title = [titleOf(report), texts.project, texts.lot].filter(Boolean).join(" – ");
  document.getElementById("page").replaceChildren(
    head(report, given.logo, contents, show), html("main", {}, parts), html("footer", {}, report.program || "", " · ", document.title));
}

show(given.language);
requestAnimationFrame(() => requestAnimationFrame(() => performance.mark("figures-drawn")));
