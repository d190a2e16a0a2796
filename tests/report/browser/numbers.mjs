// Numbers on the page against those of the document: written by rules of this file's own.
const spaces = /[\u202f\u00a0\s]/g;
const plain = (text) => text.replace(spaces, "").replace(/\u2212/g, "-");

// A number of the page equals one of the document where it is that number rounded to the digits shown.
function same(text, value, german = false) {
  let digits = plain(text);
  if (german) digits = digits.replace(",", ".");
  const found = /-?\d+(\.\d+)?/.exec(digits);
  if (!found) return false;
  const decimals = (found[1] || ".").length - 1;
  return Math.abs(Number(found[0]) - value) <= 0.5000001 * 10 ** -decimals;
}

async function rowsOf(page, selector) {
  return page.$$eval(`${selector} tr`, (rows) => rows.map((row) => [...row.cells].map((cell) => cell.innerText.trim())));
}

const find = (rows, first) => (rows.find((row) => row[0] === first) || [])[1] || "";

export async function numbers(page, report, check) {
  const is = (what, text, value, german) => {
    if (typeof value === "number") check(`${what} is ${value}`, same(text || "", value, german), text);
  };
  await page.locator(".chooser button", { hasText: "English" }).click(); // whatever it starts with
  const data = await rowsOf(page, "#part-data");
  const input = report.input || {};
  is("rows read", find(data, "read"), input.rows_read);
  is("rows used", find(data, "used in the finished layer"), input.rows_used);
  is("rows dropped", find(data, "dropped"), input.rows_dropped);
  for (const one of report.inputs || [])
    check(`hash of ${one.file}`, data.some((row) => row.includes(one.sha256) && row.includes(one.file)));

  const verdicts = await rowsOf(page, "#part-verdicts tbody");
  check("a row for each verdict", verdicts.length === (report.verdicts || []).length, verdicts.length);
  (report.verdicts || []).forEach((verdict, index) => {
    const row = verdicts[index] || [];
    const words = { met: "Met", missed: "Missed", not_given: "No verdict" };
    check(`verdict ${verdict.key}`, (row[0] || "").includes(words[verdict.outcome]), row[0]);
    is(`threshold of ${verdict.key}`, row[2], verdict.threshold.value);
    is(`measured ${verdict.key}`, row[3], verdict.measured);
    check(`key of ${verdict.key}`, (row[5] || "").includes(verdict.threshold.key), row[5]);
  });

  const stats = await rowsOf(page, "#part-stats");
  const statistics = (report.stats && report.stats.statistics) || {};
  is("number of cells", find(stats, "Number of cells"), statistics.count);
  is("mean", find(stats, "Mean"), statistics.mean);
  is("standard deviation", find(stats, "Standard deviation"), statistics.standard_deviation);
  is("variation", find(stats, "Coefficient of variation"), statistics.coefficient_of_variation === undefined ? undefined : 100 * statistics.coefficient_of_variation);
  is("minimum", find(stats, "Minimum"), statistics.minimum);
  is("maximum", find(stats, "Maximum"), statistics.maximum);

  // Tables of the charts, unfolded.
  const unfolded = async (id) => {
    const details = page.locator(`#figure-${id} details`);
    if ((await details.count()) === 0) return null;
    await details.locator("summary").click();
    await page.waitForSelector(`#figure-${id} details table tbody tr`);
    return rowsOf(page, `#figure-${id} details tbody`);
  };
  const curve = report.curve && (await unfolded("growth"));
  const measured = ((report.curve || {}).passes || []).filter((pass) => typeof pass.mean === "number");
  if (curve) measured.forEach((pass, index) => {
    is(`pass ${pass.pass}`, (curve[index] || [])[2], pass.mean);
    is(`cells of pass ${pass.pass}`, (curve[index] || [])[1], pass.points);
  });
  const lags = report.semivariogram && (await unfolded("semivariogram"));
  const used = ((report.semivariogram || {}).lags || []).filter((lag) => !lag.empty && lag.class !== 0);
  if (lags) used.forEach((lag, index) => {
    is(`pairs of lag ${lag.class}`, (lags[index] || [])[1], lag.pairs);
    is(`semivariance of lag ${lag.class}`, (lags[index] || [])[2], lag.semivariance);
  });
  const counts = report.pass_counts && (await unfolded("passes"));
  if (counts) report.pass_counts.forEach((row, index) => is(`cells with ${row.passes}`, (counts[index] || [])[1], row.cells));
  if (report.spots && (report.spots.tests || []).length > 0 && report.spots.tests.length <= 100) {
    const tests = await rowsOf(page, "#part-spots > .scroll tbody");
    report.spots.tests.forEach((test, index) => {
      is(`value of test ${test.test}`, (tests[index] || [])[2], test.value);
      is(`mean of test ${test.test}`, (tests[index] || [])[4], test.ic_mean);
    });
    const line = report.spots.regression;
    const sentence = plain(await page.locator("#part-spots .sentence").first().innerText());
    if (line) is("r", (/r=(-?[\d.]+)/.exec(sentence) || [])[1], line.r);
  }
  for (const part of ["coverage", "curve", "spots", "semivariogram", "road"])
    if (!report[part]) {
      const text = await page.locator(`#part-${part}`).innerText();
      check(`${part} says that it is missing`, /Not in this report/.test(text) && text.length > 40, text);
      for (const one of (report.missing || []).filter((missing) => missing.part === part))
        check(`${part} says why`, text.includes(one.text), text);
    }
  for (const one of report.cautions || [])
    check(`caution ${one.part} ${one.key}`, (await page.locator(`#part-${one.part} .caution`).allInnerTexts()).some((text) => text.includes(one.text)));
}
