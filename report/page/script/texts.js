// All words of the page, in the language that is shown, and numbers as that language writes them.
import texts from "../../texts.json";

const narrowSpace = "\u202f";
const minus = "\u2212";
let language = "en";

export const languages = { en: "English", de: "Deutsch" };

export function setLanguage(name) {
  language = name in languages ? name : "en";
}
export const currentLanguage = () => language;

export function has(key) {
  return key in texts;
}

// The text of a key; {name} stands for a value.
export function say(key, values = {}) {
  const found = texts[key] && texts[key][language];
  if (found === undefined) return key;
  return found.replace(/\{(\w+)\}/g, (whole, name) => (name in values ? values[name] : whole));
}

// The keys of a family with their texts in all languages.
export const templatesOf = (family) => Object.entries(texts).filter(([key]) => key.startsWith(`${family}.`));

// Digits in groups of three; a page has thousands of numbers, and the browser's own formats take long.
function written(value, least, most) {
  let [whole, rest = ""] = Math.abs(value).toFixed(most).split(".");
  while (rest.length > least && rest.endsWith("0")) rest = rest.slice(0, -1);
  if (whole.length > 3) whole = whole.replace(/\B(?=(\d{3})+$)/g, narrowSpace);
  const isZero = /^0*$/.test(whole + rest);
  return `${value < 0 && !isZero ? minus : ""}${whole}${rest ? (language === "de" ? "," : ".") + rest : ""}`;
}

const isNumber = (value) => typeof value === "number" && Number.isFinite(value);

export const nothing = "–";

export function count(value) {
  return isNumber(value) ? written(value, 0, 0) : nothing;
}

export function fixed(value, decimals) {
  return isNumber(value) ? written(value, decimals, decimals) : nothing;
}

// Four digits that count, but never fewer than stand before the decimal mark.
export function number(value, digits = 4) {
  if (!isNumber(value)) return nothing;
  if (value !== 0 && (Math.abs(value) < 1e-5 || Math.abs(value) >= 1e12)) {
    const [digitsText, power] = value.toExponential(digits - 1).split("e");
    return `${written(Number(digitsText), 0, digits - 1)} × 10^${Number(power)}`;
  }
  const before = Math.floor(Math.log10(Math.abs(value) || 1)) + 1;
  return written(value, 0, Math.max(0, Math.min(12, digits - before)));
}

// Almost nothing does not read as nothing, nor almost all as all.
const roundsAway = (value, decimals) => {
  const shown = Number(value.toFixed(decimals));
  return (value > 0 && shown === 0) || (value < 100 && shown === 100);
};

export function percent(value, decimals = 1) {
  if (!isNumber(value)) return nothing;
  let more = decimals;
  while (more < 6 && roundsAway(value, more)) ++more;
  return `${fixed(value, more)}${narrowSpace}%`;
}

export function withUnit(text, unit) {
  return unit && text !== nothing ? (unit === "%" ? `${text}${narrowSpace}%` : `${text}\u00a0${unit}`) : text;
}

// A measured number beside its threshold: with so many decimals that it does not read as the
// threshold where it is not.
export function beside(value, threshold, decimals = 1) {
  if (!isNumber(value)) return nothing;
  for (let more = decimals; more < 10; ++more)
    if (threshold > 1 && roundsAway(value, more)) continue;
    else if (!isNumber(threshold) || value === threshold || Number(value.toFixed(more)) !== Number(threshold.toFixed(more)))
      return fixed(value, more);
  return number(value, 12);
}

// Writes the numbers of a column alike: four digits for the greatest of them.
export function columnOf(values, digits = 4) {
  const greatest = Math.max(0, ...values.filter(isNumber).map(Math.abs));
  const before = greatest > 0 ? Math.floor(Math.log10(greatest)) + 1 : 1;
  const decimals = Math.max(0, Math.min(12, digits - before));
  return (value) => fixed(value, decimals);
}

// How the charts' library writes numbers.
export function chartLocale() {
  return {
    number: { decimal: language === "de" ? "," : ".", thousands: narrowSpace, grouping: [3], currency: ["", ""], minus },
  };
}
