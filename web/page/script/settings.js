// The settings as fields, one for each key of the job file.
import { html } from "../../../report/page/script/elements.js";
import { groups } from "./fields.js";
import { setValue, state, valueOf } from "./state.js";
import { has, say } from "./texts.js";

// A number where the text is one, in either language's writing; otherwise the text, which the program refuses
// in its words.
function numberOf(text) {
  const plain = text.trim().replace(/^(-?\d+),(\d+)$/, "$1.$2");
  return plain !== "" && Number.isFinite(Number(plain)) ? Number(plain) : plain;
}
const endOf = (text, open) => (text.trim() === "" ? open : numberOf(text));
const shown = (value) => (value === undefined || Math.abs(value) === Infinity ? "" : String(value));

const columnNames = () => (state.columns?.file_columns ?? []).map((column) => column.name);

// What the program takes where the user says nothing.
function recognised(key) {
  const found = state.columns?.columns?.[key];
  return found?.name ?? state.proposal?.columns?.[key];
}

function options(list, value) {
  const all = value === undefined || value === "" || list.some(([name]) => name === String(value)) ? list : [...list, [String(value), String(value)]];
  return all.map(([name, label]) => html("option", { value: name, selected: name === String(value ?? "") }, label));
}

const controls = {
  text: ({ table, key, isLong }, id, set) => html(isLong ? "textarea" : "input", { id, rows: isLong ? 2 : null, type: isLong ? null : "text", value: isLong ? null : valueOf(table, key) ?? "", placeholder: placeholderOf(table, key), onchange: (event) => set(event.target.value) }, isLong ? valueOf(table, key) ?? "" : []),
  number: ({ table, key }, id, set) => html("input", { id, type: "text", inputmode: "decimal", value: shown(valueOf(table, key)), placeholder: placeholderOf(table, key), onchange: (event) => set(numberOf(event.target.value)) }),
  threshold: (field, id, set) => controls.number(field, id, set),
  flag: ({ table, key }, id, set) => html("input", { id, type: "checkbox", checked: valueOf(table, key) === true, onchange: (event) => set(event.target.checked || undefined) }),
  choice: ({ table, key, choices }, id, set) => html("select", { id, onchange: (event) => set(event.target.value) },
    options([["", say(`choice.${key}.none`)], ...choices.map((name) => [name, has(`choice.${key}.${name}`) ? say(`choice.${key}.${name}`) : name])], valueOf(table, key))),
  column: ({ table, key }, id, set) => html("select", { id, onchange: (event) => set(event.target.value) },
    options([["", recognised(key) ? say("column.recognised", { name: recognised(key) }) : say("column.none")], ...columnNames().map((name) => [name, name])], valueOf(table, key))),
  list: ({ table, key }, id, set) => html("input", {
    id, type: "text", value: [valueOf(table, key) ?? []].flat().join("; "), placeholder: say("list.hint"),
    onchange: (event) => set(event.target.value.trim() === "" ? undefined : event.target.value.split(";").map((one) => one.trim()).filter(Boolean)),
  }),
  range: ({ table, key }, id, set) => pair(id, valueOf(table, key), ["range.least", "range.most"], (least, most) =>
    set(least.trim() + most.trim() === "" ? undefined : [endOf(least, -Infinity), endOf(most, Infinity)])),
  times: ({ table, key }, id, set) => pair(id, valueOf(table, key), ["times.first", "times.last"], (first, last) =>
    set(first.trim() + last.trim() === "" ? undefined : [first.trim(), last.trim()])),
};

function pair(id, value, labels, set) {
  const inputs = labels.map((label, index) => html("input", {
    id: index === 0 ? id : null, type: "text", "aria-label": say(label), placeholder: say(label), value: shown(value?.[index]),
    onchange: () => set(inputs[0].value, inputs[1].value),
  }));
  return html("span", { class: "pair" }, inputs);
}

// What the data show, or what the field takes.
function placeholderOf(table, key) {
  return has(`sample.${table}.${key}`) ? say(`sample.${table}.${key}`) : null;
}

function example(key) {
  const name = valueOf("columns", key) ?? recognised(key);
  const column = (state.columns?.file_columns ?? []).find((one) => one.name === name);
  if (!column) return null;
  const unit = column.unit ? ` ${column.unit}` : "";
  return column.example === null ? say("column.empty") : `${say("column.example")} ${column.example}${/[a-z%]$/i.test(column.example) ? "" : unit}`;
}

function fieldOf(table, field, changed) {
  const id = `${table}-${field.key}`;
  const given = { table, ...field };
  const set = (value) => {
    setValue(table, field.key, value);
    changed(table, field.key);
  };
  const hint = field.kind === "column" ? example(field.key) : has(`hint.${table}.${field.key}`) && say(`hint.${table}.${field.key}`);
  const control = controls[field.kind](given, id, set);
  if (hint) (control.matches("input, select, textarea") ? control : control.querySelector("input")).setAttribute("aria-describedby", `${id}-hint`);
  return html("div", { class: field.kind === "flag" ? "field flag" : "field" },
    html("label", { for: id }, say(`field.${table}.${field.key}`)), control,
    hint && html("span", { class: "hint", id: `${id}-hint` }, hint));
}

const opened = new Set(["columns", "analysis"]);

export function settingsSection(changed) {
  return groups.map(({ table, fields }) => {
    const details = html("details", { id: `part-${table}`, open: opened.has(table) },
      html("summary", {}, html("h2", {}, say(`section.${table}`)), numberSet(table, fields) > 0 && html("span", { class: "quiet" }, say("settings.set", { number: numberSet(table, fields) }))),
      has(`about.${table}`) && html("p", { class: "quiet" }, say(`about.${table}`)),
      html("div", { class: "fields" }, fields.map((field) => fieldOf(table, field, changed))));
    details.addEventListener("toggle", () => (details.open ? opened.add(table) : opened.delete(table)));
    return details;
  });
}

const numberSet = (table, fields) => fields.filter((field) => valueOf(table, field.key) !== undefined).length;
