// All words of the page, in the language that is shown.
import own from "../../texts.json";

// Words of the report's page that stand here too are taken from there when the page is built.
/* global WORDS_OF_REPORT */
const texts = { ...own, ...WORDS_OF_REPORT };

let language = "en";
export const languages = { en: "English", de: "Deutsch" };
export function setLanguage(name) {
  language = name in languages ? name : "en";
}
export const currentLanguage = () => language;
export const has = (key) => key in texts;

// The text of a key; {name} stands for a value.
export function say(key, values = {}) {
  const found = texts[key] && texts[key][language];
  if (found === undefined) return key;
  return found.replace(/\{(\w+)\}/g, (whole, name) => (name in values ? values[name] : whole));
}

export const count = (value) => Math.round(value).toString().replace(/\B(?=(\d{3})+$)/g, "\u202f");

export function bytes(value) {
  for (const [unit, size] of [["GB", 1e9], ["MB", 1e6], ["kB", 1e3]])
    if (value >= size) return `${(value / size).toFixed(1).replace(".", language === "de" ? "," : ".")} ${unit}`;
  return `${value} B`;
}

// What the program says of its progress, in the page's language: "reading day.csv: 12 %, 3 s left".
export function progressText(words) {
  const [, what, percent, seconds] = /^(.*?)(?:: (\d+) %, (-?[\d.]+|inf|nan) s left)?$/.exec(words) ?? [null, words];
  const forms = [[/^reading tracks$/, "tracks"], [/^reading (.+)$/, "reading"], [/^looking at (?:line (\d+)|all columns|(.+))$/, "looking"],
    [/^gridding$/, "gridding"], [/^searching for pairs: about (.+)$/, "pairs"], [/^writing rows$/, "writing"]];
  let text = what;
  for (const [form, key] of forms) {
    const found = form.exec(what);
    if (!found) continue;
    text = say(`progress.${key}`, { name: found.slice(1).find(Boolean) ?? "" }).trim();
    break;
  }
  if (percent === undefined) return { text, share: null };
  const left = Number.isFinite(Number(seconds)) ? say("progress.left", { seconds: Math.max(0, Math.round(Number(seconds))) }) : "";
  return { text: `${text}: ${percent}\u202f%${left}`, share: Number(percent) / 100 };
}
