// What the document says in English, in the language shown: the template whose English form a text has
// is said in that language with the same pieces. A template's places are kinds of pieces: {number};
// {quantity}, a number that may have a unit; {places}, rows with their positions; {said}, a text with a
// template of its own; any other holds words that stay as they are.
import { currentLanguage, fixed, say, templatesOf } from "./texts.js";

const numeral = "(?:-?\\d+(?: \\d{3})*(?:\\.\\d+)?(?:e[-+]?\\d+)?|-?inf|nan|-)";
const unit = "(?:\\(?US survey ft\\)?²?|[^\\s,;:]+)";
const words = "(?:(?!\\. [A-Z]|\\n)[^])+?"; // never on into the next sentence
const patterns = { number: numeral, quantity: `${numeral}(?: ${unit})?`, places: words, line: "\\d+", said: "[^]+" };

const kindOf = (place) => place.replace(/\d+$/, "");
const literally = (text) => text.replace(/[.*+?^${}()|[\]\\]/g, "\\$&");

function templateOf(key, english) {
  const parts = english.split(/\{(\w+)\}/);
  const places = parts.filter((_, index) => index % 2 === 1);
  const pattern = parts.map((part, index) => (index % 2 === 0 ? literally(part) : `(${patterns[kindOf(part)] || words})`)).join("");
  return { key, places, pattern: new RegExp(`^${pattern}$`), length: english.length - places.join("{}").length };
}

// Those that say most by themselves are tried first.
const made = new Map();
function templates(family) {
  if (!made.has(family))
    made.set(family, templatesOf(family).map(([key, text]) => templateOf(key, text.en)).sort((a, b) => b.length - a.length));
  return made.get(family);
}

// The digits of a text, as the language shown writes them; powers only where digits would be many.
function numberText(text) {
  const [digits, power = "0"] = text.replace(/ /g, "").split("e");
  if (!/\d/.test(digits)) return text;
  const decimals = (digits.split(".")[1] || "").length;
  if (Math.abs(Number(power)) < 12) return fixed(Number(`${digits}e${power}`), Math.max(0, decimals - Number(power)));
  return `${fixed(Number(digits), decimals)} × 10^${Number(power)}`;
}

const placesText = (text) => text
  .replace(/\b(line|record) (\d+)/g, (_, what, row) => say(`place.${what}`, { row }))
  .replace(new RegExp(`\\((${numeral}), (${numeral})\\)`, "g"), (_, x, y) => `(${numberText(x)}; ${numberText(y)})`);

function pieceText(kind, piece) {
  if (kind === "said") return inSentences(piece, "said");
  if (kind === "places") return placesText(piece);
  if (kind === "number") return numberText(piece);
  return kind === "quantity" ? piece.replace(new RegExp(`^${numeral}`), numberText) : piece;
}

function inOne(text, family) {
  for (const { key, places, pattern } of templates(family)) {
    const found = pattern.exec(text);
    if (!found) continue;
    const pieces = places.map((place, index) => [place, pieceText(kindOf(place), found[index + 1])]);
    if (pieces.every(([, piece]) => piece !== null)) return say(key, Object.fromEntries(pieces));
  }
  return null;
}

// A text may also be several sentences with a template each.
function inSentences(text, family) {
  const whole = inOne(text, family);
  if (whole !== null) return whole;
  for (const { index } of text.matchAll(/[.!?] (?=[^a-z])/g)) {
    const first = inOne(text.slice(0, index + 1), family);
    const rest = first === null ? null : inSentences(text.slice(index + 2), family);
    if (rest !== null) return `${first} ${rest}`;
  }
  return null;
}

// A text without a template stays English. family: the beginning of the templates' keys.
export function told(text, family = "said") {
  if (!text || currentLanguage() === "en") return text || "";
  return inSentences(text, family) ?? text;
}
