// Opens pages over all lots in a browser, and tries them on a desk and on a phone:
//
//   node index_page.mjs PACKAGES PAGE... [--shots FOLDER]
//
// PACKAGES is a folder with node_modules that hold playwright-core. Ends with 77 where it or a browser is not there.
import { existsSync, mkdirSync } from "node:fs";
import { createRequire } from "node:module";
import { basename, join, resolve } from "node:path";

const words = process.argv.slice(2);
const at = words.indexOf("--shots");
const shots = at < 0 ? null : resolve(words.splice(at, 2)[1]);
if (shots) mkdirSync(shots, { recursive: true });
const [packages, ...files] = words.map((name) => resolve(name));
const skip = (why) => {
  console.log(`skipped: ${why}`);
  process.exit(77);
};
const executablePath = ["/usr/bin/chromium", "/usr/bin/chromium-browser", "/usr/bin/google-chrome"].find(existsSync);
if (!executablePath) skip("no Chromium");
let chromium;
try {
  ({ chromium } = createRequire(join(packages, "package.json"))("playwright-core"));
} catch {
  skip("playwright-core is not installed");
}

const failures = [];
const check = (what, isTrue, found = "") => isTrue || failures.push(`${what}: ${found}`);
const browser = await chromium.launch({ executablePath, args: ["--no-sandbox", "--disable-gpu", "--disable-background-networking"] });

async function tried(file, width, height) {
  const name = `${basename(file, ".html")} at ${width}`;
  const page = await (await browser.newContext({ viewport: { width, height } })).newPage();
  page.on("console", (message) => check(`${name} console`, !["error", "warning"].includes(message.type()), message.text()));
  page.on("pageerror", (error) => check(`${name} error`, false, error.message));
  page.on("request", (request) => check(`${name} request`, request.url() === `file://${file}`, request.url()));
  await page.goto(`file://${file}`);
  await page.waitForFunction(() => performance.getEntriesByName("list-drawn").length > 0);
  const drawn = await page.evaluate(() => new Promise((done) => requestAnimationFrame(() => setTimeout(() => done(performance.now())))));
  check(`${name} is there within 2 s`, drawn < 2000, drawn);
  const beyond = await page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth);
  check(`${name} does not scroll sideways`, beyond <= 0, beyond);
  if (shots) await page.screenshot({ path: join(shots, `${basename(file, ".html")}-${width}.png`) });

  const content = await page.evaluate(() => ({ lots: data.lots, at, columns }));
  const column = (lotColumn) => page.$$eval(`#body [data-name="${lotColumn}"]`, (cells) => cells.map((cell) => cell.textContent));
  const means = content.lots.map((lot) => lot[content.at.mean]).filter((mean) => mean !== null).sort((one, two) => two - one);
  if (width > 600) {
    await page.click('#head [data-name="mean"] button');
    await page.click('#head [data-name="mean"] button');
    check(`${name} tells the order`, (await page.getAttribute('#head [data-name="mean"]', "aria-sort")) === "descending");
  } else await page.selectOption("#sorting", "mean");
  const [first] = await column("Mean");
  check(`${name} sorts`, Math.abs(Number(first) - (width > 600 ? means[0] : means.at(-1))) < 1e-2, first);

  const sought = content.lots[Math.floor(content.lots.length / 2)];
  const begin = Date.now();
  await page.fill("#search", sought[content.at.lot]);
  check(`${name} finds one lot`, (await column("Lot")).join() === sought[content.at.lot], (await column("Lot")).slice(0, 3).join(" | "));
  check(`${name} finds it at once`, Date.now() - begin < 1000, Date.now() - begin);
  await page.fill("#search", "");
  const missed = content.lots.filter((lot) => lot[content.at.verdict] === "missed").length;
  if (missed) {
    await page.click("#filters button:text-is('Missed')");
    check(`${name} filters`, (await page.textContent("#found")).replace(/\D/g, "") === String(missed) || missed === content.lots.length, await page.textContent("#found"));
    check(`${name} shows words`, (await column("Verdict")).every((text) => text === "Missed"));
    await page.click("#filters button:text-is('All')");
  }
  const signs = await page.$$eval("#map path[class]", (paths) => paths.reduce((sum, path) => sum + path.getAttribute("d").split("M").length - 1, 0));
  const placed = content.lots.filter((lot) => typeof lot[content.at.x] === "number").length;
  check(`${name} maps the lots`, signs === placed, `${signs} of ${placed}`);
  if (placed) {
    const sign = await page.$eval("#map path[class]", (path) => {
      path.scrollIntoView({ block: "center" });
      const { x, y } = path.getPointAtLength(0).matrixTransform(path.getScreenCTM());
      return { x, y };
    });
    await page.mouse.click(sign.x, sign.y);
    check(`${name} chooses on the map`, (await page.textContent("#chosen")).length > 3);
    check(`${name} marks it in the list`, (await page.$$("#body tr.chosen")).length === 1);
  }
  const links = await page.$$eval("#body th a", (anchors) => anchors.map((anchor) => anchor.getAttribute("href")));
  check(`${name} links reports`, links.every((href) => href && !href.includes(" ")), links[0]);
  if (shots) await page.screenshot({ path: join(shots, `${basename(file, ".html")}-${width}-used.png`) });
  await page.close();
  return `${name}: ${Math.round(drawn)} ms`;
}

for (const file of files)
  for (const [width, height] of [[360, 780], [1366, 900]]) console.log(await tried(file, width, height));
await browser.close();
for (const failure of failures) console.log(failure);
process.exit(failures.length ? 1 : 0);
