// The program's job file: settings to text and back. What the page has no field for is kept as it came.
import { parse } from "smol-toml";
import { tables } from "./fields.js";

// A number that a text field shows, or the text itself where it is none: the program says what is wrong.
function written(value) {
  if (typeof value === "number") return value === Infinity ? "inf" : value === -Infinity ? "-inf" : String(value);
  if (typeof value === "bigint" || typeof value === "boolean") return String(value);
  if (Array.isArray(value)) return `[${value.map(written).join(", ")}]`;
  if (value instanceof Date) return value.toISOString();
  if (typeof value === "object") return `{ ${Object.entries(value).map(([key, one]) => `${keyText(key)} = ${written(one)}`).join(", ")} }`;
  return quoted(value);
}

// eslint-disable-next-line no-control-regex
const quoted = (text) => `"${text.replace(/["\\]/g, "\\$&").replace(/[\u0000-\u001f\u007f]/g, (sign) => `\\u${sign.charCodeAt(0).toString(16).padStart(4, "0")}`)}"`;
const keyText = (key) => (/^[A-Za-z0-9_-]+$/.test(key) ? key : quoted(key));

// settings: table -> key -> value.
export function jobText(settings) {
  const names = [...tables, ...Object.keys(settings).filter((name) => !tables.includes(name))];
  const lines = [];
  for (const name of names) {
    const entries = Object.entries(settings[name] ?? {}).filter(([, value]) => value !== undefined && value !== null);
    if (entries.length === 0) continue;
    lines.push(`[${keyText(name)}]`, ...entries.map(([key, value]) => `${keyText(key)} = ${written(value)}`), "");
  }
  return lines.join("\n");
}

// Throws where the text is no TOML. Keys outside of tables are not the program's; it says so.
export function readJob(text) {
  const found = parse(text.replace(/^\ufeff/, ""));
  const settings = {};
  for (const [name, table] of Object.entries(found)) {
    if (table === null || typeof table !== "object" || Array.isArray(table)) throw new Error(`${name}: no table`);
    settings[name] = { ...table };
  }
  return settings;
}

// Names of files in a job file without their folders: the page knows names alone.
export const nameOnly = (name) => String(name).replace(/^.*[\\/]/, "");
