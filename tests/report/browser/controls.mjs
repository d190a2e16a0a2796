// Each control is used once, and does what it says.
import { readFileSync } from "node:fs";
import { german } from "./german.mjs";

async function saved(page, button) {
  const [download] = await Promise.all([page.waitForEvent("download"), button.click()]);
  return { name: download.suggestedFilename(), data: readFileSync(await download.path()) };
}

// Every figure of the first page, then a map and a chart of each: a download takes most of a second.
let isSavedWhole = false;

async function saving(page, check) {
  const all = await page.locator("figure").all();
  const figures = isSavedWhole ? [all[0], all[all.length - 1]] : all;
  isSavedWhole = true;
  for (const figure of figures) {
    const id = await figure.getAttribute("id");
    const drawing = await saved(page, figure.locator(".save").nth(0));
    const text = drawing.data.toString("utf8");
    check(`${id} saved as SVG`, drawing.name.endsWith(".svg") && /^<svg[^>]*xmlns="http:\/\/www.w3.org\/2000\/svg"/.test(text) && text.length > 1500, text.slice(0, 80));
    check(`${id} SVG is well formed`, await page.evaluate((xml) =>
      !new DOMParser().parseFromString(xml, "image/svg+xml").querySelector("parsererror"), text));
    const picture = await saved(page, figure.locator(".save").nth(1));
    check(`${id} saved as PNG`, picture.name.endsWith(".png") && picture.data.subarray(1, 4).toString() === "PNG" && picture.data.length > 3000, picture.data.length);
  }
}

// Names of clipping paths are counted up with each drawing.
const markup = (locator) => locator.evaluate((element) => element.innerHTML.replace(/clip\d+/g, "clip"));

async function chartLegends(page, check) {
  for (const figure of await page.locator(".chartfigure").all()) {
    const id = await figure.getAttribute("id");
    for (const button of await figure.locator(".legend button").all()) {
      const before = await markup(figure.locator(".chart"));
      await button.click();
      const label = await button.innerText();
      check(`${id}: ${label} is hidden`, (await button.getAttribute("aria-pressed")) === "false" && (await markup(figure.locator(".chart"))) !== before);
      await button.press("Enter");
      check(`${id}: ${label} is back`, (await button.getAttribute("aria-pressed")) === "true" && (await markup(figure.locator(".chart"))) === before);
    }
    const mark = figure.locator(".mark-symbol path[d], .mark-rect path[d]").last();
    if ((await mark.count()) > 0) {
      await mark.scrollIntoViewIfNeeded();
      await mark.hover({ force: true });
      check(`${id} tells values`, /\d/.test(await page.locator(".tip").innerText()));
    }
  }
}

async function zoom(page, figure, check) {
  const id = await figure.getAttribute("id");
  const frame = figure.locator(".map");
  const state = () => frame.locator("g.zoomed").getAttribute("transform");
  const scale = async () => Number(/scale\(([\d.]+)\)/.exec(await state())[1]);
  await frame.scrollIntoViewIfNeeded();
  await figure.locator(".zoom").nth(0).click();
  check(`${id} button zooms in`, Math.abs((await scale()) - 1.5) < 1e-6);
  await figure.locator(".zoom").nth(1).click();
  check(`${id} button zooms out`, (await scale()) === 1);
  await frame.focus();
  await page.keyboard.press("+");
  await page.keyboard.press("+");
  const before = await state();
  await page.keyboard.press("ArrowRight");
  check(`${id} keys zoom and shift`, (await scale()) > 2 && (await state()) !== before);
  await page.keyboard.press("0");
  check(`${id} key resets`, (await scale()) === 1);
  const box = await frame.boundingBox();
  await page.mouse.move(box.x + box.width / 3, box.y + box.height / 2);
  await page.mouse.wheel(0, -400);
  check(`${id} wheel zooms`, (await scale()) > 1.2);
  const place = await state();
  await page.mouse.down();
  await page.mouse.move(box.x + box.width / 3 - 60, box.y + box.height / 2 - 10, { steps: 4 });
  await page.mouse.up();
  check(`${id} drags`, (await state()) !== place);
  await page.evaluate(() => dispatchEvent(new Event("beforeprint")));
  check(`${id} paper shows the whole map`, (await scale()) === 1);
  await page.evaluate(() => dispatchEvent(new Event("afterprint")));
  // Two fingers.
  await frame.evaluate((element) => {
    const at = element.getBoundingClientRect();
    const finger = (type, id, x) => element.dispatchEvent(new PointerEvent(type, {
      pointerId: id, pointerType: "touch", clientX: at.left + x, clientY: at.top + 20, bubbles: true }));
    element.setPointerCapture = () => {};
    finger("pointerdown", 11, 100);
    finger("pointerdown", 12, 140);
    for (let step = 1; step <= 10; ++step) finger("pointermove", 12, 140 + 8 * step);
    finger("pointerup", 11, 100);
    finger("pointerup", 12, 220);
  });
  check(`${id} two fingers zoom`, (await scale()) > 2);
  await figure.locator(".zoom").nth(2).click();
  check(`${id} button resets`, (await scale()) === 1);
}

