// Elements with text inside: nothing of the document is ever read as markup.
const SVG = "http://www.w3.org/2000/svg";

function fill(element, attributes, children) {
  for (const [name, value] of Object.entries(attributes || {})) {
    if (value === null || value === undefined || value === false) continue;
    if (name.startsWith("on")) element.addEventListener(name.slice(2), value);
    else element.setAttribute(name, value === true ? "" : String(value));
  }
  for (const child of children.flat(Infinity)) {
    if (child === null || child === undefined || child === false) continue;
    element.append(child instanceof Node ? child : document.createTextNode(String(child)));
  }
  return element;
}

export const html = (tag, attributes, ...children) =>
  fill(document.createElement(tag), attributes, children);

export const svg = (tag, attributes, ...children) =>
  fill(document.createElementNS(SVG, tag), attributes, children);

// A table with headings; the first column heads its rows. Cells that hold numbers are given as
// {number: text}.
export function table(caption, head, rows, options = {}) {
  const cell = (content, index, row) => {
    const isNumber = content && typeof content === "object" && !(content instanceof Node) && "number" in content;
    const text = isNumber ? content.number : content;
    const tag = index === 0 && !options.plain ? "th" : "td";
    return html(tag, { scope: tag === "th" ? "row" : null, class: isNumber ? "number" : null }, text);
  };
  const made = html("table", { class: options.class },
    html("caption", { class: options.showCaption ? null : "unseen" }, caption),
    head && html("thead", {}, html("tr", {}, head.map((text, index) =>
      html("th", { scope: "col", class: numberColumn(rows, index) ? "number" : null }, text)))),
    html("tbody", {}, rows.map((row) => html("tr", { class: row.class },
      (row.cells || row).map((content, index) => cell(content, index, row))))));
  return html("div", { class: "scroll", tabindex: "0", role: "group", "aria-label": caption }, made);
}

function numberColumn(rows, index) {
  const first = rows.length > 0 && (rows[0].cells || rows[0])[index];
  return Boolean(first && typeof first === "object" && "number" in first);
}

// Rows are made when they are first asked for: long tables cost nothing until then.
export function unfolding(label, make) {
  const details = html("details", {}, html("summary", {}, label));
  details.addEventListener("toggle", () => {
    if (details.open && details.children.length === 1) details.append(make());
  });
  return details;
}
