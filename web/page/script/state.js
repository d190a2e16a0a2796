// What the user has chosen: files with their roles, and settings by table and key.
import { nameOnly, readJob } from "./job.js";
import { elsewhere, placeOfRole, roles } from "./fields.js";

export const state = {
  files: [], // {name, blob, role}
  settings: {}, // table -> key -> value, as in a job file
  wanted: new Map(), // names of files that a job file asks for, with their roles
  columns: null, // what the program recognised: its document
  proposal: null, // the settings that it proposes
};

// By the name: what it says is looked at first, then what kind of file it is.
export function roleOf(name) {
  const lower = name.toLowerCase();
  const points = /\.(csv|txt|tsv|asc|dat|gz)$/.test(lower);
  if (/\.(png|jpe?g|svg)$/.test(lower)) return "logo";
  if (/exclu|ohne|bridge|br(ü|ue)cke/.test(lower)) return "excluded_area";
  if (/\.(geojson|json|kml|gml|wkt)$/.test(lower) || /alignment|outline|boundary|polygon|area|umriss|grenze|fl(ä|ae)che/.test(lower)) return "area";
  if (points && /spot|plate|test|pr(ü|ue)f|versuch|lastplatte|evd/.test(lower)) return "tests";
  return "points";
}

export const valueOf = (table, key) => state.settings[table]?.[key];

export function setValue(table, key, value) {
  const settings = (state.settings[table] ??= {});
  if (value === undefined || value === "") delete settings[key];
  else settings[key] = value;
}

export const filesOfRole = (role) => state.files.filter((file) => file.role === role);

// A file of the same name takes the place of the one before. Of roles that hold one file the last one counts.
export function addFile(blob) {
  const role = state.wanted.get(blob.name) ?? roleOf(blob.name);
  const at = state.files.findIndex((file) => file.name === blob.name);
  const file = { name: blob.name, blob, role: at < 0 ? role : state.files[at].role };
  if (at < 0) state.files.push(file);
  else state.files[at] = file;
  setRole(file, file.role);
}

export function setRole(file, role) {
  file.role = role;
  if (role === "points" || role === "unused") return;
  for (const other of filesOfRole(role)) if (other !== file) other.role = "unused";
}

export function removeFile(file) {
  state.files = state.files.filter((other) => other !== file);
}

// The settings of a job file instead of those before; throws where it is none.
export function loadJob(text) {
  const settings = readJob(text);
  state.wanted = new Map();
  for (const name of [settings.input?.files ?? []].flat()) state.wanted.set(nameOnly(name), "points");
  for (const [role, [table, key]] of Object.entries(placeOfRole))
    if (settings[table]?.[key]) state.wanted.set(nameOnly(settings[table][key]), role);
  for (const [table, key] of elsewhere)
    if (key !== "tests_value" && settings[table]) delete settings[table][key];
  state.settings = settings;
  for (const file of state.files) if (state.wanted.has(file.name)) setRole(file, state.wanted.get(file.name));
  const order = [...state.wanted.keys()];
  const place = (file) => (order.includes(file.name) ? order.indexOf(file.name) : order.length);
  state.files.sort((a, b) => place(a) - place(b));
}

export const missingFiles = () => [...state.wanted.keys()].filter((name) => !state.files.some((file) => file.name === name));

// The settings with the files in their places: what the job file holds.
export function wholeSettings() {
  const whole = structuredClone(state.settings);
  const put = (table, key, value) => ((whole[table] ??= {})[key] = value);
  const points = filesOfRole("points").map((file) => file.name);
  if (points.length > 0) put("input", "files", points);
  for (const role of roles) {
    const [file] = filesOfRole(role);
    if (file && role in placeOfRole) put(...placeOfRole[role], file.name);
  }
  return whole;
}
