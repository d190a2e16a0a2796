// Makes reports of small lots by the program and tries their pages in a browser:
//
//   node lots.mjs PROGRAM PACKAGES FOLDER
import { spawnSync } from "node:child_process";
import { mkdirSync, writeFileSync } from "node:fs";
import { dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const [program, packages, folder] = process.argv.slice(2).map((name) => resolve(name));
mkdirSync(folder, { recursive: true });

function run(...words) {
  const made = spawnSync(program, words, { cwd: folder, encoding: "utf8" });
  if (made.status !== 0 && made.status !== 1) { // 1: an analysis gave no answer, and the report says so
    console.log(`${words.join(" ")}\n${made.stdout}${made.stderr}`);
    process.exit(1);
  }
}

if (spawnSync(program, ["report", "--help"]).status !== 0) {
  console.log("skipped: this program makes no reports");
  process.exit(77);
}

// name -> rows of a table; the ordinary lot comes from the program itself.
const cells = (number, row) => Array.from({ length: number }, (_, k) => row(k)).join("\n");
const tables = {
  two: `x_m,y_m,CMV,PassCount\n${cells(2, (k) => `${100 + k},200,${40 + k},1`)}\n`,
  constant: `x_m,y_m,CMV,PassCount\n${cells(300, (k) => `${100 + 0.3 * (k % 60)},${200 + 0.3 * Math.floor(k / 60)},44,3`)}\n`,
  "without <b>passes</b>": `x_m,y_m,CMV\n${cells(300, (k) => `${100 + 0.3 * (k % 60)},${200 + 0.3 * Math.floor(k / 60)},${30 + ((k * 7) % 23)}`)}\n`,
};
const pairs = [];
const report = (name, ...words) => {
  run("report", ...words, "-o", `${name}.html`, "--document", `${name}.json`);
  pairs.push(join(folder, `${name}.html`), join(folder, `${name}.json`));
};
run("generate", "--length", "60", "--force", "lot");
report("ordinary", "lot.csv", "--tests", "lot-spots.csv", "--area", "lot-alignment.csv", "--target", "40");
for (const [name, text] of Object.entries(tables)) {
  const file = `${name.replace(/[/]/g, "")}.csv`;
  writeFileSync(join(folder, file), text);
  report(name.split(" ")[0], file);
}
const tried = spawnSync(process.execPath, [join(dirname(fileURLToPath(import.meta.url)), "run.mjs"), packages, ...pairs],
                        { stdio: "inherit" });
process.exit(tried.status ?? 1);
