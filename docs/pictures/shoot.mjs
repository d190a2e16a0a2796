// Takes docs/pictures/report.png: parts of the sample lot's report, as the README shows them.
//
//   tools/demo.sh
//   node docs/pictures/shoot.mjs PACKAGES build/sample-report.html docs/pictures/report.png
//
// PACKAGES: a folder whose node_modules hold playwright-core, say build/dev/report/packages.
import { readFileSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join, resolve } from "node:path";

const [packages, report, picture] = process.argv.slice(2).map((name) => resolve(name));
const { chromium } = createRequire(join(packages, "package.json"))("playwright-core");
const browser = await chromium.launch({ executablePath: "/usr/bin/chromium", args: ["--no-sandbox", "--disable-gpu"] });
const page = await browser.newPage({ viewport: { width: 1180, height: 900 }, deviceScaleFactor: 1 });
await page.goto(`file://${report}`);
await page.waitForFunction(() => performance.getEntriesByName("figures-drawn").length > 0);

// A part of the page, from its top to the bottom of another one.
async function part(from, to) {
  const [top, bottom] = await page.evaluate(([first, last]) => {
    const box = (words) => document.querySelector(words).getBoundingClientRect();
    return [box(first).top + scrollY, box(last).bottom + scrollY];
  }, [from, to]);
  const shot = await page.screenshot({ fullPage: true, clip: { x: 0, y: top - 8, width: 1180, height: bottom - top + 16 } });
  return `data:image/png;base64,${shot.toString("base64")}`;
}
const parts = [];
for (const [from, to] of [["#page", "#part-verdicts"], ["#head-map-strip", "#part-map-strip figure"], ["#head-road", "#part-road figure"]])
  parts.push(await part(from, to));
const sheet = await browser.newPage({ viewport: { width: 1220, height: 500 } });
await sheet.setContent(`<body style="margin:0;background:#fff">${parts.map((data) => `<img src="${data}" style="display:block;margin:0 20px">`).join("")}`);
writeFileSync(picture, await sheet.screenshot({ fullPage: true }));
await browser.close();
