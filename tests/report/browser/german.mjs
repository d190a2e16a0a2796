// The German page has no English sentence left: none of the document's texts, and no word that German
// does not have. Names that the data, the job or the library bring stay as they are.
const english = /\b(?:the|of|and|are|which|with|this|that|these|from|for|have|has|been|than|where|each|there|its|they|not|by|or|is|at|to|no)\b/gi;
const inGermanToo = /^(?:Not|Not-|At|AT|IS|TO|OR|NO)$/;

// All texts that the document brings for people.
function textsOf(report) {
  const of = (list, ...fields) => (list || []).flatMap((one) => fields.map((field) => one[field]));
  const all = [
    ...(report.notes || []), ...of(report.cautions, "text"), ...of(report.missing, "text"),
    ...of(report.verdicts, "basis", "reason"), ...of((report.spots || {}).tests, "remark"),
    ...of((report.input || {}).dropped, "text"), ((report.road || {}).frame || {}).axis_from,
  ];
  return [...new Set(all.filter(Boolean))];
}

// Names of files, columns and values, and texts of the user.
function namesOf(report) {
  const found = [];
  const take = (value) => {
    if (typeof value === "string") found.push(value);
    else if (value && typeof value === "object") Object.values(value).forEach(take);
  };
  for (const part of ["title", "texts", "columns", "program"]) take(report[part]);
  const data = report.data || {};
  for (const part of ["value", "machines", "lifts", "directions", "vibration", "ranges", "coordinate_system"]) take(data[part]);
  for (const one of [...(report.inputs || []), ...((report.input || {}).dropped || [])]) found.push(one.file, one.column, one.value);
  return found.filter((name) => name && name.length > 1).sort((a, b) => b.length - a.length);
}

// Turns the page to German.
export async function german(page, report, check) {
  await page.locator(".chooser button", { hasText: "Deutsch" }).click();
  let text = await page.evaluate(() => [...document.querySelectorAll("main, footer")].map((part) => part.textContent).join("\n"));
  for (const one of textsOf(report)) check("German form", !text.includes(one), one);
  const notes = await page.locator("#part-notes li").count();
  check("all notes in German", notes === new Set(report.notes || []).size, notes);
  text = text.replace(/„[^“]*“|--[a-z-]+/g, ""); // messages of the library, which are quoted, and options
  for (const name of namesOf(report)) text = text.replaceAll(name, "");
  const left = [...text.matchAll(english)].filter(([word]) => !inGermanToo.test(word))
    .map(({ 0: word, index }) => `${word}: ${text.slice(Math.max(0, index - 30), index + 30)}`);
  check("no English word", left.length === 0, left.slice(0, 5).join(" | "));
}