// The value under the pointer: some place of the map has one, and its words name the value column.
async function pointer(figure, report, check) {
  const id = await figure.getAttribute("id");
  const name = (report.data && report.data.value && report.data.value.name) || "";
  const text = await figure.evaluate((element, words) => {
    const frame = element.querySelector(".map"), readout = element.querySelector(".readout");
    const at = frame.getBoundingClientRect();
    for (let y = 1; y < at.height; y += 2)
      for (let x = 1; x < at.width; x += 2) {
        frame.dispatchEvent(new PointerEvent("pointermove", { clientX: at.left + x, clientY: at.top + y, pointerId: 1 }));
        if (readout.textContent.includes(words)) return readout.textContent;
      }
    return readout.textContent;
  }, `${name}: `);
  check(`${id} tells the value under the pointer`, text.includes(`${name}: `), text);
}

async function mapLegends(figure, check) {
  const id = await figure.getAttribute("id");
  const button = figure.locator(".legend button").first();
  const image = figure.locator("image").first();
  const before = await image.getAttribute("href");
  await button.click();
  await figure.page().waitForFunction(([selector, old]) => document.querySelector(selector).getAttribute("href") !== old,
    [`#${id} image`, before], { timeout: 10000 }).catch(() => {});
  check(`${id} legend hides a class`, (await image.getAttribute("href")) !== before);
  await button.click();
  await figure.page().waitForFunction(([selector, old]) => document.querySelector(selector).getAttribute("href") === old,
    [`#${id} image`, before], { timeout: 10000 }).catch(() => {});
  check(`${id} legend shows it again`, (await image.getAttribute("href")) === before);
}

async function language(page, report, check) {
  const sentences = () => page.locator("h2, .sentence").allInnerTexts();
  const words = (await sentences()).join("\n");
  await german(page, report, check);
  const shownText = await page.locator("main").innerText();
  check("German", (await page.getAttribute("html", "lang")) === "de" && shownText.includes("Ergebnisse der Prüfung") && shownText !== words);
  const marks = await page.locator("#part-stats td.number").allInnerTexts();
  check("decimal commas", marks.every((text) => !/\d\.\d/.test(text)) && (marks.length === 0 || marks.some((text) => /\d,\d/.test(text))));
  const shown = new Set(shownText.split(/\s+/));
  const keys = Object.keys(JSON.parse(readFileSync(new URL("../../../report/texts.json", import.meta.url), "utf8")));
  const untold = keys.filter((key) => key.includes(".") && shown.has(key));
  check("no key instead of a text", untold.length === 0, untold.join(" "));
  await page.locator(".chooser button", { hasText: "English" }).click();
  check("English again", (await sentences()).join("\n") === words);
}

export async function controls(page, report, check) {
  await chartLegends(page, check);
  await page.waitForTimeout(300); // the grid of values is unpacked last
  for (const figure of await page.locator(".mapfigure").all()) {
    await zoom(page, figure, check);
    await mapLegends(figure, check);
    await pointer(figure, report, check);
  }
  await saving(page, check);
  for (const link of await page.locator("nav a").all())
    check(`${await link.innerText()} is linked`, (await page.locator(await link.getAttribute("href")).count()) === 1);
  await language(page, report, check);
}
