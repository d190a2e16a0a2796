// The page fits its window and its paper.
import { execFileSync } from "node:child_process";
import { writeFileSync } from "node:fs";

export async function layout(page, check) {
  const found = await page.evaluate(() => {
    const wide = document.documentElement.clientWidth;
    const beyond = [...document.querySelectorAll("main *, header *")].filter((element) => {
      if (element.parentElement.closest("svg")) return false; // clipped by the drawing that it stands in
      if (element.closest(".scroll") && !element.matches(".scroll")) return false;
      const at = element.getBoundingClientRect();
      return at.width > 0 && (at.right > wide + 1 || at.left < -1) && getComputedStyle(element).position !== "absolute";
    });
    return {
      overflow: document.documentElement.scrollWidth - wide,
      beyond: beyond.slice(0, 5).map((element) => `${element.tagName}.${element.className}`),
      charts: [...document.querySelectorAll(".chart")].map((chart) => (chart.querySelector("svg") || { clientWidth: 0 }).clientWidth / chart.clientWidth),
    };
  });
  check("does not scroll sideways", found.overflow <= 0, found.overflow);
  check("holds all elements", found.beyond.length === 0, found.beyond.join(", "));
  check("charts fill their width", found.charts.every((share) => share > 0.9 && share <= 1.01), found.charts.join(" "));
}

export async function paper(page, prefix, check) {
  for (const format of ["A4", "Letter"]) {
    const data = await page.pdf({ format, ...(prefix ? { path: `${prefix}-${format}.pdf` } : {}) });
    const pages = (data.toString("latin1").match(/\/Type\s*\/Page\b(?!s)/g) || []).length;
    check(`${format} pages`, pages >= 2 && pages <= 40, pages);
    if (!prefix) continue;
    let text = "";
    try {
      writeFileSync(`${prefix}-${format}.pdf`, data);
      text = execFileSync("pdftotext", ["-layout", `${prefix}-${format}.pdf`, "-"], { encoding: "utf8" });
    } catch {
      continue; // poppler is not there
    }
    const parts = await page.evaluate(() => [...document.querySelectorAll("h2")].map((head) => head.textContent));
    check(`${format} has the parts`, parts.length > 5 && parts.every((part) => text.includes(part)));
  }
  // Nothing on paper is wider than the paper.
  await page.emulateMedia({ media: "print" });
  await page.setViewportSize({ width: 690, height: 900 });
  await page.evaluate(() => dispatchEvent(new Event("beforeprint")));
  const clipped = await page.evaluate(() => [...document.querySelectorAll("main .scroll, main figure svg, main p")].filter((element) =>
    element.tagName === "svg" ? !element.closest("svg svg") && element.getBoundingClientRect().right > innerWidth + 1 : element.scrollWidth > element.clientWidth + 1)
    .slice(0, 5).map((element) => `${element.tagName}.${element.className.baseVal ?? element.className} ${element.textContent.slice(0, 40)}`));
  check("paper clips nothing", clipped.length === 0, clipped.join(" | "));
  await page.emulateMedia({ media: "screen" });
}
